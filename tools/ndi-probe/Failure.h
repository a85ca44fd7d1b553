#pragma once

#include "ndi/tools/common/Failure.h"

namespace ndiprobe
{

using nditools::ExitCode;
using nditools::Failure;

} // namespace ndiprobe
