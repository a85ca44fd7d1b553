#pragma once

#include "platform/com/AlignedMemory.h"
#include "platform/com/ComObject.h"
#include "platform/mf/ImageFormats.h"

#include <mfobjects.h>

#include <mutex>

namespace winmedia
{

// Where a picture lies.
struct PictureMemory {
    BYTE *lowest = nullptr;
    UINT32 pitch = 0;            // between lines of the first plane
    bool bottomUp = false;       // the line at the lowest address is the picture's bottom line; one plane only
    bool reversedPacked = false; // Lock() shows the lines in reverse order; one plane only
};

// A media buffer that holds one picture line by line. Lock() shows it as one run of packed lines, which Unlock() copies
// back; Lock2D() shows the lines where they are. One kind of lock at a time, as often as wanted.
class PictureBuffer : public ComObject<IMFMediaBuffer, IMF2DBuffer2>
{
public:
    STDMETHODIMP Lock(BYTE **buffer, DWORD *maxLength, DWORD *currentLength) override;
    STDMETHODIMP Unlock() override;
    STDMETHODIMP GetCurrentLength(DWORD *length) override;
    STDMETHODIMP SetCurrentLength(DWORD length) override;
    STDMETHODIMP GetMaxLength(DWORD *length) override;

    STDMETHODIMP Lock2D(BYTE **scanline0, LONG *pitch) override;
    STDMETHODIMP Unlock2D() override;
    STDMETHODIMP GetScanline0AndPitch(BYTE **scanline0, LONG *pitch) override;
    STDMETHODIMP IsContiguousFormat(BOOL *contiguous) override;
    STDMETHODIMP GetContiguousLength(DWORD *length) override;
    STDMETHODIMP ContiguousCopyTo(BYTE *destination, DWORD size) override;
    STDMETHODIMP ContiguousCopyFrom(const BYTE *source, DWORD size) override;

    STDMETHODIMP Lock2DSize(MF2DBuffer_LockFlags flags, BYTE **scanline0, LONG *pitch, BYTE **start,
                            DWORD *length) override;
    STDMETHODIMP Copy2DTo(IMF2DBuffer2 *destination) override;

protected:
    PictureBuffer(const PictureMemory &memory, const ImageShape &shape) : m_memory(memory), m_shape(shape) {}

    void *findInterface(REFIID iid) override;

private:
    BYTE *scanline0() const;
    LONG signedPitch() const;
    DWORD packedLength() const { return static_cast<DWORD>(m_shape.packedSize()); }
    // Memory and packed picture are the same bytes.
    bool isPacked() const { return m_shape.isPackedAt(m_memory.pitch) && !m_memory.reversedPacked; }
    void pack(BYTE *packed) const;
    void unpack(const BYTE *packed);
    HRESULT lock2D(DWORD access, BYTE **scanline0, LONG *pitch);

    const PictureMemory m_memory;
    const ImageShape m_shape;

    std::mutex m_mutex; // guards everything below
    DWORD m_length = 0;
    unsigned m_locks = 0;
    unsigned m_locks2D = 0;
    DWORD m_access = 0;   // of the first of the 2D locks: MF2DBuffer_LockFlags
    AlignedMemory m_copy; // the packed picture for Lock(); kept for the next time
};

} // namespace winmedia
