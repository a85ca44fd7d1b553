#pragma once

#include "platform/com/ComObject.h"
#include "platform/mf/ImageFormats.h"

#include <mfobjects.h>

#include <memory>
#include <mutex>

namespace winmedia
{

// Where a picture lies: the lowest address of its memory, the distance between lines there, and whether the line at the
// lowest address is the picture's bottom line.
struct PictureMemory {
    BYTE *lowest = nullptr;
    LONG pitch = 0; // above 0
    bool bottomUp = false;
};

// A media buffer that holds one picture line by line. Lock() shows it as one run of packed lines in memory order, which
// Unlock() copies back; Lock2D() shows the lines where they are. One kind of lock at a time, as often as wanted.
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
    // `lineBytes` and `lines` describe the packed picture, all planes together.
    PictureBuffer(const PictureMemory &memory, UINT32 lineBytes, UINT32 lines, UINT32 firstPlaneLines);

    void *findInterface(REFIID iid) override;

private:
    BYTE *scanline0() const;
    LONG signedPitch() const { return m_memory.bottomUp ? -m_memory.pitch : m_memory.pitch; }
    DWORD packedLength() const { return m_lineBytes * m_lines; }

    const PictureMemory m_memory;
    const UINT32 m_lineBytes;
    const UINT32 m_lines;
    const UINT32 m_firstPlaneLines;

    std::mutex m_mutex; // guards everything below
    DWORD m_length = 0;
    unsigned m_locks = 0;
    unsigned m_locks2D = 0;
    std::unique_ptr<BYTE[]> m_packed; // while Lock() is held
};

} // namespace winmedia
