#include "common/suite_store.h"

namespace SuiteStore {

std::unique_ptr<QSettings> openDashboardStore()
{
    return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                       QStringLiteral("Quorvane Inc"), QStringLiteral("KorvexPro"));
}

} // namespace SuiteStore
