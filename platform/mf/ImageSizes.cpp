// Sizes and strides of uncompressed pictures.

#include "platform/mf/ImageFormats.h"

#include <mfapi.h>
#include <mferror.h>

using namespace winmedia;

namespace
{

bool isVideoFormat(REFGUID subtype)
{
    GUID base = subtype;
    base.Data1 = 0;
    return IsEqualGUID(base, MFVideoFormat_Base);
}

HRESULT packedSize(const ImageFormat &format, UINT32 width, UINT32 height, DWORD *size)
{
    const uint64_t bytes = ImageShape(format, width, height).packedSize();
    if (bytes > INT32_MAX)
        return E_INVALIDARG;
    *size = static_cast<DWORD>(bytes);
    return S_OK;
}

} // namespace

HRESULT WINAPI MFGetPlaneSize(DWORD fourcc, DWORD width, DWORD height, DWORD *size)
{
    if (!size)
        return E_POINTER;
    const ImageFormat *const format = findImageFormat(fourcc);
    return format ? packedSize(*format, width, height, size) : MF_E_INVALIDMEDIATYPE;
}

HRESULT WINAPI MFCalculateImageSize(REFGUID subtype, UINT32 width, UINT32 height, UINT32 *size)
{
    if (!size)
        return E_POINTER;
    *size = 0;
    const ImageFormat *const format = isVideoFormat(subtype) ? findImageFormat(subtype.Data1) : nullptr;
    DWORD bytes = 0;
    const HRESULT hr = format ? packedSize(*format, width, height, &bytes) : E_INVALIDARG;
    *size = bytes;
    return hr;
}

HRESULT WINAPI MFGetStrideForBitmapInfoHeader(DWORD fourcc, DWORD width, LONG *stride)
{
    if (!stride)
        return E_POINTER;
    const ImageFormat *const format = findImageFormat(fourcc);
    if (!format)
        return MF_E_INVALIDMEDIATYPE;
    // Bitmaps are stored with their bottom line first.
    const auto line = static_cast<LONG>(ImageShape(*format, width, 1).lineBytes());
    *stride = format->isRgb() ? -line : line;
    return S_OK;
}
