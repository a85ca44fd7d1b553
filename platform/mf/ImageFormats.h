#pragma once

#include <windows.h>

#include <d3d9types.h>

#include <cstdint>

namespace winmedia
{

// What stands behind the first plane: nothing, a plane of pairs, or two planes; of half height and half width.
enum class Chroma { None, Pairs, TwoPlanes };

struct ImageFormat {
    DWORD fourcc;        // D3DFORMAT or FourCC
    UINT32 bitsPerPixel; // of the first plane
    UINT32 groupPixels;  // pixels of a line that are stored together
    Chroma chroma;

    // RGB formats have D3DFORMAT numbers.
    bool isRgb() const { return fourcc < 256; }
};

// Null for an unknown format.
const ImageFormat *findImageFormat(DWORD fourcc);

struct PlaneShape {
    UINT32 lineBytes = 0; // packed
    UINT32 lines = 0;
    UINT32 pitchDivisor = 1; // the plane's pitch is that of the first plane by this
};

// The planes of a picture as they follow each other in memory. A packed picture has no more bytes between its lines
// than its format wants: RGB lines are padded to four bytes, the others not at all.
class ImageShape
{
public:
    ImageShape(const ImageFormat &format, UINT32 width, UINT32 height);

    UINT32 lineBytes() const { return m_planes[0].lineBytes; }
    UINT32 lines() const { return m_planes[0].lines; }
    UINT32 planeCount() const { return m_planeCount; }
    const PlaneShape &plane(UINT32 index) const { return m_planes[index]; }

    uint64_t packedSize() const;
    // With lines of the first plane that far apart.
    uint64_t sizeAt(UINT32 pitch) const;
    bool isPackedAt(UINT32 pitch) const { return sizeAt(pitch) == packedSize(); }

    void pack(BYTE *packed, const BYTE *picture, UINT32 pitch) const;
    void unpack(BYTE *picture, UINT32 pitch, const BYTE *packed) const;

private:
    PlaneShape m_planes[3];
    UINT32 m_planeCount = 1;
};

} // namespace winmedia
