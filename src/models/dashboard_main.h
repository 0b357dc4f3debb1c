#pragma once

#include "korvexdashboard_export.h"

#include <QObject>
#include <QString>
#include <QVariantList>

// The Windows headers define ERROR as a macro; the enumerator of that name is part of the QML
// interface.
#ifdef ERROR
#pragma push_macro("ERROR")
#undef ERROR
#define KORVEX_RESTORE_ERROR_MACRO
#endif

// Fixed content of the dashboard's side bar and Resources page, the banner analytics and the
// shortcut to the user's label folder.
class KORVEXDASHBOARD_EXPORT DashboardMain : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariantList dashboardNavItems READ getDashboardNavItems NOTIFY dashboardNavItemsChanged)
    Q_PROPERTY(QVariantList resourcesNavItems READ getResourcesNavItems NOTIFY resourceNavItemsChanged)

public:
    // GOOGLEDRIVE and DROPBOX are declared in this order with crossed values, as the front end
    // expects.
    enum DashboardNavEnum {
        RECENTFILE = 0,
        LOCALFILE = 1,
        FAVORITE = 2,
        GOOGLEDRIVE = 4,
        DROPBOX = 3,
        ONEDRIVE = 5,
    };
    Q_ENUM(DashboardNavEnum)

    // Typed, so any number QML passes is a valid value (and selects the error banner).
    enum DashboardBannerType : int {
        ERROR = 0,
        PREMADE_SIGNS = 1,
        RESOURCES = 2,
    };
    Q_ENUM(DashboardBannerType)

    explicit DashboardMain(QObject *parent = nullptr);

    QVariantList getDashboardNavItems() const;
    QVariantList getResourcesNavItems() const;

    void populateNavigation();
    void populateResourcesNavigation();

    Q_INVOKABLE void sendContentOpenAnalyticHit(DashboardMain::DashboardBannerType type);
    Q_INVOKABLE void openFileExplorer();

    // Scheme and host of the maker's main web site and of its video site: the values of
    // "resources/mainSite" and "resources/videoSite" in the dashboard store, or the defaults.
    static QString mainSiteAddress();
    static QString videoSiteAddress();
    static const char DEFAULT_MAIN_SITE[];
    static const char DEFAULT_VIDEO_SITE[];

    // The user's label folder that openFileExplorer opens.
    static QString labelFolderPath();

Q_SIGNALS:
    void dashboardNavItemsChanged();
    void resourceNavItemsChanged();
    void toolsNavItemsChanged();
    void debugNavItemsChanged();

private:
    QVariantList m_dashboardNavItems;
    QVariantList m_resourcesNavItems;
};

#ifdef KORVEX_RESTORE_ERROR_MACRO
#undef KORVEX_RESTORE_ERROR_MACRO
#pragma pop_macro("ERROR")
#endif
