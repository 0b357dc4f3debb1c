#include "models/dashboard_main.h"

#include "dashboard_global.h"
#include "dashboard_settings.h"

#include "analytics/analytics_library.h"
#include "qmlutils/qvdashboard_icons.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFontDatabase>
#include <QJsonDocument>
#include <QMetaEnum>
#include <QRawFont>
#include <QSignalSpy>
#include <QTranslator>
#include <QUrl>
#include <QtTest>

#include "url_recorder.h"


class tst_DashboardMain : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void navigationRows_data();
    void navigationRows();
    void navigationOnlyHomeSelected();
    void navigationGlyphsExistInIconFont();
    void resourceRows_data();
    void resourceRows();
    void resourceHostsAreConfiguration_data();
    void resourceHostsAreConfiguration();
    void populateRebuildsAndSignals();
    void navEnumKeepsCrossedValues();
    void bannerEnum();
    void fontsAddedToDatabase();
    void contentOpenHit_data();
    void contentOpenHit();
    void contentOpenHitNotSentWithoutConsent();
    void openFileExplorerOpensLabelFolder();
    void germanTranslation();

private:
    std::unique_ptr<DashboardMain> m_main;
};

// The icon names of QVDashboardIcons whose glyph is this one.
static QStringList iconNamesOf(const QString &glyph)
{
    const QVDashboardIcons icons;
    const QMetaObject *meta = icons.metaObject();
    QStringList names;
    for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i) {
        const QMetaProperty property = meta->property(i);
        if (property.read(&icons).toString() == glyph)
            names << QString::fromLatin1(property.name());
    }
    return names;
}

void tst_DashboardMain::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
}

void tst_DashboardMain::init()
{
    auto store = DashboardSettings::openDashboardStore();
    store->clear();
    store->sync();
    QFile::remove(AnalyticsLibrary::hitFilePath());
    m_main = std::make_unique<DashboardMain>();
}

void tst_DashboardMain::cleanup()
{
    m_main.reset();
}

void tst_DashboardMain::navigationRows_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("iconProperty");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("navType");
    QTest::addColumn<int>("appType");

    QTest::newRow("home") << 0 << "home" << "Home" << 0 << -1;
    QTest::newRow("cloud") << 1 << "sharedLabelsFolder" << "Cloud" << 1 << -1;
    QTest::newRow("labelDesigner") << 2 << "labelDesigner" << "Label Designer" << 19 << 0;
    QTest::newRow("premadeSigns") << 3 << "premadeSigns" << "Premade Signs" << 19 << 1;
    QTest::newRow("arcFlash") << 4 << "arcFlash" << "Arc Flash" << 19 << 2;
    QTest::newRow("chemical") << 5 << "chemical" << "Chemical" << 19 << 3;
    QTest::newRow("nfpa") << 6 << "nfpa" << "NFPA" << 19 << 4;
    QTest::newRow("pipeMarking") << 7 << "pipeMarking" << "Pipe Marking" << 19 << 5;
    QTest::newRow("symbolCreator") << 8 << "symbolCreator" << "Symbol Creator" << 19 << 6;
    QTest::newRow("printers") << 9 << "printers" << "Printers" << 19 << 7;
    QTest::newRow("resources") << 10 << "resources" << "Resources" << 10 << -1;
    QTest::newRow("support") << 11 << "help" << "Request Support" << 11 << -1;
    QTest::newRow("liveChat") << 12 << "chat" << "Live Chat" << 12 << -1;
    QTest::newRow("feedback") << 13 << "feedback" << "Feedback" << 13 << -1;
}

