#include "ndi/tools/ndi-recv/PixelLayouts.h"

namespace ndirecv
{

namespace
{

using pattern::PixelLayout;

constexpr PlaneLayout Layouts[] = {{NDIlib_FourCC_video_type_UYVY, {2, 0, 0}, PixelLayout::UYVY},
                                   {NDIlib_FourCC_video_type_UYVA, {2, 1, 0}, PixelLayout::UYVY},
                                   {NDIlib_FourCC_video_type_BGRA, {4, 0, 0}, PixelLayout::BGRA},
                                   {NDIlib_FourCC_video_type_BGRX, {4, 0, 0}, PixelLayout::BGRA},
                                   {NDIlib_FourCC_video_type_RGBA, {4, 0, 0}, PixelLayout::BGRA},
                                   {NDIlib_FourCC_video_type_RGBX, {4, 0, 0}, PixelLayout::BGRA},
                                   {NDIlib_FourCC_video_type_P216, {2, 2, 0}, std::nullopt},
                                   {NDIlib_FourCC_video_type_PA16, {2, 2, 2}, std::nullopt}};

} // namespace

const PlaneLayout *planeLayout(NDIlib_FourCC_video_type_e fourCC)
{
    for (const PlaneLayout &layout : Layouts) {
        if (layout.fourCC == fourCC)
            return &layout;
    }
    return nullptr;
}

std::size_t pictureBytes(const PlaneLayout &layout, int width, int height)
{
    std::size_t bytes = 0;
    for (const int pixelBytes : layout.pixelBytes)
        bytes +=
            static_cast<std::size_t>(pixelBytes) * static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    return bytes;
}

std::optional<pattern::ConstPicture> pictureOf(const NDIlib_video_frame_v2_t &frame)
{
    const PlaneLayout *layout = planeLayout(frame.FourCC);
    if (layout == nullptr || !layout->firstPlane)
        return std::nullopt;
    return pattern::ConstPicture{frame.p_data, frame.line_stride_in_bytes, frame.xres, frame.yres, *layout->firstPlane};
}

} // namespace ndirecv
