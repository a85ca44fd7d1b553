#pragma once

#include <windows.h>

namespace host
{

// COM and Media Foundation for the object's lifetime, on the thread that makes it.
class MediaPlatform
{
public:
    MediaPlatform();
    MediaPlatform(const MediaPlatform &) = delete;
    MediaPlatform &operator=(const MediaPlatform &) = delete;
    ~MediaPlatform();

    // S_OK when both are there.
    HRESULT result() const { return m_result; }

private:
    HRESULT m_comResult;
    HRESULT m_result;
};

} // namespace host
