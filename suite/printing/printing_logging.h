#pragma once

#include "logging/cute_logger.h"

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcSuitePrinting)
