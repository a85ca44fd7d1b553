#pragma once

#include <windows.h>

namespace bench
{

// Throws std::runtime_error when the result is a failure.
void require(HRESULT result, const char *what);

// Media Foundation for as long as the object lives, and the module's log without its lines for each frame: they cost
// more than the frame's own bookkeeping, and would be measured instead.
class MediaPlatform
{
public:
    MediaPlatform();
    ~MediaPlatform();

    MediaPlatform(const MediaPlatform &) = delete;
    MediaPlatform &operator=(const MediaPlatform &) = delete;
};

} // namespace bench
