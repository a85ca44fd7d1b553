#pragma once

// The NDI runtime, started for as long as the object lives.

#include "ndi/tools/common/Failure.h"

#include <Processing.NDI.Interface.h>

namespace nditools
{

class Runtime
{
public:
    // Throws a Failure when the runtime does not start.
    Runtime()
    {
        if (!NDIlib_initialize())
            throw Failure(ExitCode::NoRuntime, std::string("the NDI runtime does not start on this machine"));
    }
    ~Runtime() { NDIlib_destroy(); }

    Runtime(const Runtime &) = delete;
    Runtime &operator=(const Runtime &) = delete;
};

} // namespace nditools
