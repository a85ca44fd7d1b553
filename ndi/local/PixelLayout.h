#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace localndi
{

// How the pixels of one FourCC lie in memory: planes one behind the other, the stride of each a fixed part of the first
// one's.
struct PixelLayout {
    struct Plane {
        int strideDivisor; // stride = first plane's stride / this
        int lineDivisor;   // lines = height / this, rounded up
    };

    std::int32_t fourCC;
    bool hasAlpha;
    bool isRgb;
    int widthAlignment; // pixels that share chroma
    int bytesPerPixel;  // of the first plane
    int planeCount;
    std::array<Plane, 3> planes;

    std::int64_t packedStride(int width) const;
    std::int64_t size(std::int64_t stride, int height) const;
    std::int64_t packedSize(int width, int height) const { return size(packedStride(width), height); }
};

// Null for a FourCC that is not one of the interface's.
const PixelLayout *findPixelLayout(std::int32_t fourCC);

// A picture in somebody's memory.
struct Picture {
    struct Plane {
        std::uint8_t *data;
        std::int64_t stride;
        int lines;

        // The last line stands in for those a field does not have.
        std::uint8_t *line(int index) const { return data + stride * (index < lines ? index : lines - 1); }
    };

    const PixelLayout *layout;
    int width;
    int height;
    std::array<Plane, 3> planes;
};

Picture pictureAt(const PixelLayout &layout, std::uint8_t *data, std::int64_t stride, int width, int height);
Picture packedPictureAt(const PixelLayout &layout, std::uint8_t *data, int width, int height);
// Every second line, from line `field` (0 or 1) on; the height is even.
Picture fieldOf(const Picture &picture, int field);
// Both of one layout and size.
void copyPicture(const Picture &from, const Picture &to);

} // namespace localndi
