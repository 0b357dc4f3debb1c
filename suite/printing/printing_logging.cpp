#include "printing/printing_logging.h"

Q_LOGGING_CATEGORY(lcSuitePrinting, "korvex.suite.printing")
