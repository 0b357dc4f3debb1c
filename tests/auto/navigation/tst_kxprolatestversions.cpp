#include "versions/kxpro_latest_versions.h"

#include "log_capture.h"

#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

class tst_KXPROLatestVersions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void currentVersion();
    void defaultManifestLocation();
    void checkStartsByItself();
    void newerRelease_data();
    void newerRelease();
    void badManifest_data();
    void badManifest();
    void badManifestAfterGoodKeepsRecord();

private:
    void writeManifest(const QByteArray &content);
    QTemporaryDir m_dir;
    QString m_manifest;
};

void tst_KXPROLatestVersions::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(m_dir.isValid());
    m_manifest = m_dir.filePath(QStringLiteral("manifest.json"));
}

void tst_KXPROLatestVersions::init()
{
    QSettings store(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Quorvane Inc"),
                    QStringLiteral("KorvexPro"));
    store.clear();
    store.setValue(QStringLiteral("updates/manifest"), m_manifest);
    QFile::remove(m_manifest);
}

void tst_KXPROLatestVersions::writeManifest(const QByteArray &content)
{
    QFile file(m_manifest);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(content), content.size());
}

void tst_KXPROLatestVersions::currentVersion()
{
    KXPROLatestVersions versions;
    QCOMPARE(versions.getCurrentVersion(),
             QVersionNumber::fromString(QStringLiteral(KORVEX_TEST_PROJECT_VERSION)));
    QVERIFY(!versions.getCurrentVersion().isNull());
}

void tst_KXPROLatestVersions::defaultManifestLocation()
{
    QSettings store(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Quorvane Inc"),
                    QStringLiteral("KorvexPro"));
    store.remove(QStringLiteral("updates/manifest"));
    store.sync();
    QCOMPARE(KXPROLatestVersions::manifestPath(),
             QCoreApplication::applicationDirPath() + QStringLiteral("/versions/latest.json"));
}

void tst_KXPROLatestVersions::checkStartsByItself()
{
    writeManifest(R"({"version":"99.0.0"})");
    KXPROLatestVersions versions;
    QSignalSpy spy(&versions, &KXPROLatestVersions::versionInfoStructUpdated);
    QCOMPARE(versions.updateAvailable(), false);
    QVERIFY(spy.wait(5000));
    QCOMPARE(spy.size(), 1);
    QCOMPARE(versions.updateAvailable(), true);
}

void tst_KXPROLatestVersions::newerRelease_data()
{
    QTest::addColumn<QByteArray>("manifest");
    QTest::addColumn<bool>("available");
    QTest::addColumn<QString>("version");

    QTest::newRow("newer") << QByteArray(R"({"version":"99.2.3","releaseDate":"2026-05-04T03:02:01Z",)"
                                         R"("downloadUrl":"https://example.invalid/x","releaseNotes":"n"})")
                           << true << "99.2.3";
    QTest::newRow("older") << QByteArray(R"({"version":"0.9"})") << false << "0.9";
    QTest::newRow("same") << QByteArray(R"({"version":")" KORVEX_TEST_PROJECT_VERSION R"("})") << false
                          << KORVEX_TEST_PROJECT_VERSION;
    QTest::newRow("extra fields of any type") << QByteArray(R"({"version":"100","releaseDate":5,"x":[1]})")
                                              << true << "100";
}

void tst_KXPROLatestVersions::newerRelease()
{
    QFETCH(QByteArray, manifest);
    QFETCH(bool, available);
    QFETCH(QString, version);

    writeManifest(manifest);
    KXPROLatestVersions versions;
    QSignalSpy spy(&versions, &KXPROLatestVersions::versionInfoStructUpdated);
    versions.checkForUpdates();
    QCOMPARE(spy.size(), 1);
    QCOMPARE(versions.updateAvailable(), available);
    QCOMPARE(versions.getVersionInfoStruct().version.toString(), version);
    if (QTest::currentDataTag() == QByteArray("newer")) {
        QCOMPARE(versions.getVersionInfoStruct().releaseDate,
                 QDateTime(QDate(2026, 5, 4), QTime(3, 2, 1), Qt::UTC));
        QCOMPARE(versions.getVersionInfoStruct().downloadUrl, QStringLiteral("https://example.invalid/x"));
        QCOMPARE(versions.getVersionInfoStruct().releaseNotes, QStringLiteral("n"));
    }
}

void tst_KXPROLatestVersions::badManifest_data()
{
    QTest::addColumn<bool>("exists");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("reason");

    QTest::newRow("missing") << false << QByteArray() << "No such file or directory";
    QTest::newRow("truncated") << true << QByteArray(R"({"version":"99.)") << "unterminated string";
    QTest::newRow("not JSON") << true << QByteArray("version: 99") << "illegal value";
    QTest::newRow("empty") << true << QByteArray() << "illegal value";
    QTest::newRow("array") << true << QByteArray("[1]") << "not a JSON object";
    QTest::newRow("no version") << true << QByteArray("{}") << "no \"version\" text";
    QTest::newRow("version number") << true << QByteArray(R"({"version":2})") << "no \"version\" text";
    QTest::newRow("version garbage") << true << QByteArray(R"({"version":"v2"})") << "bad version \"v2\"";
    QTest::newRow("too large") << true << QByteArray(1024 * 1024 + 10, ' ') << "file too large";
}

void tst_KXPROLatestVersions::badManifest()
{
    QFETCH(bool, exists);
    QFETCH(QByteArray, content);
    QFETCH(QString, reason);
    if (exists)
        writeManifest(content);

    KXPROLatestVersions versions;
    QSignalSpy spy(&versions, &KXPROLatestVersions::versionInfoStructUpdated);
    LogCapture log;
    versions.checkForUpdates();
    QCOMPARE(spy.size(), 1);
    QCOMPARE(versions.updateAvailable(), false);
    QVERIFY(versions.getVersionInfoStruct().version.isNull());

    const QString expected = QStringLiteral("Version manifest %1 unusable: %2").arg(m_manifest, reason);
    const auto lines = log.linesWithMessage(expected);
    QVERIFY2(lines.size() == 1, qPrintable(log.messages().join(QLatin1Char('\n'))));
    QCOMPARE(lines.first().category, QByteArray("korvex.suite.versions"));
    QCOMPARE(lines.first().type, QtDebugMsg);
    QCOMPARE(lines.first().file, LogCapture::sourcePath("versions/kxpro_latest_versions"));
    QVERIFY(lines.first().function.contains("checkForUpdates"));
}

void tst_KXPROLatestVersions::badManifestAfterGoodKeepsRecord()
{
    writeManifest(R"({"version":"99.0.0"})");
    KXPROLatestVersions versions;
    versions.checkForUpdates();
    QCOMPARE(versions.updateAvailable(), true);
    writeManifest(R"({"vers)");
    LogCapture log;
    versions.checkForUpdates();
    QCOMPARE(versions.updateAvailable(), false);
    QCOMPARE(versions.getVersionInfoStruct().version.toString(), QStringLiteral("99.0.0"));
}

QTEST_GUILESS_MAIN(tst_KXPROLatestVersions)
#include "tst_kxprolatestversions.moc"
