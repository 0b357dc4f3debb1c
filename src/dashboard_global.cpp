#include "dashboard_global.h"

#include <QCoreApplication>

bool NavigationItem::operator==(const NavigationItem &o) const
{
    return navIcon == o.navIcon && navName == o.navName && execName == o.execName
            && navType == o.navType && navAppType == o.navAppType
            && navGenericName == o.navGenericName && navPackageName == o.navPackageName
            && navComment == o.navComment && tryExec == o.tryExec && terminal == o.terminal
            && categories == o.categories && menuOrder == o.menuOrder && nameUS == o.nameUS
            && selected == o.selected && loading == o.loading;
}

bool ResourceItem::operator==(const ResourceItem &o) const
{
    return resImage == o.resImage && resName == o.resName && resSubtitle == o.resSubtitle
            && resUrl == o.resUrl;
}

namespace {

// The enumerations appear in slot signatures, so queued connections and QML need them known
// by their qualified names before the first call; records travel to QML inside QVariants.
void registerDashboardGlobalTypes()
{
    qRegisterMetaType<DashboardGlobal::NavigationType>("DashboardGlobal::NavigationType");
    qRegisterMetaType<DashboardGlobal::LabelLocation>("DashboardGlobal::LabelLocation");
    qRegisterMetaType<DashboardGlobal::ApplicationType>("DashboardGlobal::ApplicationType");
    qRegisterMetaType<DashboardGlobal::SortByType>("DashboardGlobal::SortByType");
    qRegisterMetaType<DashboardGlobal::ErrorOnPage>("DashboardGlobal::ErrorOnPage");
    qRegisterMetaType<DashboardGlobal::FileType>("DashboardGlobal::FileType");
    qRegisterMetaType<DashboardGlobal::ZoomLevel>("DashboardGlobal::ZoomLevel");
    qRegisterMetaType<NavigationItem>("NavigationItem");
    qRegisterMetaType<ResourceItem>("ResourceItem");
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(registerDashboardGlobalTypes)
