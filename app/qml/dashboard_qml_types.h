#pragma once

// Declares the dashboard library's classes to QML under the module Korvex.Dashboard. The
// library stays free of QML registration; these foreign declarations are the host's.

#include <korvexdashboard.h>

#include "qmlutils/qvdashboard_icons.h"

#include <QList>
#include <QtQml/qqmlregistration.h>

struct DashboardGlobalForeign
{
    Q_GADGET
    QML_FOREIGN(DashboardGlobal)
    QML_NAMED_ELEMENT(DashboardGlobal)
    QML_UNCREATABLE("DashboardGlobal only holds enumerations.")
};

struct NavigationItemForeign
{
    Q_GADGET
    QML_FOREIGN(NavigationItem)
    QML_VALUE_TYPE(navigationItem)
};

struct ResourceItemForeign
{
    Q_GADGET
    QML_FOREIGN(ResourceItem)
    QML_VALUE_TYPE(resourceItem)
};

struct DashboardFileInfoStructForeign
{
    Q_GADGET
    QML_FOREIGN(DashboardFileInfoStruct)
    QML_VALUE_TYPE(dashboardFileInfo)
};

struct DashboardFileInfoListForeign
{
    Q_GADGET
    QML_FOREIGN(QList<DashboardFileInfoStruct>)
    QML_ANONYMOUS
    QML_SEQUENTIAL_CONTAINER(DashboardFileInfoStruct)
};

struct MeatballsNavigationItemForeign
{
    Q_GADGET
    QML_FOREIGN(MeatballsNavigationItem)
    QML_VALUE_TYPE(meatballsNavigationItem)
};

struct SettingsNavigationItemForeign
{
    Q_GADGET
    QML_FOREIGN(SettingsNavigationItem)
    QML_VALUE_TYPE(settingsNavigationItem)
};

struct DashboardMainWindowForeign
{
    Q_GADGET
    QML_FOREIGN(DashboardMainWindow)
    QML_NAMED_ELEMENT(DashboardMainWindow)
    QML_UNCREATABLE("The host creates the dashboard's window.")
};

struct DashboardAppWindowForeign
{
    Q_GADGET
    QML_FOREIGN(DashboardAppWindow)
    QML_NAMED_ELEMENT(DashboardAppWindow)
};

struct DashboardCommonFileControllerForeign
{
    Q_GADGET
    QML_FOREIGN(DashboardCommonFileController)
    QML_NAMED_ELEMENT(DashboardCommonFileController)
    QML_UNCREATABLE("Abstract base of the file list controllers.")
};

struct MyLabelsControllerForeign
{
    Q_GADGET
    QML_FOREIGN(MyLabelsController)
    QML_NAMED_ELEMENT(MyLabelsController)
};

struct RecentlyViewedControllerForeign
{
    Q_GADGET
    QML_FOREIGN(RecentlyViewedController)
    QML_NAMED_ELEMENT(RecentlyViewedController)
};

struct FavoritesControllerForeign
{
    Q_GADGET
    QML_FOREIGN(FavoritesController)
    QML_NAMED_ELEMENT(FavoritesController)
};

struct DashboardMainForeign
{
    Q_GADGET
    QML_FOREIGN(DashboardMain)
    QML_NAMED_ELEMENT(DashboardMain)
};

struct DashboardSettingsControllerForeign
{
    Q_GADGET
    QML_FOREIGN(DashboardSettingsController)
    QML_NAMED_ELEMENT(DashboardSettingsController)
};

struct MeatballsNavigationModelForeign
{
    Q_GADGET
    QML_FOREIGN(MeatballsNavigationModel)
    QML_NAMED_ELEMENT(MeatballsNavigationModel)
};

struct SettingsNavigationModelForeign
{
    Q_GADGET
    QML_FOREIGN(SettingsNavigationModel)
    QML_NAMED_ELEMENT(SettingsNavigationModel)
};

struct SettingsContentsModelsForeign
{
    Q_GADGET
    QML_FOREIGN(SettingsContentsModels)
    QML_NAMED_ELEMENT(SettingsContentsModels)
};

struct DashboardUpgraderHelperForeign
{
    Q_GADGET
    QML_FOREIGN(DashboardUpgraderHelper)
    QML_NAMED_ELEMENT(DashboardUpgraderHelper)
};

struct DashboardGetLicenseHelperForeign
{
    Q_GADGET
    QML_FOREIGN(DashboardGetLicenseHelper)
    QML_NAMED_ELEMENT(DashboardGetLicenseHelper)
};

struct QVDashboardIconsForeign
{
    Q_GADGET
    QML_FOREIGN(QVDashboardIcons)
    QML_NAMED_ELEMENT(QVDashboardIcons)
};
