#include "Controllers/dashboard_get_license_helper.h"

#include <QDir>
#include <QFile>
#include <QLocale>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QtTest>

class tst_DashboardGetLicenseHelper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void emptyUntilLoaded();
    void licensePath_data();
    void licensePath();
    void loadsLanguageFile_data();
    void loadsLanguageFile();
    void missingFileGivesErrorWithoutFallback_data();
    void missingFileGivesErrorWithoutFallback();
    void germanMissingDoesNotFallBackToEnglish();
    void unreadableFileGivesError();
    void hostileBytes();

private:
    static QString eulasDir() { return QCoreApplication::applicationDirPath() + QStringLiteral("/eulas/"); }
    QStringList m_created;
};

void tst_DashboardGetLicenseHelper::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(QFile::exists(eulasDir() + QStringLiteral("license-Korvex PRO_EN.txt")));
}

void tst_DashboardGetLicenseHelper::cleanup()
{
    QLocale::setDefault(QLocale::c());
    for (const QString &path : std::as_const(m_created)) {
        if (QFileInfo(path).isDir())
            QDir().rmdir(path);
        else
            QFile::remove(path);
    }
    m_created.clear();
}

void tst_DashboardGetLicenseHelper::emptyUntilLoaded()
{
    DashboardGetLicenseHelper helper;
    QCOMPARE(helper.property("licenseText").toString(), QString());
}

void tst_DashboardGetLicenseHelper::licensePath_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("fileName");

    QTest::newRow("de_DE") << "de_DE" << "license-Korvex PRO_DE.txt";
    QTest::newRow("en_US") << "en_US" << "license-Korvex PRO_EN.txt";
    QTest::newRow("C") << "C" << "license-Korvex PRO_.txt";
    QTest::newRow("pt_BR") << "pt_BR" << "license-Korvex PRO_PT.txt";
    QTest::newRow("de_AT") << "de_AT" << "license-Korvex PRO_DE.txt";
}

void tst_DashboardGetLicenseHelper::licensePath()
{
    QFETCH(QString, locale);
    QFETCH(QString, fileName);
    QLocale::setDefault(QLocale(locale));
    QCOMPARE(QLocale().name(), locale);
    QCOMPARE(DashboardGetLicenseHelper::licenseFilePath(), eulasDir() + fileName);
}

void tst_DashboardGetLicenseHelper::loadsLanguageFile_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("firstLine");

    QTest::newRow("en_US") << "en_US" << "license-Korvex PRO_EN.txt"
                           << "SAMPLE END-USER LICENCE AGREEMENT - Korvex PRO";
    QTest::newRow("en_GB") << "en_GB" << "license-Korvex PRO_EN.txt"
                           << "SAMPLE END-USER LICENCE AGREEMENT - Korvex PRO";
    QTest::newRow("de_DE") << "de_DE" << "license-Korvex PRO_DE.txt"
                           << "MUSTER-ENDBENUTZER-LIZENZVERTRAG - Korvex PRO";
}

void tst_DashboardGetLicenseHelper::loadsLanguageFile()
{
    QFETCH(QString, locale);
    QFETCH(QString, fileName);
    QFETCH(QString, firstLine);

    QLocale::setDefault(QLocale(locale));
    DashboardGetLicenseHelper helper;
    QSignalSpy spy(&helper, &DashboardGetLicenseHelper::licenseTextChanged);
    QVERIFY(QMetaObject::invokeMethod(&helper, "loadLicense"));
    QCOMPARE(spy.size(), 1);

    QFile file(eulasDir() + fileName);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString expected = QString::fromUtf8(file.readAll());
    QCOMPARE(helper.licenseText(), expected);
    QCOMPARE(helper.licenseText().section(QLatin1Char('\n'), 0, 0), firstLine);
    QVERIFY(helper.licenseText().contains(QStringLiteral("sample"), Qt::CaseInsensitive)
            || helper.licenseText().contains(QStringLiteral("Muster")));
}

void tst_DashboardGetLicenseHelper::missingFileGivesErrorWithoutFallback_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("fileName");

    QTest::newRow("ja_JP") << "ja_JP" << "license-Korvex PRO_JA.txt";
    QTest::newRow("C") << "C" << "license-Korvex PRO_.txt";
    QTest::newRow("fr_FR") << "fr_FR" << "license-Korvex PRO_FR.txt";
}

void tst_DashboardGetLicenseHelper::missingFileGivesErrorWithoutFallback()
{
    QFETCH(QString, locale);
    QFETCH(QString, fileName);

    QLocale::setDefault(QLocale(locale));
    QVERIFY(!QFile::exists(eulasDir() + fileName));
    DashboardGetLicenseHelper helper;
    QSignalSpy spy(&helper, &DashboardGetLicenseHelper::licenseTextChanged);
    helper.loadLicense();
    QCOMPARE(spy.size(), 1);
    QCOMPARE(helper.licenseText(),
             QStringLiteral("Error: Unable to load license file ") + eulasDir() + fileName);
}

void tst_DashboardGetLicenseHelper::germanMissingDoesNotFallBackToEnglish()
{
    const QString german = eulasDir() + QStringLiteral("license-Korvex PRO_DE.txt");
    const QString aside = german + QStringLiteral(".aside");
    QVERIFY(QFile::rename(german, aside));
    const auto restore = qScopeGuard([&] { QFile::rename(aside, german); });

    QLocale::setDefault(QLocale(QStringLiteral("de_DE")));
    DashboardGetLicenseHelper helper;
    helper.loadLicense();
    QCOMPARE(helper.licenseText(), QStringLiteral("Error: Unable to load license file ") + german);
    QVERIFY(QFile::exists(eulasDir() + QStringLiteral("license-Korvex PRO_EN.txt")));
}

void tst_DashboardGetLicenseHelper::unreadableFileGivesError()
{
    // A directory where the file should be cannot be opened, whoever runs the test.
    QLocale::setDefault(QLocale(QStringLiteral("it_IT")));
    const QString path = eulasDir() + QStringLiteral("license-Korvex PRO_IT.txt");
    QVERIFY(QDir().mkpath(path));
    m_created << path;

    DashboardGetLicenseHelper helper;
    QSignalSpy spy(&helper, &DashboardGetLicenseHelper::licenseTextChanged);
    helper.loadLicense();
    QCOMPARE(spy.size(), 1);
    QCOMPARE(helper.licenseText(), QStringLiteral("Error: Unable to load license file ") + path);
}

void tst_DashboardGetLicenseHelper::hostileBytes()
{
    QLocale::setDefault(QLocale(QStringLiteral("nl_NL")));
    const QString path = eulasDir() + QStringLiteral("license-Korvex PRO_NL.txt");
    m_created << path;
    QByteArray bytes("Licentie\r\n\xff\xfe\x00\x80 ongeldig\r\n", 25);
    bytes += QByteArray(200000, 'x');
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), bytes.size());
    }
    DashboardGetLicenseHelper helper;
    helper.loadLicense();
    QVERIFY(helper.licenseText().startsWith(QStringLiteral("Licentie\n")));
    QVERIFY(helper.licenseText().endsWith(QString(200000, QLatin1Char('x'))));
}

QTEST_GUILESS_MAIN(tst_DashboardGetLicenseHelper)
#include "tst_dashboardgetlicensehelper.moc"
