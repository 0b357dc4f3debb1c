#include "module_logging.h"

Q_LOGGING_CATEGORY(lcModule, "korvex.module")
