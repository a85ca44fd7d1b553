#pragma once

#include "ndi/tools/common/Failure.h"

namespace ndisend
{

using nditools::ExitCode;
using nditools::Failure;

} // namespace ndisend
