#pragma once

#include <windows.h>

#include <mfobjects.h>

// While it exists, the system answers `result` when it is asked for a new media type, and gives `type` when that is a
// success. One at a time, for calls on any thread. `type` may be null and is not held.
class MadeUpMediaTypes
{
public:
    MadeUpMediaTypes(HRESULT result, IMFMediaType *type);
    MadeUpMediaTypes(const MadeUpMediaTypes &) = delete;
    MadeUpMediaTypes &operator=(const MadeUpMediaTypes &) = delete;
    ~MadeUpMediaTypes();
};
