#include "platform/mf/PictureBuffer.h"

#include <mfapi.h>
#include <mferror.h>

namespace winmedia
{

PictureBuffer::PictureBuffer(const PictureMemory &memory, UINT32 lineBytes, UINT32 lines, UINT32 firstPlaneLines)
    : m_memory(memory), m_lineBytes(lineBytes), m_lines(lines), m_firstPlaneLines(firstPlaneLines)
{
}

void *PictureBuffer::findInterface(REFIID iid)
{
    if (IsEqualIID(iid, __uuidof(IMF2DBuffer)))
        return static_cast<IMF2DBuffer *>(this);
    return ComObject::findInterface(iid);
}

BYTE *PictureBuffer::scanline0() const
{
    return m_memory.bottomUp ? m_memory.lowest + static_cast<size_t>(m_memory.pitch) * (m_firstPlaneLines - 1)
                             : m_memory.lowest;
}

HRESULT PictureBuffer::Lock(BYTE **buffer, DWORD *maxLength, DWORD *currentLength)
{
    if (!buffer)
        return E_POINTER;
    const std::lock_guard lock(m_mutex);
    if (m_locks2D > 0)
        return MF_E_INVALIDREQUEST;
    if (m_locks == 0) {
        m_packed.reset(new (std::nothrow) BYTE[packedLength()]);
        if (!m_packed)
            return E_OUTOFMEMORY;
        ContiguousCopyTo(m_packed.get(), packedLength());
    }
    ++m_locks;
    *buffer = m_packed.get();
    if (maxLength)
        *maxLength = packedLength();
    if (currentLength)
        *currentLength = m_length;
    return S_OK;
}

HRESULT PictureBuffer::Unlock()
{
    const std::lock_guard lock(m_mutex);
    if (m_locks == 0)
        return HRESULT_FROM_WIN32(ERROR_WAS_UNLOCKED);
    if (--m_locks == 0) {
        ContiguousCopyFrom(m_packed.get(), packedLength());
        m_packed.reset();
    }
    return S_OK;
}

HRESULT PictureBuffer::GetCurrentLength(DWORD *length)
{
    if (!length)
        return E_POINTER;
    const std::lock_guard lock(m_mutex);
    *length = m_length;
    return S_OK;
}

HRESULT PictureBuffer::SetCurrentLength(DWORD length)
{
    if (length > packedLength())
        return E_INVALIDARG;
    const std::lock_guard lock(m_mutex);
    m_length = length;
    return S_OK;
}

HRESULT PictureBuffer::GetMaxLength(DWORD *length)
{
    return GetContiguousLength(length);
}

HRESULT PictureBuffer::Lock2D(BYTE **firstLine, LONG *pitch)
{
    if (!firstLine || !pitch)
        return E_POINTER;
    const std::lock_guard lock(m_mutex);
    if (m_locks > 0)
        return MF_E_UNEXPECTED;
    ++m_locks2D;
    *firstLine = scanline0();
    *pitch = signedPitch();
    return S_OK;
}

HRESULT PictureBuffer::Unlock2D()
{
    const std::lock_guard lock(m_mutex);
    if (m_locks2D == 0)
        return HRESULT_FROM_WIN32(ERROR_WAS_UNLOCKED);
    --m_locks2D;
    return S_OK;
}

HRESULT PictureBuffer::GetScanline0AndPitch(BYTE **firstLine, LONG *pitch)
{
    if (!firstLine || !pitch)
        return E_POINTER;
    const std::lock_guard lock(m_mutex);
    if (m_locks2D == 0)
        return HRESULT_FROM_WIN32(ERROR_WAS_UNLOCKED);
    *firstLine = scanline0();
    *pitch = signedPitch();
    return S_OK;
}

HRESULT PictureBuffer::IsContiguousFormat(BOOL *contiguous)
{
    if (!contiguous)
        return E_POINTER;
    *contiguous = !m_memory.bottomUp && m_memory.pitch == static_cast<LONG>(m_lineBytes);
    return S_OK;
}

HRESULT PictureBuffer::GetContiguousLength(DWORD *length)
{
    if (!length)
        return E_POINTER;
    *length = packedLength();
    return S_OK;
}

HRESULT PictureBuffer::ContiguousCopyTo(BYTE *destination, DWORD size)
{
    if (!destination || size < packedLength())
        return E_INVALIDARG;
    return MFCopyImage(destination, static_cast<LONG>(m_lineBytes), m_memory.lowest, m_memory.pitch, m_lineBytes,
                       m_lines);
}

HRESULT PictureBuffer::ContiguousCopyFrom(const BYTE *source, DWORD size)
{
    if (!source || size < packedLength())
        return E_INVALIDARG;
    return MFCopyImage(m_memory.lowest, m_memory.pitch, source, static_cast<LONG>(m_lineBytes), m_lineBytes, m_lines);
}

HRESULT PictureBuffer::Lock2DSize(MF2DBuffer_LockFlags flags, BYTE **firstLine, LONG *pitch, BYTE **start,
                                  DWORD *length)
{
    if (!firstLine || !pitch || !start || !length || (flags & ~MF2DBuffer_LockFlags_LockTypeMask) != 0)
        return E_INVALIDARG;
    const HRESULT hr = Lock2D(firstLine, pitch);
    if (FAILED(hr))
        return hr;
    *start = m_memory.lowest;
    *length = static_cast<DWORD>(m_memory.pitch) * m_lines;
    return S_OK;
}

HRESULT PictureBuffer::Copy2DTo(IMF2DBuffer2 *destination)
{
    if (!destination)
        return E_POINTER;
    const std::unique_ptr<BYTE[]> packed(new (std::nothrow) BYTE[packedLength()]);
    if (!packed)
        return E_OUTOFMEMORY;
    const HRESULT hr = ContiguousCopyTo(packed.get(), packedLength());
    return SUCCEEDED(hr) ? destination->ContiguousCopyFrom(packed.get(), packedLength()) : hr;
}

} // namespace winmedia
