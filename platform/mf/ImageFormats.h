#pragma once

#include <windows.h>

#include <d3d9types.h>

namespace winmedia
{

// How a picture of one format lies in memory: a plane of lines, and for planar formats chroma lines behind it.
struct ImageFormat {
    DWORD fourcc;           // D3DFORMAT or FourCC
    UINT32 bitsPerPixel;    // of the first plane
    UINT32 chromaNumerator; // lines behind the first plane, counted in first-plane lines: height * n / d
    UINT32 chromaDenominator;
    UINT32 groupPixels; // pixels that share one group of bytes
};

// Null for an unknown format.
const ImageFormat *findImageFormat(DWORD fourcc);

// Bytes of one packed line of the first plane.
UINT32 lineBytes(const ImageFormat &format, UINT32 width);
// Lines of all planes together, in lines of the first plane.
UINT32 totalLines(const ImageFormat &format, UINT32 height);

} // namespace winmedia
