#include "hostfw/VideoFormats.h"

#include <d3d9.h>
#include <mfapi.h>

namespace
{

constexpr DWORD fourCC(char a, char b, char c, char d)
{
    return static_cast<DWORD>(static_cast<BYTE>(a)) | static_cast<DWORD>(static_cast<BYTE>(b)) << 8 |
           static_cast<DWORD>(static_cast<BYTE>(c)) << 16 | static_cast<DWORD>(static_cast<BYTE>(d)) << 24;
}

struct Format {
    DWORD d3dFormat;
    DXGI_FORMAT dxgiFormat;
    unsigned bytesPerPixel;
};

constexpr Format formats[] = {
    {fourCC('U', 'Y', 'V', 'Y'), DXGI_FORMAT_UNKNOWN, 2}, {fourCC('Y', 'U', 'Y', '2'), DXGI_FORMAT_YUY2, 2},
    {fourCC('N', 'V', '1', '2'), DXGI_FORMAT_NV12, 1},    {fourCC('Y', 'V', '1', '2'), DXGI_FORMAT_UNKNOWN, 1},
    {fourCC('I', '4', '2', '0'), DXGI_FORMAT_UNKNOWN, 1}, {fourCC('I', 'Y', 'U', 'V'), DXGI_FORMAT_UNKNOWN, 1},
    {fourCC('A', 'Y', 'U', 'V'), DXGI_FORMAT_AYUV, 4},    {D3DFMT_A8R8G8B8, DXGI_FORMAT_B8G8R8A8_UNORM, 4},
    {D3DFMT_X8R8G8B8, DXGI_FORMAT_B8G8R8X8_UNORM, 4},     {D3DFMT_R8G8B8, DXGI_FORMAT_UNKNOWN, 3},
    {D3DFMT_R5G6B5, DXGI_FORMAT_B5G6R5_UNORM, 2},
};

const Format *find(DWORD d3dFormat)
{
    for (const Format &format : formats)
        if (format.d3dFormat == d3dFormat)
            return &format;
    return nullptr;
}

// All of these subtypes are one GUID but for their first 32 bits.
const Format *find(const GUID &subtype)
{
    GUID family = MFVideoFormat_Base;
    family.Data1 = subtype.Data1;
    return IsEqualGUID(family, subtype) ? find(subtype.Data1) : nullptr;
}

} // namespace

D3DFORMAT GetD3DFmtBySubtype(const GUID &subtype)
{
    const Format *const format = find(subtype);
    return format ? static_cast<D3DFORMAT>(format->d3dFormat) : D3DFMT_UNKNOWN;
}

DXGI_FORMAT GetDXGIFmtBySubtype(const GUID &subtype)
{
    const Format *const format = find(subtype);
    return format ? format->dxgiFormat : DXGI_FORMAT_UNKNOWN;
}

unsigned BytesPerPixel(const D3DFORMAT &format)
{
    const Format *const found = find(static_cast<DWORD>(format));
    return found ? found->bytesPerPixel : 0;
}
