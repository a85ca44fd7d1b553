// Pictures in memory of their own.

#include "platform/mf/PictureBuffer.h"

#include <mfapi.h>
#include <mferror.h>

#include <cstdlib>

namespace winmedia
{

namespace
{

constexpr UINT32 pitchAlignment = 64; // bytes: lines begin on cache lines
constexpr UINT32 maxSide = 32768;     // pixels

struct Free {
    void operator()(BYTE *block) const { std::free(block); }
};
using Memory = std::unique_ptr<BYTE, Free>;

class Buffer2D : public PictureBuffer
{
public:
    Buffer2D(Memory memory, UINT32 pitch, bool bottomUp, UINT32 bytes, UINT32 lines, UINT32 firstPlaneLines)
        : PictureBuffer({memory.get(), static_cast<LONG>(pitch), bottomUp}, bytes, lines, firstPlaneLines),
          m_bytes(std::move(memory))
    {
    }

private:
    const Memory m_bytes;
};

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreate2DMediaBuffer(DWORD width, DWORD height, DWORD fourcc, BOOL bottomUp, IMFMediaBuffer **buffer)
{
    using namespace winmedia;
    if (!buffer)
        return E_POINTER;
    *buffer = nullptr;
    const ImageFormat *const format = findImageFormat(fourcc);
    if (!format)
        return MF_E_INVALIDMEDIATYPE;
    if (width == 0 || height == 0 || width > maxSide || height > maxSide)
        return E_INVALIDARG;
    const UINT32 bytes = lineBytes(*format, width);
    const UINT32 pitch = (bytes + pitchAlignment - 1) / pitchAlignment * pitchAlignment;
    const UINT32 lines = totalLines(*format, height);
    const size_t size = static_cast<size_t>(pitch) * lines;
    Memory memory(static_cast<BYTE *>(std::aligned_alloc(pitchAlignment, size)));
    if (!memory)
        return E_OUTOFMEMORY;
    *buffer = createObject<Buffer2D>(std::move(memory), pitch, bottomUp != FALSE, bytes, lines, height).detach();
    return *buffer ? S_OK : E_OUTOFMEMORY;
}
