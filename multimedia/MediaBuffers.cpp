#include "hostfw/MediaBuffers.h"

MediaBufferMapping::MediaBufferMapping(IMFMediaBuffer *mediaBuffer) : m_mediaBuffer(mediaBuffer)
{
    if (!m_mediaBuffer || FAILED(m_mediaBuffer->Lock(&m_buffer, &m_maxLength, &m_currentLength))) {
        m_buffer = nullptr;
        m_maxLength = 0;
        m_currentLength = 0;
    }
}

MediaBufferMapping::~MediaBufferMapping()
{
    if (m_buffer)
        m_mediaBuffer->Unlock();
}

unsigned char *MediaBufferMapping::buffer() const
{
    return m_buffer;
}

DWORD MediaBufferMapping::currentLength() const
{
    return m_currentLength;
}

DWORD MediaBufferMapping::maxLength() const
{
    return m_maxLength;
}

MediaBufferMapping2D::MediaBufferMapping2D(IMFMediaBuffer *mediaBuffer, MF2DBuffer_LockFlags flags)
{
    if (!mediaBuffer)
        return;
    CComPtr<IMF2DBuffer2> buffer2;
    BYTE *start = nullptr;
    DWORD length = 0;
    if (SUCCEEDED(mediaBuffer->QueryInterface(__uuidof(IMF2DBuffer2), reinterpret_cast<void **>(&buffer2)))) {
        if (SUCCEEDED(buffer2->Lock2DSize(flags, &m_buffer, &m_pitch, &start, &length)))
            m_buffer2D = buffer2.p;
        else
            m_buffer = nullptr;
        return;
    }
    CComPtr<IMF2DBuffer> buffer2D;
    if (SUCCEEDED(mediaBuffer->QueryInterface(__uuidof(IMF2DBuffer), reinterpret_cast<void **>(&buffer2D)))) {
        if (SUCCEEDED(buffer2D->Lock2D(&m_buffer, &m_pitch)))
            m_buffer2D = buffer2D;
        else
            m_buffer = nullptr;
        return;
    }
    if (SUCCEEDED(mediaBuffer->Lock(&m_buffer, nullptr, nullptr)))
        m_plainBuffer = mediaBuffer;
    else
        m_buffer = nullptr;
}

MediaBufferMapping2D::~MediaBufferMapping2D()
{
    if (m_buffer2D)
        m_buffer2D->Unlock2D();
    else if (m_plainBuffer)
        m_plainBuffer->Unlock();
}

unsigned char *MediaBufferMapping2D::buffer() const
{
    return m_buffer;
}

LONG MediaBufferMapping2D::pitch() const
{
    return m_pitch;
}
