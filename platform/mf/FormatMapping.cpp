// Picture formats of Direct3D 9 and DXGI that are laid out alike.

#include <windows.h>

#include <d3d9types.h>
#include <dxgiformat.h>
#include <mfapi.h>

namespace
{

struct Pair {
    DWORD dx9;
    DXGI_FORMAT dxgi;
};

constexpr Pair pairs[] = {
    {D3DFMT_A8R8G8B8, DXGI_FORMAT_B8G8R8A8_UNORM},
    {D3DFMT_X8R8G8B8, DXGI_FORMAT_B8G8R8X8_UNORM},
    {D3DFMT_A8B8G8R8, DXGI_FORMAT_R8G8B8A8_UNORM},
    {D3DFMT_A2B10G10R10, DXGI_FORMAT_R10G10B10A2_UNORM},
    {D3DFMT_A16B16G16R16F, DXGI_FORMAT_R16G16B16A16_FLOAT},
    {D3DFMT_P8, DXGI_FORMAT_P8},
    {D3DFMT_A8P8, DXGI_FORMAT_A8P8},
    {MAKEFOURCC('A', 'I', '4', '4'), DXGI_FORMAT_AI44},
    {MAKEFOURCC('A', 'Y', 'U', 'V'), DXGI_FORMAT_AYUV},
    {MAKEFOURCC('I', 'A', '4', '4'), DXGI_FORMAT_IA44},
    {MAKEFOURCC('N', 'V', '1', '1'), DXGI_FORMAT_NV11},
    {MAKEFOURCC('N', 'V', '1', '2'), DXGI_FORMAT_NV12},
    {MAKEFOURCC('P', '0', '1', '0'), DXGI_FORMAT_P010},
    {MAKEFOURCC('P', '0', '1', '6'), DXGI_FORMAT_P016},
    {MAKEFOURCC('Y', '2', '1', '0'), DXGI_FORMAT_Y210},
    {MAKEFOURCC('Y', '2', '1', '6'), DXGI_FORMAT_Y216},
    {MAKEFOURCC('Y', '4', '1', '0'), DXGI_FORMAT_Y410},
    {MAKEFOURCC('Y', '4', '1', '6'), DXGI_FORMAT_Y416},
    {MAKEFOURCC('Y', 'U', 'Y', '2'), DXGI_FORMAT_YUY2},
    {MAKEFOURCC('4', '2', '0', 'O'), DXGI_FORMAT_420_OPAQUE},
};

} // namespace

DXGI_FORMAT WINAPI MFMapDX9FormatToDXGIFormat(DWORD format)
{
    for (const Pair &pair : pairs)
        if (pair.dx9 == format)
            return pair.dxgi;
    return DXGI_FORMAT_UNKNOWN;
}

DWORD WINAPI MFMapDXGIFormatToDX9Format(DXGI_FORMAT format)
{
    for (const Pair &pair : pairs)
        if (pair.dxgi == format)
            return pair.dx9;
    return D3DFMT_UNKNOWN;
}
