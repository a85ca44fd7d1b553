#pragma once

// A view of a picture in memory: nobody's memory, any stride. Lines are addressed from the top of the picture as shown;
// a bottom-up picture has its top line's address and a negative stride.

#include <cstddef>
#include <cstdint>

namespace pattern
{

enum class PixelLayout {
    UYVY,
    YUY2,
    BGRA, // also BGRX, RGBA and RGBX: what is read and written here is grey wherever the order would matter
    NV12  // the luma plane only
};

template <class Byte>
struct BasicPicture {
    Byte *topLine = nullptr;
    std::ptrdiff_t stride = 0; // bytes from a line to the one below it
    int width = 0;             // pixels
    int height = 0;            // lines
    PixelLayout layout = PixelLayout::UYVY;

    Byte *line(int y) const { return topLine + y * stride; }
};

using Picture = BasicPicture<std::uint8_t>;
using ConstPicture = BasicPicture<const std::uint8_t>;

inline ConstPicture readOnly(const Picture &picture)
{
    return {picture.topLine, picture.stride, picture.width, picture.height, picture.layout};
}

} // namespace pattern
