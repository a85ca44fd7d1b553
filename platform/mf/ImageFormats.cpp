#include "platform/mf/ImageFormats.h"

#include <mfapi.h>
#include <mferror.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace winmedia
{

namespace
{

constexpr DWORD fourCC(char a, char b, char c, char d)
{
    return static_cast<DWORD>(static_cast<BYTE>(a)) | static_cast<DWORD>(static_cast<BYTE>(b)) << 8 |
           static_cast<DWORD>(static_cast<BYTE>(c)) << 16 | static_cast<DWORD>(static_cast<BYTE>(d)) << 24;
}

constexpr ImageFormat formats[] = {
    {fourCC('U', 'Y', 'V', 'Y'), 16, 0, 1, 2},
    {fourCC('Y', 'U', 'Y', '2'), 16, 0, 1, 2},
    {fourCC('Y', 'V', 'Y', 'U'), 16, 0, 1, 2},
    {fourCC('A', 'Y', 'U', 'V'), 32, 0, 1, 1},
    {fourCC('N', 'V', '1', '2'), 8, 1, 2, 1},
    {fourCC('I', '4', '2', '0'), 8, 1, 2, 1},
    {fourCC('I', 'Y', 'U', 'V'), 8, 1, 2, 1},
    {fourCC('Y', 'V', '1', '2'), 8, 1, 2, 1},
    {D3DFMT_A8R8G8B8, 32, 0, 1, 1},
    {D3DFMT_X8R8G8B8, 32, 0, 1, 1},
    {D3DFMT_A8B8G8R8, 32, 0, 1, 1},
    {D3DFMT_R8G8B8, 24, 0, 1, 1},
    {D3DFMT_R5G6B5, 16, 0, 1, 1},
    {D3DFMT_X1R5G5B5, 16, 0, 1, 1},
    {D3DFMT_L8, 8, 0, 1, 1},
};

} // namespace

const ImageFormat *findImageFormat(DWORD fourcc)
{
    for (const ImageFormat &format : formats)
        if (format.fourcc == fourcc)
            return &format;
    return nullptr;
}

UINT32 lineBytes(const ImageFormat &format, UINT32 width)
{
    const UINT32 padded = (width + format.groupPixels - 1) / format.groupPixels * format.groupPixels;
    return padded * format.bitsPerPixel / 8;
}

UINT32 totalLines(const ImageFormat &format, UINT32 height)
{
    return height + (height * format.chromaNumerator + format.chromaDenominator - 1) / format.chromaDenominator;
}

} // namespace winmedia

HRESULT WINAPI MFCopyImage(BYTE *destination, LONG destinationStride, const BYTE *source, LONG sourceStride,
                           DWORD width, DWORD lines)
{
    const auto bytes = static_cast<LONG>(width);
    if (destinationStride == bytes && sourceStride == bytes) {
        std::memcpy(destination, source, static_cast<size_t>(width) * lines);
        return S_OK;
    }
    for (; lines > 0; --lines, destination += destinationStride, source += sourceStride)
        std::memcpy(destination, source, width);
    return S_OK;
}

HRESULT WINAPI MFGetPlaneSize(DWORD fourcc, DWORD width, DWORD height, DWORD *size)
{
    if (!size)
        return E_POINTER;
    const auto *const format = winmedia::findImageFormat(fourcc);
    if (!format)
        return MF_E_INVALIDMEDIATYPE;
    *size = winmedia::lineBytes(*format, width) * winmedia::totalLines(*format, height);
    return S_OK;
}

HRESULT WINAPI MFCalculateImageSize(REFGUID subtype, UINT32 width, UINT32 height, UINT32 *size)
{
    if (!size)
        return E_POINTER;
    const auto *const format = winmedia::findImageFormat(subtype.Data1);
    if (!format) {
        *size = 0;
        return E_INVALIDARG;
    }
    UINT32 line = winmedia::lineBytes(*format, width);
    // Lines of RGB bitmaps are padded to four bytes.
    if (format->fourcc < 256)
        line = (line + 3) & ~3U;
    *size = line * winmedia::totalLines(*format, height);
    return S_OK;
}

HRESULT WINAPI MFGetStrideForBitmapInfoHeader(DWORD fourcc, DWORD width, LONG *stride)
{
    if (!stride)
        return E_POINTER;
    const auto *const format = winmedia::findImageFormat(fourcc);
    if (!format)
        return MF_E_INVALIDMEDIATYPE;
    const auto line = static_cast<LONG>((winmedia::lineBytes(*format, width) + 3) & ~3U);
    *stride = format->fourcc < 256 ? -line : line;
    return S_OK;
}
