#include "models/settings_navigation_model.h"

#include "qmlutils/qvdashboard_icons.h"

SettingsNavigationModel::SettingsNavigationModel(QObject *parent) : QObject(parent)
{
    populateSettingsNavItemsList();
}

QVariantList SettingsNavigationModel::getSettingsNavItemsList() const
{
    return m_settingsNavItemsList;
}

void SettingsNavigationModel::populateSettingsNavItemsList()
{
    const QVDashboardIcons icons;
    const auto row = [&icons](const char *iconName, const QString &name,
                              SettingsNavigationType type) {
        SettingsNavigationItem item;
        item.navIcon = icons.property(iconName).toString();
        item.navName = name;
        item.navType = type;
        return QVariant::fromValue(item);
    };

    QVariantList list;
    list << row("tapeRuler", tr("Units", "Units of measurement"), NAV_UNITS)
         << row("language", tr("Language", "Language settings"), NAV_LANGUAGE)
         << row("palette", tr("Appearance", "Appearance settings"), NAV_APPEARANCE)
         << row("shield", tr("Privacy", "Privacy settings"), NAV_PRIVACY)
         << row("cloud", tr("Cloud", "Cloud settings"), NAV_CLOUD)
         << row("restart", tr("Reset Settings", "Reset settings to default"), NAV_RESET);
    m_settingsNavItemsList = list;
    Q_EMIT settingsNavItemsListChanged();
}
