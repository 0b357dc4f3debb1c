#pragma once

#include "logging/cute_logger.h"

#include <QLoggingCategory>

// One logging category per area of the dashboard. Lines go through the suite's logger, which
// records file, line and function in every build.
Q_DECLARE_LOGGING_CATEGORY(lcLauncher)
Q_DECLARE_LOGGING_CATEGORY(lcWindow)
Q_DECLARE_LOGGING_CATEGORY(lcAppWindow)
Q_DECLARE_LOGGING_CATEGORY(lcMessaging)
Q_DECLARE_LOGGING_CATEGORY(lcFiles)
Q_DECLARE_LOGGING_CATEGORY(lcSettings)
Q_DECLARE_LOGGING_CATEGORY(lcUpdate)
Q_DECLARE_LOGGING_CATEGORY(lcLicense)
