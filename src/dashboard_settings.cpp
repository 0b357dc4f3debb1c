#include "dashboard_settings.h"

namespace DashboardSettings {

std::unique_ptr<QSettings> openStore(const QString &applicationName)
{
    return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                       QString::fromLatin1(ORGANIZATION_NAME), applicationName);
}

std::unique_ptr<QSettings> openDashboardStore()
{
    return openStore(QString::fromLatin1(DASHBOARD_APPLICATION_NAME));
}

} // namespace DashboardSettings
