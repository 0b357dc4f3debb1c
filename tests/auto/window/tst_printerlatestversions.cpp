#include "printing/printer_latest_versions.h"

#include "printer_fixture.h"

#include <QSignalSpy>
#include <QtTest>

#include <memory>

class tst_PrinterLatestVersions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void checkReportsStartThenResult();
    void readsTheManifest();
    void requestsBeforeTheResultShareIt();
    void badManifests_data();
    void badManifests();
    void ownManifestFile();

private:
    std::unique_ptr<PrinterFixture> m_printers;
    std::unique_ptr<PrinterLatestVersions> m_versions;
};

void tst_PrinterLatestVersions::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_PrinterLatestVersions::init()
{
    m_printers = std::make_unique<PrinterFixture>();
    m_printers->writeManifest({ { 3, QStringLiteral("1.2.0-7") }, { 5, QStringLiteral("4.0") } });
    m_versions = std::make_unique<PrinterLatestVersions>();
}

void tst_PrinterLatestVersions::cleanup()
{
    m_versions.reset();
    m_printers.reset();
}

void tst_PrinterLatestVersions::checkReportsStartThenResult()
{
    QSignalSpy checking(m_versions.get(), &PrinterLatestVersions::checkingForUpdates);
    m_versions->checkForUpdates();
    QCOMPARE(checking.count(), 1);
    QCOMPARE(checking.takeFirst(), (QVariantList{ -1, true }));
    QVERIFY(m_versions->getAvailableVersionForPrinterType(3, false).isEmpty()); // not read yet
    QTRY_COMPARE(checking.count(), 1);
    QCOMPARE(checking.takeFirst(), (QVariantList{ -1, false }));
}

void tst_PrinterLatestVersions::readsTheManifest()
{
    QSignalSpy checking(m_versions.get(), &PrinterLatestVersions::checkingForUpdates);
    m_versions->checkForUpdates();
    QTRY_COMPARE(checking.count(), 2);
    QCOMPARE(m_versions->getAvailableVersionForPrinterType(3, false), QStringLiteral("1.2.0-7"));
    QCOMPARE(m_versions->getAvailableVersionForPrinterType(5, false), QStringLiteral("4.0"));
    QCOMPARE(m_versions->getAvailableVersionForPrinterType(5, true), QStringLiteral("4.0"));
    QVERIFY(m_versions->getAvailableVersionForPrinterType(4, false).isEmpty());
    QVERIFY(m_versions->getAvailableVersionForPrinterType(0, false).isEmpty());

    const QJsonArray types{ QJsonObject{ { "type", 3 }, { "latestVersion", "1.2.0-7" },
                                         { "preReleaseVersion", "1.3.0-1" } } };
    PrinterFixture::writeFile(m_printers->manifestPath(),
                              QJsonDocument(QJsonObject{ { "printerTypes", types } }).toJson());
    m_versions->checkForUpdates();
    QTRY_COMPARE(checking.count(), 4);
    QCOMPARE(m_versions->getAvailableVersionForPrinterType(3, true), QStringLiteral("1.3.0-1"));
    QCOMPARE(m_versions->getAvailableVersionForPrinterType(3, false), QStringLiteral("1.2.0-7"));
    QVERIFY(m_versions->getAvailableVersionForPrinterType(5, false).isEmpty()); // gone
}

void tst_PrinterLatestVersions::requestsBeforeTheResultShareIt()
{
    QSignalSpy checking(m_versions.get(), &PrinterLatestVersions::checkingForUpdates);
    m_versions->checkForUpdates();
    m_versions->checkForUpdates();
    m_versions->checkForUpdates();
    QTRY_VERIFY(checking.count() >= 4);
    QCoreApplication::processEvents();
    int results = 0;
    for (const QVariantList &entry : std::as_const(checking))
        results += entry.at(1).toBool() ? 0 : 1;
    QCOMPARE(results, 1);
    QCOMPARE(checking.count(), 4);
}

void tst_PrinterLatestVersions::badManifests_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("not JSON") << QByteArray("{{{");
    QTest::newRow("wrong shape") << QByteArray("[\"printerTypes\"]");
    QTest::newRow("types not a list") << QByteArray("{\"printerTypes\": 5}");
    QTest::newRow("bad entries") << QByteArray("{\"printerTypes\": [1, \"x\", {\"type\": -3, \"latestVersion\": \"1\"}, {\"type\": \"3\"}]}");
    QTest::newRow("empty file") << QByteArray();
}

void tst_PrinterLatestVersions::badManifests()
{
    QFETCH(QByteArray, content);
    PrinterFixture::writeFile(m_printers->manifestPath(), content);
    QSignalSpy checking(m_versions.get(), &PrinterLatestVersions::checkingForUpdates);
    m_versions->checkForUpdates();
    QTRY_COMPARE(checking.count(), 2);
    QCOMPARE(checking.at(1), (QVariantList{ -1, false }));
    for (int type = -3; type <= 5; ++type)
        QVERIFY(m_versions->getAvailableVersionForPrinterType(type, false).isEmpty());
}

void tst_PrinterLatestVersions::ownManifestFile()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("own.json");
    const QJsonArray types{ QJsonObject{ { "type", 8 }, { "latestVersion", "8.8" } } };
    PrinterFixture::writeFile(path, QJsonDocument(QJsonObject{ { "printerTypes", types } }).toJson());
    m_versions->setManifestFile(path);
    QCOMPARE(m_versions->manifestFile(), path);
    QSignalSpy checking(m_versions.get(), &PrinterLatestVersions::checkingForUpdates);
    m_versions->checkForUpdates();
    QTRY_COMPARE(checking.count(), 2);
    QCOMPARE(m_versions->getAvailableVersionForPrinterType(8, false), QStringLiteral("8.8"));
    QVERIFY(m_versions->getAvailableVersionForPrinterType(3, false).isEmpty());
}

QTEST_MAIN(tst_PrinterLatestVersions)
#include "tst_printerlatestversions.moc"
