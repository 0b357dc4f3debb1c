#include "Controllers/label_tree_walker.h"
#include "files_test_util.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace FilesTest;

namespace {

using Walk = void (*)(const QString &, const LabelTreeWalker::Visitor &);

QStringList walked(Walk walk, const QString &root)
{
    QStringList out;
    walk(root, [&out](const QString &dir, const QString &name) { out << dir + "|" + name; });
    out.sort();
    return out;
}

} // namespace

Q_DECLARE_METATYPE(Walk)

class tst_LabelTreeWalker : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anySpellingOfTheRootGivesCleanFolders_data();
    void anySpellingOfTheRootGivesCleanFolders();
    void childPathKeepsOneSeparator_data();
    void childPathKeepsOneSeparator();
};

void tst_LabelTreeWalker::anySpellingOfTheRootGivesCleanFolders_data()
{
    QTest::addColumn<Walk>("walk");
    QTest::addColumn<QString>("suffix");
    const QList<std::pair<const char *, Walk>> walkers = {
        { "entries", &LabelTreeWalker::walkFiles },
        { "iterator", &LabelTreeWalker::walkWithIterator },
    };
    for (const auto &[name, walk] : walkers) {
        for (const char *suffix : { "", "/", "//", "/.", "/./", "/sub/.." }) {
            QTest::addRow("%s, root + \"%s\"", name, suffix) << walk << QString::fromLatin1(suffix);
        }
    }
}

void tst_LabelTreeWalker::anySpellingOfTheRootGivesCleanFolders()
{
    QFETCH(Walk, walk);
    QFETCH(QString, suffix);
    QTemporaryDir dir;
    const QString root = dir.filePath("labels");
    for (const char *file : { "a.kxld", "b.kxld", "sub/c.kxld", "sub/deeper/d.kxld" })
        QVERIFY(makeFile(root + "/" + file));

    const QStringList expected = { root + "/sub/deeper|d.kxld", root + "/sub|c.kxld", root + "|a.kxld",
                                   root + "|b.kxld" };
    QCOMPARE(walked(walk, root + suffix), expected);
    // The folders are those the records are built with.
    walk(root + suffix, [](const QString &folder, const QString &name) {
        QCOMPARE(folder, QFileInfo(folder + "/" + name).absolutePath());
    });
}

void tst_LabelTreeWalker::childPathKeepsOneSeparator_data()
{
    QTest::addColumn<QString>("dir");
    QTest::addColumn<QString>("path");
    QTest::newRow("folder") << "/a/b" << "/a/b/x";
    QTest::newRow("file system root") << "/" << "/x";
    QTest::newRow("drive root") << "C:/" << "C:/x";
    QTest::newRow("drive folder") << "C:/a" << "C:/a/x";
}

void tst_LabelTreeWalker::childPathKeepsOneSeparator()
{
    QFETCH(QString, dir);
    QFETCH(QString, path);
    QCOMPARE(LabelTreeWalker::childPath(dir, "x"), path);
    QCOMPARE(LabelTreeWalker::cleanRoot(dir + "/"), LabelTreeWalker::cleanRoot(dir));
}

QTEST_GUILESS_MAIN(tst_LabelTreeWalker)
#include "tst_labeltreewalker.moc"
