#include "folder_watch.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

namespace {

constexpr int kTimeout = 10000;

bool writeFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write("label") == 5;
}

} // namespace

class tst_FolderWatch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void fileChangesAreReported_data();
    void fileChangesAreReported();
    void burstIsReadOnce();
    void missingFolderThatComesBackIsSeen();
    void folderReplacedByAFile();
    void unreadableFolderDoesNotExist();
    void inactiveWatchReportsOnceWhenActive();
    void pathsOutsideTheWatchAreNotReported();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_labels;
};

void tst_FolderWatch::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_labels = m_dir->filePath(QStringLiteral("labels"));
    QVERIFY(QDir().mkpath(m_labels));
    QVERIFY(writeFile(m_labels + QStringLiteral("/first.kxld")));
}

void tst_FolderWatch::fileChangesAreReported_data()
{
    QTest::addColumn<QString>("change");
    QTest::newRow("added") << QStringLiteral("added");
    QTest::newRow("removed") << QStringLiteral("removed");
    QTest::newRow("renamed") << QStringLiteral("renamed");
    QTest::newRow("folder added") << QStringLiteral("folder");
}

void tst_FolderWatch::fileChangesAreReported()
{
    QFETCH(QString, change);
    FolderWatch watch;
    watch.setDelay(50);
    watch.setPaths({ m_labels });
    QVERIFY(watch.exists());
    QSignalSpy changed(&watch, &FolderWatch::changed);
    const QString first = m_labels + QStringLiteral("/first.kxld");
    if (change == QLatin1String("added"))
        QVERIFY(writeFile(m_labels + QStringLiteral("/second.kxld")));
    else if (change == QLatin1String("removed"))
        QVERIFY(QFile::remove(first));
    else if (change == QLatin1String("renamed"))
        QVERIFY(QFile::rename(first, m_labels + QStringLiteral("/renamed.kxld")));
    else
        QVERIFY(QDir(m_labels).mkdir(QStringLiteral("sub")));
    QTRY_COMPARE_WITH_TIMEOUT(changed.count(), 1, kTimeout);
    QVERIFY(watch.exists());
}

void tst_FolderWatch::burstIsReadOnce()
{
    FolderWatch watch;
    // Long enough for the whole burst to fall into one read on a loaded machine.
    watch.setDelay(3000);
    watch.setPaths({ m_labels });
    QSignalSpy changed(&watch, &FolderWatch::changed);
    for (int i = 0; i < 1000; ++i)
        QVERIFY(writeFile(m_labels + QStringLiteral("/burst%1.kxld").arg(i)));
    QVERIFY(changed.wait(kTimeout));
    QCOMPARE(changed.count(), 1);
    // Nothing left over for a second read once it has settled.
    QVERIFY(!changed.wait(4000));
}

void tst_FolderWatch::missingFolderThatComesBackIsSeen()
{
    FolderWatch watch;
    watch.setDelay(50);
    const QString missing = m_dir->filePath(QStringLiteral("gone/deeper/labels"));
    watch.setPaths({ missing });
    QVERIFY(!watch.exists());
    // Followed through the nearest folder that exists.
    QCOMPARE(watch.followed(), QStringList{ QDir::cleanPath(m_dir->path()) });
    QSignalSpy changed(&watch, &FolderWatch::changed);
    QSignalSpy exists(&watch, &FolderWatch::existsChanged);
    QVERIFY(QDir().mkpath(missing));
    // Each level that appears is followed in turn, down to the folder itself.
    QTRY_VERIFY_WITH_TIMEOUT(watch.exists(), kTimeout);
    QVERIFY(changed.count() >= 1);
    QCOMPARE(exists.count(), 1);
    QTRY_VERIFY_WITH_TIMEOUT(watch.followed().contains(missing), kTimeout);
    const int before = changed.count();
    QVERIFY(writeFile(missing + QStringLiteral("/back.kxld")));
    QTRY_COMPARE_WITH_TIMEOUT(changed.count(), before + 1, kTimeout);
}

void tst_FolderWatch::folderReplacedByAFile()
{
    FolderWatch watch;
    watch.setDelay(50);
    watch.setPaths({ m_labels });
    QSignalSpy changed(&watch, &FolderWatch::changed);
    QVERIFY(QDir(m_labels).removeRecursively());
    QVERIFY(writeFile(m_labels));
    QTRY_VERIFY_WITH_TIMEOUT(!watch.exists(), kTimeout);
    QVERIFY(changed.count() >= 1);
    // And back to a folder.
    QVERIFY(QFile::remove(m_labels));
    QVERIFY(QDir().mkpath(m_labels));
    QTRY_VERIFY_WITH_TIMEOUT(watch.exists(), kTimeout);
}

void tst_FolderWatch::unreadableFolderDoesNotExist()
{
    if (::geteuid() == 0)
        QSKIP("root reads every folder");
    QVERIFY(QFile::setPermissions(m_labels, QFileDevice::WriteOwner));
    FolderWatch watch;
    watch.setPaths({ m_labels });
    QVERIFY(!watch.exists());
    QVERIFY(QFile::setPermissions(m_labels, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner));
}

void tst_FolderWatch::inactiveWatchReportsOnceWhenActive()
{
    FolderWatch watch;
    watch.setDelay(50);
    watch.setPaths({ m_labels });
    watch.setActive(false);
    QSignalSpy changed(&watch, &FolderWatch::changed);
    QVERIFY(writeFile(m_labels + QStringLiteral("/a.kxld")));
    QVERIFY(writeFile(m_labels + QStringLiteral("/b.kxld")));
    QVERIFY(!changed.wait(500));
    watch.setActive(true);
    QTRY_COMPARE_WITH_TIMEOUT(changed.count(), 1, kTimeout);
    // Active with nothing new: nothing to read.
    watch.setActive(false);
    watch.setActive(true);
    QVERIFY(!changed.wait(500));
    QCOMPARE(changed.count(), 1);
}

void tst_FolderWatch::pathsOutsideTheWatchAreNotReported()
{
    const QString other = m_dir->filePath(QStringLiteral("other"));
    QVERIFY(QDir().mkpath(other));
    FolderWatch watch;
    watch.setDelay(50);
    watch.setPaths({ m_labels });
    QSignalSpy changed(&watch, &FolderWatch::changed);
    QVERIFY(writeFile(other + QStringLiteral("/elsewhere.kxld")));
    QVERIFY(!changed.wait(500));
}

QTEST_GUILESS_MAIN(tst_FolderWatch)
#include "tst_folderwatch.moc"
