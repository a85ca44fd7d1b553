// Pictures in memory of their own.

#include "platform/mf/PictureBuffer.h"

#include <mfapi.h>
#include <mferror.h>

namespace winmedia
{

namespace
{

constexpr UINT32 maxPictureSide = 32768; // pixels

// Every line begins on a cache line of 64 bytes, also where a plane has half the pitch of the first.
size_t pitchAlignment(const ImageFormat &format)
{
    return format.chroma == Chroma::TwoPlanes ? 128 : 64;
}

class Buffer2D : public PictureBuffer
{
public:
    Buffer2D(AlignedMemory memory, UINT32 pitch, bool bottomUp, const ImageShape &shape)
        : PictureBuffer({memory.get(), pitch, bottomUp, false}, shape), m_bytes(std::move(memory))
    {
    }

private:
    const AlignedMemory m_bytes;
};

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreate2DMediaBuffer(DWORD width, DWORD height, DWORD fourcc, BOOL bottomUp, IMFMediaBuffer **buffer)
{
    using namespace winmedia;
    if (!buffer)
        return E_POINTER;
    *buffer = nullptr;
    // Only RGB pictures are upside down.
    const ImageFormat *const format = findImageFormat(fourcc);
    if (!format || (bottomUp && !format->isRgb()))
        return MF_E_INVALIDMEDIATYPE;
    if (width == 0 || height == 0 || width > maxPictureSide || height > maxPictureSide)
        return E_INVALIDARG;
    const ImageShape shape(*format, width, height);
    const auto pitch = static_cast<UINT32>(roundUp(shape.lineBytes(), pitchAlignment(*format)));
    if (shape.sizeAt(pitch) > INT32_MAX)
        return E_OUTOFMEMORY;
    AlignedMemory memory = allocateAligned(shape.sizeAt(pitch), 64);
    if (!memory)
        return E_OUTOFMEMORY;
    *buffer = createObject<Buffer2D>(std::move(memory), pitch, bottomUp != FALSE, shape).detach();
    return *buffer ? S_OK : E_OUTOFMEMORY;
}
