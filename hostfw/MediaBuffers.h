#pragma once

#include "hostfw/ComPtr.h"
#include "hostfw/Export.h"

#include <mfobjects.h>

// A buffer locked as one run of bytes for the object's lifetime.
class MULTIMEDIA_EXPORT MediaBufferMapping
{
public:
    explicit MediaBufferMapping(IMFMediaBuffer *mediaBuffer);
    MediaBufferMapping(const MediaBufferMapping &) = delete;
    MediaBufferMapping &operator=(const MediaBufferMapping &) = delete;
    ~MediaBufferMapping();

    // Null when the lock failed; then both lengths are 0.
    unsigned char *buffer() const;
    // Bytes in use, and bytes there are, when the lock was taken.
    DWORD currentLength() const;
    DWORD maxLength() const;

private:
    CComPtr<IMFMediaBuffer> m_mediaBuffer;
    BYTE *m_buffer = nullptr;
    DWORD m_currentLength = 0;
    DWORD m_maxLength = 0;
};

// A picture buffer locked line by line for the object's lifetime. A buffer without a 2-D interface is locked whole; its
// pitch is then that of packed lines as far as the sample's buffer tells (0 when it does not).
class MULTIMEDIA_EXPORT MediaBufferMapping2D
{
public:
    MediaBufferMapping2D(IMFMediaBuffer *mediaBuffer, MF2DBuffer_LockFlags flags);
    MediaBufferMapping2D(const MediaBufferMapping2D &) = delete;
    MediaBufferMapping2D &operator=(const MediaBufferMapping2D &) = delete;
    ~MediaBufferMapping2D();

    // The first byte of the picture's top line; null when the lock failed.
    unsigned char *buffer() const;
    // Bytes from one line to the one below it; negative in a bottom-up picture.
    LONG pitch() const;

private:
    CComPtr<IMF2DBuffer> m_buffer2D;
    CComPtr<IMFMediaBuffer> m_plainBuffer;
    BYTE *m_buffer = nullptr;
    LONG m_pitch = 0;
};