void tst_DashboardMain::navigationRows()
{
    QFETCH(int, row);
    QFETCH(QString, iconProperty);
    QFETCH(QString, name);
    QFETCH(int, navType);
    QFETCH(int, appType);

    const QVariantList items = m_main->getDashboardNavItems();
    QCOMPARE(items.size(), 14);
    QCOMPARE(m_main->property("dashboardNavItems").toList().size(), 14);
    QVERIFY(items.at(row).canConvert<NavigationItem>());
    const NavigationItem item = items.at(row).value<NavigationItem>();

    const QVDashboardIcons icons;
    const QString glyph = icons.property(iconProperty.toLatin1().constData()).toString();
    QCOMPARE(glyph.size(), 1);
    QCOMPARE(item.navIcon, glyph);
    // The glyph names this icon and no other, so a row built from another name shows here.
    QCOMPARE(iconNamesOf(item.navIcon), QStringList { iconProperty });
    QCOMPARE(item.navName, name);
    QCOMPARE(item.navType, navType);
    QCOMPARE(item.navAppType, appType);
    QCOMPARE(item.selected, row == 0);

    // Every other field stays at its default.
    NavigationItem expected;
    expected.navIcon = glyph;
    expected.navName = name;
    expected.navType = navType;
    expected.navAppType = appType;
    expected.selected = row == 0;
    QCOMPARE(item, expected);
    QVERIFY(item.execName.isEmpty());
    QCOMPARE(item.menuOrder, 0);
    QCOMPARE(item.loading, false);
    QCOMPARE(item.terminal, false);
}

void tst_DashboardMain::navigationOnlyHomeSelected()
{
    const QVariantList items = m_main->getDashboardNavItems();
    QStringList selected;
    for (const QVariant &v : items)
        if (v.value<NavigationItem>().selected)
            selected << v.value<NavigationItem>().navName;
    QCOMPARE(selected, QStringList { QStringLiteral("Home") });
}

void tst_DashboardMain::navigationGlyphsExistInIconFont()
{
    QFile fontFile(QStringLiteral(":/Fonts/QVDashboardIcons.ttf"));
    QVERIFY(fontFile.open(QIODevice::ReadOnly));
    const QRawFont font(fontFile.readAll(), 16);
    QVERIFY(font.isValid());
    QCOMPARE(font.familyName(), QStringLiteral("qvdashboardicons"));

    const QVariantList items = m_main->getDashboardNavItems();
    QCOMPARE(items.size(), 14);
    for (const QVariant &v : items) {
        const NavigationItem item = v.value<NavigationItem>();
        QCOMPARE(item.navIcon.size(), 1);
        const char32_t codePoint = item.navIcon.at(0).unicode();
        QVERIFY2(codePoint >= 0xE000 && codePoint <= 0xF8FF, qPrintable(item.navName));
        QCOMPARE(item.navIcon.toUtf8().size(), 3);
        QVERIFY2(font.supportsCharacter(codePoint), qPrintable(item.navName));
    }
}

void tst_DashboardMain::resourceRows_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("image");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("subtitle");
    QTest::addColumn<QString>("url");

    const QString main = QStringLiteral("https://www.quorvane.com");
    const QString guides = QStringLiteral("Guides and Downloads");
    QTest::newRow("supplies") << 0 << "qrc:/Svg/SuppliesOrange.svg" << "Supplies" << ""
                              << main + "/labeling-and-signage/printer-supplies/";
    QTest::newRow("korvexPro") << 1 << "qrc:/Svg/Korvex-PRO-logo_2025-icon-only-100x100.svg"
                               << "Korvex PRO" << guides << main + "/support/korvex-pro/";
    QTest::newRow("pikaMax") << 2 << "qrc:/Svg/PikaMaxPrinter.svg" << "Pika Max" << guides
                             << main + "/support/od-pika-max-support/";
    QTest::newRow("wombatMax") << 3 << "qrc:/Svg/WombatMaxPrinter.svg" << "Wombat Max" << guides
                               << main + "/support/od-wombat-max-support/";
    QTest::newRow("martenMax") << 4 << "qrc:/Svg/MartenMaxPrinter.svg" << "Marten Max" << guides
                               << main + "/support/od-marten-max-support/";
    QTest::newRow("marten") << 5 << "qrc:/Svg/MartenPrinter.svg" << "Marten" << guides
                            << main + "/support/od-marten-support/";
    QTest::newRow("videos") << 6 << "qrc:/Svg/VideoPlayer.svg" << "How to Videos" << ""
                            << "https://videos.quorvane.com/videos/";
}

