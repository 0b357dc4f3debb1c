#pragma once

#include "korvexmodule_export.h"
#include "logging/cute_logger.h"

#include <QLoggingCategory>

// The module side of the dashboard protocol logs under one category of its own, which module
// programs share.
KORVEXMODULE_EXPORT const QLoggingCategory &lcModule();
