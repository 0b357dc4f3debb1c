#include "models/dashboard_main.h"

#include "dashboard_global.h"
#include "dashboard_logging.h"
#include "dashboard_settings.h"

#include "analytics/analytics_library.h"
#include "qmlutils/qvdashboard_icons.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFontDatabase>
#include <QJsonObject>
#include <QResource>
#include <QUrl>

#ifdef ERROR
#undef ERROR
#endif

const char DashboardMain::DEFAULT_MAIN_SITE[] = "https://www.quorvane.com";
const char DashboardMain::DEFAULT_VIDEO_SITE[] = "https://videos.quorvane.com";

namespace {

const QString BANNER_PREFIX = QStringLiteral("Banner - ");
const QString BANNER_PREMADE_SIGNS = BANNER_PREFIX + QStringLiteral("Premade Signs");
const QString BANNER_RESOURCES = BANNER_PREFIX + QStringLiteral("Resources");
const QString BANNER_ERROR = BANNER_PREFIX + QStringLiteral("Error");

QString siteAddress(const char *key, const char *fallback)
{
    const auto store = DashboardSettings::openDashboardStore();
    QString address = store->value(QLatin1String(key)).toString().trimmed();
    if (address.isEmpty())
        address = QLatin1String(fallback);
    if (!address.contains(QLatin1String("://")))
        address.prepend(QLatin1String("https://"));
    // Paths are appended with their own leading "/".
    while (address.endsWith(QLatin1Char('/')))
        address.chop(1);
    return address;
}

NavigationItem navigationRow(const QVDashboardIcons &icons, const char *iconName,
                             const QString &name, int navType, int appType)
{
    NavigationItem item;
    item.navIcon = icons.property(iconName).toString();
    item.navName = name;
    item.navType = navType;
    item.navAppType = appType;
    return item;
}

ResourceItem resourceRow(const QString &image, const QString &name, const QString &subtitle,
                         const QString &url)
{
    ResourceItem item;
    item.resImage = image;
    item.resName = name;
    item.resSubtitle = subtitle;
    item.resUrl = url;
    return item;
}

// A font compiled in uncompressed is handed to the font database where it lies: added by its
// path, it would be copied into memory when added and once more when first drawn.
int addCompiledInFont(const QString &path)
{
    const QResource resource(path);
    if (!resource.isValid() || resource.compressionAlgorithm() != QResource::NoCompression)
        return QFontDatabase::addApplicationFont(path);
    return QFontDatabase::addApplicationFontFromData(
            QByteArray::fromRawData(reinterpret_cast<const char *>(resource.data()), resource.size()));
}

// The banner type is a parameter of an invokable method: QML and queued calls look it up by
// its qualified name, which needs it known before the first call.
void registerDashboardMainTypes()
{
    qRegisterMetaType<DashboardMain::DashboardBannerType>("DashboardMain::DashboardBannerType");
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(registerDashboardMainTypes)

DashboardMain::DashboardMain(QObject *parent) : QObject(parent)
{
    populateNavigation();
    populateResourcesNavigation();
    addCompiledInFont(QStringLiteral(":/Fonts/QVGeneralFontGlyphs.ttf"));
    addCompiledInFont(QStringLiteral(":/Fonts/QVDashboardIcons.ttf"));
}

QVariantList DashboardMain::getDashboardNavItems() const
{
    return m_dashboardNavItems;
}

QVariantList DashboardMain::getResourcesNavItems() const
{
    return m_resourcesNavItems;
}

void DashboardMain::populateNavigation()
{
    const QVDashboardIcons icons;
    using G = DashboardGlobal;
    const NavigationItem rows[] = {
        navigationRow(icons, "home", tr("Home", "Navigation button to go back home"),
                      G::NAV_HOME, G::APP_NULL),
        navigationRow(icons, "sharedLabelsFolder",
                      tr("Cloud", "Navigation button to view cloud saved labels"),
                      G::NAV_CLOUD, G::APP_NULL),
        navigationRow(icons, "labelDesigner",
                      tr("Label Designer", "Navigation button to open the label designer"),
                      G::NAV_APP, G::APP_LABELDESIGNER),
        navigationRow(icons, "premadeSigns",
                      tr("Premade Signs", "Navigation button to open the pre-made signs application"),
                      G::NAV_APP, G::APP_PREMADESIGNS),
        navigationRow(icons, "arcFlash",
                      tr("Arc Flash", "Navigation button to open the arc flash application"),
                      G::NAV_APP, G::APP_ARCFLASH),
        navigationRow(icons, "chemical",
                      tr("Chemical", "Navigation button to open the chemical application"),
                      G::NAV_APP, G::APP_CHEMICAL),
        navigationRow(icons, "nfpa", tr("NFPA", "Navigation button to open the nfpa application"),
                      G::NAV_APP, G::APP_NFPA),
        navigationRow(icons, "pipeMarking",
                      tr("Pipe Marking", "Navigation button to open the pipe marking application"),
                      G::NAV_APP, G::APP_PIPEMARKING),
        navigationRow(icons, "symbolCreator",
                      tr("Symbol Creator", "Navigation button to open the symbol creator application"),
                      G::NAV_APP, G::APP_SYMBOLCREATOR),
        navigationRow(icons, "printers",
                      tr("Printers", "Navigation button to open the printer maintenance application"),
                      G::NAV_APP, G::APP_PRINTERMAINTENANCE),
        navigationRow(icons, "resources", tr("Resources", "Navigation button to view resources"),
                      G::NAV_RESOURCES, G::APP_NULL),
        navigationRow(icons, "help", tr("Request Support", "Navigation button to request support"),
                      G::NAV_URL_SUPPORT, G::APP_NULL),
        navigationRow(icons, "chat", tr("Live Chat", "Navigation button to open live chat"),
                      G::NAV_URL_LIVECHAT, G::APP_NULL),
        navigationRow(icons, "feedback", tr("Feedback", "Navigation button to open feedback form"),
                      G::NAV_URL_FEEDBACK, G::APP_NULL),
    };

    QVariantList list;
    for (const NavigationItem &row : rows)
        list.append(QVariant::fromValue(row));
    // The dashboard opens on Home.
    NavigationItem home = list.first().value<NavigationItem>();
    home.selected = true;
    list.first() = QVariant::fromValue(home);

    m_dashboardNavItems = list;
    Q_EMIT dashboardNavItemsChanged();
}

void DashboardMain::populateResourcesNavigation()
{
    const QString mainSite = mainSiteAddress();
    const QString videoSite = videoSiteAddress();
    const QString guides = tr("Guides and Downloads");
    const ResourceItem rows[] = {
        resourceRow(QStringLiteral("qrc:/Svg/SuppliesOrange.svg"),
                    tr("Supplies", "Navigation button to launch a url to re-order supplies"),
                    QString(), mainSite + QStringLiteral("/labeling-and-signage/printer-supplies/")),
        resourceRow(QStringLiteral("qrc:/Svg/Korvex-PRO-logo_2025-icon-only-100x100.svg"),
                    QStringLiteral("Korvex PRO"), guides,
                    mainSite + QStringLiteral("/support/korvex-pro/")),
        resourceRow(QStringLiteral("qrc:/Svg/PikaMaxPrinter.svg"), QStringLiteral("Pika Max"),
                    guides, mainSite + QStringLiteral("/support/od-pika-max-support/")),
        resourceRow(QStringLiteral("qrc:/Svg/WombatMaxPrinter.svg"), QStringLiteral("Wombat Max"),
                    guides, mainSite + QStringLiteral("/support/od-wombat-max-support/")),
        resourceRow(QStringLiteral("qrc:/Svg/MartenMaxPrinter.svg"), QStringLiteral("Marten Max"),
                    guides, mainSite + QStringLiteral("/support/od-marten-max-support/")),
        resourceRow(QStringLiteral("qrc:/Svg/MartenPrinter.svg"), QStringLiteral("Marten"),
                    guides, mainSite + QStringLiteral("/support/od-marten-support/")),
        resourceRow(QStringLiteral("qrc:/Svg/VideoPlayer.svg"),
                    tr("How to Videos", "Navigation button to launch a url to view how to videos"),
                    QString(), videoSite + QStringLiteral("/videos/")),
    };

    QVariantList list;
    for (const ResourceItem &row : rows)
        list.append(QVariant::fromValue(row));
    m_resourcesNavItems = list;
    Q_EMIT resourceNavItemsChanged();
}

void DashboardMain::sendContentOpenAnalyticHit(DashboardMain::DashboardBannerType type)
{
    QString contentName;
    switch (type) {
    case PREMADE_SIGNS:
        contentName = BANNER_PREMADE_SIGNS;
        break;
    case RESOURCES:
        contentName = BANNER_RESOURCES;
        break;
    default:
        contentName = BANNER_ERROR;
        break;
    }
    QJsonObject hit;
    hit.insert(QStringLiteral("eventType"), QStringLiteral("Open"));
    hit.insert(QStringLiteral("contentName"), contentName);
    AnalyticsLibrary::sendAnalyticHit(AnalyticsLibrary::HIT_CONTENT_OPEN, hit);
}

QString DashboardMain::labelFolderPath()
{
    return QDir::rootPath() + QStringLiteral("Users/Public/Documents")
            + QStringLiteral("/KorvexPro/users/guest/") + QStringLiteral("mylabels");
}

void DashboardMain::openFileExplorer()
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(labelFolderPath()));
}

QString DashboardMain::mainSiteAddress()
{
    return siteAddress("resources/mainSite", DEFAULT_MAIN_SITE);
}

QString DashboardMain::videoSiteAddress()
{
    return siteAddress("resources/videoSite", DEFAULT_VIDEO_SITE);
}