void tst_DashboardMain::resourceRows()
{
    QFETCH(int, row);
    QFETCH(QString, image);
    QFETCH(QString, name);
    QFETCH(QString, subtitle);
    QFETCH(QString, url);

    const QVariantList items = m_main->getResourcesNavItems();
    QCOMPARE(items.size(), 7);
    QCOMPARE(m_main->property("resourcesNavItems").toList().size(), 7);
    const ResourceItem item = items.at(row).value<ResourceItem>();
    QCOMPARE(item.resImage, image);
    QCOMPARE(item.resName, name);
    QCOMPARE(item.resSubtitle, subtitle);
    QCOMPARE(item.resUrl, url);
}

void tst_DashboardMain::resourceHostsAreConfiguration_data()
{
    QTest::addColumn<QVariant>("mainSite");
    QTest::addColumn<QVariant>("videoSite");
    QTest::addColumn<QString>("suppliesUrl");
    QTest::addColumn<QString>("videosUrl");

    QTest::newRow("full addresses")
            << QVariant("http://intranet.example:8080/") << QVariant("https://media.example")
            << "http://intranet.example:8080/labeling-and-signage/printer-supplies/"
            << "https://media.example/videos/";
    QTest::newRow("bare host names")
            << QVariant("shop.example") << QVariant("tv.example//")
            << "https://shop.example/labeling-and-signage/printer-supplies/"
            << "https://tv.example/videos/";
    QTest::newRow("empty falls back")
            << QVariant("") << QVariant("   ")
            << "https://www.quorvane.com/labeling-and-signage/printer-supplies/"
            << "https://videos.quorvane.com/videos/";
    QTest::newRow("wrong types fall back")
            << QVariant(QVariantList { 1, 2 }) << QVariant(QVariantMap { { "a", 1 } })
            << "https://www.quorvane.com/labeling-and-signage/printer-supplies/"
            << "https://videos.quorvane.com/videos/";
}

void tst_DashboardMain::resourceHostsAreConfiguration()
{
    QFETCH(QVariant, mainSite);
    QFETCH(QVariant, videoSite);
    QFETCH(QString, suppliesUrl);
    QFETCH(QString, videosUrl);

    {
        auto store = DashboardSettings::openDashboardStore();
        store->setValue(QStringLiteral("resources/mainSite"), mainSite);
        store->setValue(QStringLiteral("resources/videoSite"), videoSite);
    }
    DashboardMain main;
    const QVariantList items = main.getResourcesNavItems();
    QCOMPARE(items.first().value<ResourceItem>().resUrl, suppliesUrl);
    QCOMPARE(items.last().value<ResourceItem>().resUrl, videosUrl);
}

void tst_DashboardMain::populateRebuildsAndSignals()
{
    QSignalSpy navSpy(m_main.get(), &DashboardMain::dashboardNavItemsChanged);
    QSignalSpy resSpy(m_main.get(), &DashboardMain::resourceNavItemsChanged);
    QSignalSpy toolsSpy(m_main.get(), &DashboardMain::toolsNavItemsChanged);
    QSignalSpy debugSpy(m_main.get(), &DashboardMain::debugNavItemsChanged);

    const QVariantList before = m_main->getDashboardNavItems();
    m_main->populateNavigation();
    m_main->populateNavigation();
    QCOMPARE(navSpy.size(), 2);
    QCOMPARE(m_main->getDashboardNavItems(), before);
    QCOMPARE(m_main->getDashboardNavItems().size(), 14);

    m_main->populateResourcesNavigation();
    QCOMPARE(resSpy.size(), 1);
    QCOMPARE(m_main->getResourcesNavItems().size(), 7);
    QCOMPARE(toolsSpy.size(), 0);
    QCOMPARE(debugSpy.size(), 0);
}

