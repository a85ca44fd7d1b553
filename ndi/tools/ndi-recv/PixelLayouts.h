#pragma once

// How the pixel formats that a receiver is given lie in memory.

#include "pattern/Picture.h"

#include <Processing.NDI.Interface.h>

#include <array>
#include <optional>

namespace ndirecv
{

// The planes of a picture, one behind the other, each of the picture's height.
struct PlaneLayout {
    NDIlib_FourCC_video_type_e fourCC;
    std::array<int, 3> pixelBytes;                  // bytes of a pixel in each plane; 0: no such plane
    std::optional<pattern::PixelLayout> firstPlane; // where its grey values can be read
};

// Null for a format that receivers are not given.
const PlaneLayout *planeLayout(NDIlib_FourCC_video_type_e fourCC);

// Bytes of a picture with packed lines.
std::size_t pictureBytes(const PlaneLayout &layout, int width, int height);

// The first plane of a captured picture; nothing when its grey values cannot be read.
std::optional<pattern::ConstPicture> pictureOf(const NDIlib_video_frame_v2_t &frame);

} // namespace ndirecv
