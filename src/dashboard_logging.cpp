#include "dashboard_logging.h"

Q_LOGGING_CATEGORY(lcLauncher, "korvex.dashboard.launcher")
Q_LOGGING_CATEGORY(lcWindow, "korvex.dashboard.window")
Q_LOGGING_CATEGORY(lcAppWindow, "korvex.dashboard.appwindow")
Q_LOGGING_CATEGORY(lcMessaging, "korvex.dashboard.messaging")
Q_LOGGING_CATEGORY(lcFiles, "korvex.dashboard.files")
Q_LOGGING_CATEGORY(lcSettings, "korvex.dashboard.settings")
Q_LOGGING_CATEGORY(lcUpdate, "korvex.dashboard.update")
Q_LOGGING_CATEGORY(lcLicense, "korvex.dashboard.license")
