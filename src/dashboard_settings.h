#pragma once

#include "korvexdashboard_export.h"

#include <QSettings>
#include <QString>

#include <memory>

// Names of the suite's settings stores: INI files in the user scope, one per program.
namespace DashboardSettings {

inline constexpr char ORGANIZATION_NAME[] = "Quorvane Inc";
inline constexpr char DASHBOARD_APPLICATION_NAME[] = "KorvexPro";

// A store is opened for one operation and destroyed at its end, which writes it out.
KORVEXDASHBOARD_EXPORT std::unique_ptr<QSettings> openStore(const QString &applicationName);
KORVEXDASHBOARD_EXPORT std::unique_ptr<QSettings> openDashboardStore();

} // namespace DashboardSettings
