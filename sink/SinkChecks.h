#pragma once

#include "plugin/Checks.h"
#include "plugin/Logging.h"

// Where the failed checks of this folder are logged.
constexpr auto checkCategory = sinkCategory;
