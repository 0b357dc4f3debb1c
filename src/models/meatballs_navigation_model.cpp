#include "models/meatballs_navigation_model.h"

#include "qmlutils/qvdashboard_icons.h"

MeatballsNavigationModel::MeatballsNavigationModel(QObject *parent) : QObject(parent)
{
    populateMeatballsNavItemsList();
}

QVariantList MeatballsNavigationModel::getMeatballsNavItemsList() const
{
    return m_meatballsNavItemsList;
}

void MeatballsNavigationModel::populateMeatballsNavItemsList()
{
    const QVDashboardIcons icons;
    const auto row = [&icons](const char *iconName, const QString &name,
                              MeatballsNavigationType type) {
        MeatballsNavigationItem item;
        item.navIcon = icons.property(iconName).toString();
        item.navName = name;
        item.navType = type;
        return QVariant::fromValue(item);
    };

    QVariantList list;
    list << row("about", tr("About", "About the software"), NAV_ABOUT)
         << row("generalSettings", tr("Settings", "Settings for the software"), NAV_SETTINGS)
         << row("logOut", tr("Quit", "Exit the software"), NAV_QUIT);
    m_meatballsNavItemsList = list;
    Q_EMIT meatballsNavItemsListChanged();
}
