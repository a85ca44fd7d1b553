#pragma once

#include "hostfw/Export.h"

#include <windows.h>

#include <d3d9types.h>
#include <dxgiformat.h>

// What a video subtype is called elsewhere. Source: the table of video subtype GUIDs of Media Foundation, whose first
// 32 bits are the D3DFORMAT or the FourCC.

// D3DFMT_UNKNOWN for a subtype that is not an uncompressed video format known here.
MULTIMEDIA_EXPORT D3DFORMAT GetD3DFmtBySubtype(const GUID &subtype);
// DXGI_FORMAT_UNKNOWN where Direct3D 11 has no such format.
MULTIMEDIA_EXPORT DXGI_FORMAT GetDXGIFmtBySubtype(const GUID &subtype);
// Bytes per pixel of a packed format; 1 for planar formats with one luma byte a pixel; 0 for unknown ones.
MULTIMEDIA_EXPORT unsigned BytesPerPixel(const D3DFORMAT &format);

// One picture, top line first. Strides are in bytes and may be larger than a line; a negative destination stride writes
// a bottom-up picture whose top line begins at `destination`. Width and height in pixels, odd ones included: a UYVY
// line of odd width ends in half a group of which only U, Y and V count. NV12 puts its interleaved chroma plane right
// behind `height` lines of luma at the same stride; with a negative one that is before them in memory. Nothing happens
// for sizes below 1 or null pointers.
MULTIMEDIA_EXPORT void ConvertBufferFromUYVYtoNV12(int width, int height, unsigned char *source, int sourceStride,
                                                   unsigned char *destination, int destinationStride);
MULTIMEDIA_EXPORT void ConvertBufferFromUYVYtoYUY2(int width, int height, unsigned char *source, int sourceStride,
                                                   unsigned char *destination, int destinationStride);
