#pragma once

#include "ndi/tools/common/Failure.h"

namespace ndirecv
{

using nditools::ExitCode;
using nditools::Failure;

} // namespace ndirecv
