#include "ndi/local/PixelLayout.h"

#include "ndi/include/Processing.NDI.Interface.h"

#include <algorithm>
#include <cstring>

namespace localndi
{
namespace
{

constexpr PixelLayout::Plane same{1, 1};
constexpr PixelLayout::Plane none{1, 1};
constexpr PixelLayout::Plane halfStride{2, 1};
constexpr PixelLayout::Plane halfLines{1, 2};
constexpr PixelLayout::Plane quarter{2, 2};

constexpr PixelLayout layouts[] = {
    {NDIlib_FourCC_video_type_UYVY, false, false, 2, 2, 1, {same, none, none}},
    {NDIlib_FourCC_video_type_UYVA, true, false, 2, 2, 2, {same, halfStride, none}},
    {NDIlib_FourCC_video_type_P216, false, false, 2, 2, 2, {same, same, none}},
    {NDIlib_FourCC_video_type_PA16, true, false, 2, 2, 3, {same, same, same}},
    {NDIlib_FourCC_video_type_YV12, false, false, 2, 1, 3, {same, quarter, quarter}},
    {NDIlib_FourCC_video_type_I420, false, false, 2, 1, 3, {same, quarter, quarter}},
    {NDIlib_FourCC_video_type_NV12, false, false, 2, 1, 2, {same, halfLines, none}},
    {NDIlib_FourCC_video_type_BGRA, true, true, 1, 4, 1, {same, none, none}},
    {NDIlib_FourCC_video_type_BGRX, false, true, 1, 4, 1, {same, none, none}},
    {NDIlib_FourCC_video_type_RGBA, true, true, 1, 4, 1, {same, none, none}},
    {NDIlib_FourCC_video_type_RGBX, false, true, 1, 4, 1, {same, none, none}},
};

int linesOf(const PixelLayout::Plane &plane, int height)
{
    return (height + plane.lineDivisor - 1) / plane.lineDivisor;
}

void copyPlane(const Picture::Plane &from, const Picture::Plane &to, std::int64_t lineBytes)
{
    if (from.stride == lineBytes && to.stride == lineBytes && from.lines == to.lines) {
        std::memcpy(to.data, from.data, static_cast<std::size_t>(lineBytes * to.lines));
        return;
    }
    for (int i = 0; i < to.lines; ++i)
        std::memcpy(to.line(i), from.line(i), static_cast<std::size_t>(lineBytes));
}

} // namespace

std::int64_t PixelLayout::packedStride(int width) const
{
    const std::int64_t pixels = (std::int64_t{width} + widthAlignment - 1) / widthAlignment * widthAlignment;
    return pixels * bytesPerPixel;
}

std::int64_t PixelLayout::size(std::int64_t stride, int height) const
{
    std::int64_t total = 0;
    for (int i = 0; i < planeCount; ++i)
        total += stride / planes[i].strideDivisor * linesOf(planes[i], height);
    return total;
}

const PixelLayout *findPixelLayout(std::int32_t fourCC)
{
    const auto *found = std::find_if(std::begin(layouts), std::end(layouts),
                                     [fourCC](const PixelLayout &layout) { return layout.fourCC == fourCC; });
    return found == std::end(layouts) ? nullptr : found;
}

Picture pictureAt(const PixelLayout &layout, std::uint8_t *data, std::int64_t stride, int width, int height)
{
    Picture picture{&layout, width, height, {}};
    for (int i = 0; i < layout.planeCount; ++i) {
        auto &plane = picture.planes[i];
        plane = {data, stride / layout.planes[i].strideDivisor, linesOf(layout.planes[i], height)};
        data += plane.stride * plane.lines;
    }
    return picture;
}

Picture packedPictureAt(const PixelLayout &layout, std::uint8_t *data, int width, int height)
{
    return pictureAt(layout, data, layout.packedStride(width), width, height);
}

Picture fieldOf(const Picture &picture, int field)
{
    Picture half = picture;
    half.height = picture.height / 2;
    for (int i = 0; i < picture.layout->planeCount; ++i) {
        const auto &plane = picture.planes[i];
        // A plane of a single line serves both fields.
        const int first = std::min(field, plane.lines - 1);
        half.planes[i] = {plane.line(first), plane.stride * 2, (plane.lines - first + 1) / 2};
    }
    return half;
}

void copyPicture(const Picture &from, const Picture &to)
{
    const auto packed = from.layout->packedStride(from.width);
    for (int i = 0; i < from.layout->planeCount; ++i)
        copyPlane(from.planes[i], to.planes[i], packed / from.layout->planes[i].strideDivisor);
}

} // namespace localndi
