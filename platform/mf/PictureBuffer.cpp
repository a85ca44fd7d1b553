#include "platform/mf/PictureBuffer.h"

#include <mfapi.h>
#include <mferror.h>

namespace winmedia
{

void *PictureBuffer::findInterface(REFIID iid)
{
    if (IsEqualIID(iid, __uuidof(IMF2DBuffer)))
        return static_cast<IMF2DBuffer *>(this);
    return ComObject::findInterface(iid);
}

BYTE *PictureBuffer::scanline0() const
{
    const size_t last = static_cast<size_t>(m_memory.pitch) * (m_shape.lines() - 1);
    return m_memory.bottomUp ? m_memory.lowest + last : m_memory.lowest;
}

LONG PictureBuffer::signedPitch() const
{
    const auto pitch = static_cast<LONG>(m_memory.pitch);
    return m_memory.bottomUp ? -pitch : pitch;
}

void PictureBuffer::pack(BYTE *packed) const
{
    if (!m_memory.reversedPacked) {
        m_shape.pack(packed, m_memory.lowest, m_memory.pitch);
        return;
    }
    const auto line = static_cast<LONG>(m_shape.lineBytes());
    MFCopyImage(packed + static_cast<size_t>(line) * (m_shape.lines() - 1), -line, m_memory.lowest,
                static_cast<LONG>(m_memory.pitch), m_shape.lineBytes(), m_shape.lines());
}

void PictureBuffer::unpack(const BYTE *packed)
{
    if (!m_memory.reversedPacked) {
        m_shape.unpack(m_memory.lowest, m_memory.pitch, packed);
        return;
    }
    const auto line = static_cast<LONG>(m_shape.lineBytes());
    MFCopyImage(m_memory.lowest, static_cast<LONG>(m_memory.pitch),
                packed + static_cast<size_t>(line) * (m_shape.lines() - 1), -line, m_shape.lineBytes(),
                m_shape.lines());
}

// The whole picture counts as current: it has no beginning that could be shorter.
HRESULT PictureBuffer::Lock(BYTE **buffer, DWORD *maxLength, DWORD *currentLength)
{
    if (!buffer)
        return E_POINTER;
    const std::lock_guard lock(m_mutex);
    if (m_locks2D > 0)
        return MF_E_INVALIDREQUEST;
    if (m_locks == 0 && !isPacked()) {
        if (!m_copy)
            m_copy = allocateAligned(packedLength(), 64);
        if (!m_copy)
            return E_OUTOFMEMORY;
        pack(m_copy.get());
    }
    ++m_locks;
    *buffer = isPacked() ? m_memory.lowest : m_copy.get();
    if (maxLength)
        *maxLength = packedLength();
    if (currentLength)
        *currentLength = packedLength();
    return S_OK;
}

HRESULT PictureBuffer::Unlock()
{
    const std::lock_guard lock(m_mutex);
    if (m_locks == 0)
        return HRESULT_FROM_WIN32(ERROR_WAS_UNLOCKED);
    if (--m_locks == 0 && !isPacked())
        unpack(m_copy.get());
    return S_OK;
}

HRESULT PictureBuffer::GetCurrentLength(DWORD *length)
{
    if (!length)
        return E_INVALIDARG;
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
    return length ? GetContiguousLength(length) : E_INVALIDARG;
}

HRESULT PictureBuffer::Lock2D(BYTE **firstLine, LONG *pitch)
{
    if (!firstLine || !pitch)
        return E_POINTER;
    return lock2D(MF2DBuffer_LockFlags_ReadWrite, firstLine, pitch);
}

// A lock may not ask for more than the first one that is still held.
HRESULT PictureBuffer::lock2D(DWORD access, BYTE **firstLine, LONG *pitch)
{
    const std::lock_guard lock(m_mutex);
    if (m_locks > 0)
        return MF_E_UNEXPECTED;
    if (m_locks2D > 0 && (access & ~m_access) != 0)
        return HRESULT_FROM_WIN32(ERROR_WAS_LOCKED);
    if (m_locks2D++ == 0)
        m_access = access;
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
    *contiguous = !m_memory.bottomUp && isPacked();
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
    pack(destination);
    return S_OK;
}

HRESULT PictureBuffer::ContiguousCopyFrom(const BYTE *source, DWORD size)
{
    if (!source || size < packedLength())
        return E_INVALIDARG;
    unpack(source);
    return S_OK;
}

HRESULT PictureBuffer::Lock2DSize(MF2DBuffer_LockFlags flags, BYTE **firstLine, LONG *pitch, BYTE **start,
                                  DWORD *length)
{
    if (!firstLine || !pitch || !start || !length)
        return E_POINTER;
    const DWORD access = flags & MF2DBuffer_LockFlags_LockTypeMask;
    if (access == 0)
        return E_INVALIDARG;
    const HRESULT hr = lock2D(access, firstLine, pitch);
    if (FAILED(hr))
        return hr;
    *start = m_memory.lowest;
    *length = static_cast<DWORD>(m_shape.sizeAt(m_memory.pitch));
    return S_OK;
}

HRESULT PictureBuffer::Copy2DTo(IMF2DBuffer2 *destination)
{
    if (!destination)
        return E_POINTER;
    if (isPacked())
        return destination->ContiguousCopyFrom(m_memory.lowest, packedLength());
    const AlignedMemory packed = allocateAligned(packedLength(), 64);
    if (!packed)
        return E_OUTOFMEMORY;
    pack(packed.get());
    return destination->ContiguousCopyFrom(packed.get(), packedLength());
}

} // namespace winmedia
