#pragma once

#include "korvexsuite_export.h"

#include <QSettings>

#include <memory>

namespace SuiteStore {

// The user's dashboard store ("Quorvane Inc" / "KorvexPro", INI, user scope), where the suite
// libraries read the user's choices and their configuration. The suite cannot link the
// dashboard, so the store's names are kept here as well.
KORVEXSUITE_EXPORT std::unique_ptr<QSettings> openDashboardStore();

} // namespace SuiteStore