void tst_DashboardMain::navEnumKeepsCrossedValues()
{
    const QMetaEnum e = QMetaEnum::fromType<DashboardMain::DashboardNavEnum>();
    QCOMPARE(e.keyCount(), 6);
    const QList<QByteArray> keys { "RECENTFILE", "LOCALFILE", "FAVORITE", "GOOGLEDRIVE",
                                   "DROPBOX", "ONEDRIVE" };
    const QList<int> values { 0, 1, 2, 4, 3, 5 };
    for (int i = 0; i < e.keyCount(); ++i) {
        QCOMPARE(QByteArray(e.key(i)), keys.at(i));
        QCOMPARE(e.value(i), values.at(i));
    }
    QCOMPARE(QByteArray(e.valueToKey(3)), QByteArray("DROPBOX"));
    QCOMPARE(e.keyToValue("GOOGLEDRIVE"), 4);
}

void tst_DashboardMain::bannerEnum()
{
    const QMetaEnum e = QMetaEnum::fromType<DashboardMain::DashboardBannerType>();
    QCOMPARE(e.keyCount(), 3);
    QCOMPARE(e.keyToValue("ERROR"), 0);
    QCOMPARE(e.keyToValue("PREMADE_SIGNS"), 1);
    QCOMPARE(e.keyToValue("RESOURCES"), 2);
}

void tst_DashboardMain::fontsAddedToDatabase()
{
    QFile general(QStringLiteral(":/Fonts/QVGeneralFontGlyphs.ttf"));
    QVERIFY(general.open(QIODevice::ReadOnly));
    const QRawFont generalFont(general.readAll(), 12);
    QVERIFY(generalFont.isValid());

    // Application fonts are numbered in the order they are added. The general font's family
    // may be installed on the system too, so only the numbers tell that it was added, and first.
    int next = 0;
    while (!QFontDatabase::applicationFontFamilies(next).isEmpty())
        ++next;
    m_main = std::make_unique<DashboardMain>();
    QCOMPARE(QFontDatabase::applicationFontFamilies(next), QStringList { generalFont.familyName() });
    QCOMPARE(QFontDatabase::applicationFontFamilies(next + 1), QStringList { QStringLiteral("qvdashboardicons") });
    QVERIFY(QFontDatabase::applicationFontFamilies(next + 2).isEmpty());
    QVERIFY(QFontDatabase::families().contains(QStringLiteral("qvdashboardicons")));
    // Both fonts ship with their licence.
    QVERIFY(QFile::exists(QStringLiteral(":/Fonts/QVDashboardIcons-LICENSE.txt")));
    QVERIFY(QFile::exists(QStringLiteral(":/Fonts/QVGeneralFontGlyphs-LICENSE.txt")));
}

void tst_DashboardMain::contentOpenHit_data()
{
    QTest::addColumn<int>("bannerType");
    QTest::addColumn<QByteArray>("hitJson");

    QTest::newRow("ERROR") << 0 << QByteArray(R"({"contentName":"Banner - Error","eventType":"Open"})");
    QTest::newRow("PREMADE_SIGNS")
            << 1 << QByteArray(R"({"contentName":"Banner - Premade Signs","eventType":"Open"})");
    QTest::newRow("RESOURCES")
            << 2 << QByteArray(R"({"contentName":"Banner - Resources","eventType":"Open"})");
    QTest::newRow("out of range high")
            << 3 << QByteArray(R"({"contentName":"Banner - Error","eventType":"Open"})");
    QTest::newRow("out of range negative")
            << -7 << QByteArray(R"({"contentName":"Banner - Error","eventType":"Open"})");
}

