#pragma once

#include "ndi/local/PixelLayout.h"

#include <cstdint>

namespace localndi
{

// The layout in which a receiver with `colorFormat` (NDIlib_recv_color_format_e) hands out pictures of `layout`.
const PixelLayout &deliveredLayout(std::int32_t colorFormat, const PixelLayout &layout);

// Converts any layout into one of those that are delivered: UYVY, UYVA and the four of 32-bit RGB. Equal sizes.
void convertPicture(const Picture &from, const Picture &to);

} // namespace localndi