void tst_DashboardMain::contentOpenHit()
{
    QFETCH(int, bannerType);
    QFETCH(QByteArray, hitJson);

    QSignalSpy spy(AnalyticsLibrary::instance(), &AnalyticsLibrary::analyticHitSent);
    // Through the meta-object, as QML calls it.
    QVERIFY(QMetaObject::invokeMethod(m_main.get(), "sendContentOpenAnalyticHit",
                                      Q_ARG(DashboardMain::DashboardBannerType,
                                            DashboardMain::DashboardBannerType(bannerType))));
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(0).value<AnalyticsLibrary::AnalyticHitType>(),
             AnalyticsLibrary::HIT_CONTENT_OPEN);
    QCOMPARE(int(spy.at(0).at(0).value<AnalyticsLibrary::AnalyticHitType>()), 3);
    const QJsonObject hit = spy.at(0).at(1).toJsonObject();
    QCOMPARE(QJsonDocument(hit).toJson(QJsonDocument::Compact), hitJson);

    QFile file(AnalyticsLibrary::hitFilePath());
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().split('\n');
    QCOMPARE(lines.size(), 2);
    QVERIFY(lines.at(1).isEmpty());
    QVERIFY2(lines.at(0).startsWith("{\"type\":3,\"timestamp\":\""), lines.at(0).constData());
    QVERIFY2(lines.at(0).endsWith(",\"hit\":" + hitJson + "}"), lines.at(0).constData());
}

void tst_DashboardMain::contentOpenHitNotSentWithoutConsent()
{
    DashboardSettings::openDashboardStore()->setValue(QStringLiteral("sendAnalytics"), false);
    QSignalSpy spy(AnalyticsLibrary::instance(), &AnalyticsLibrary::analyticHitSent);
    m_main->sendContentOpenAnalyticHit(DashboardMain::RESOURCES);
    QCOMPARE(spy.size(), 0);
    QVERIFY(!QFile::exists(AnalyticsLibrary::hitFilePath()));
}

void tst_DashboardMain::openFileExplorerOpensLabelFolder()
{
    UrlRecorder recorder;
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &recorder, "open");
    const QString expectedPath = QDir::rootPath()
            + QStringLiteral("Users/Public/Documents/KorvexPro/users/guest/mylabels");
    QCOMPARE(DashboardMain::labelFolderPath(), expectedPath);
    const bool existedBefore = QFileInfo::exists(expectedPath);

    QVERIFY(QMetaObject::invokeMethod(m_main.get(), "openFileExplorer"));
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));

    QCOMPARE(recorder.urls.size(), 1);
    QCOMPARE(recorder.urls.first(), QUrl::fromLocalFile(expectedPath));
    QCOMPARE(QFileInfo::exists(expectedPath), existedBefore);
}

void tst_DashboardMain::germanTranslation()
{
    QTranslator translator;
    QVERIFY(translator.load(QStringLiteral(":/i18n/korvexdashboard_de.qm")));
    QVERIFY(QCoreApplication::installTranslator(&translator));
    DashboardMain main;
    QCoreApplication::removeTranslator(&translator);

    const QVariantList nav = main.getDashboardNavItems();
    QCOMPARE(nav.at(0).value<NavigationItem>().navName, QStringLiteral("Startseite"));
    QCOMPARE(nav.at(9).value<NavigationItem>().navName, QStringLiteral("Drucker"));
    const QVariantList resources = main.getResourcesNavItems();
    QCOMPARE(resources.at(0).value<ResourceItem>().resName, QStringLiteral("Verbrauchsmaterial"));
    QCOMPARE(resources.at(1).value<ResourceItem>().resSubtitle,
             QStringLiteral("Anleitungen und Downloads"));
    // Product names stay untranslated.
    QCOMPARE(resources.at(1).value<ResourceItem>().resName, QStringLiteral("Korvex PRO"));
}

QTEST_MAIN(tst_DashboardMain)
#include "tst_dashboardmain.moc"
