#include "ndi/tools/ndi-recv/StoredPicture.h"

#include "ndi/tools/ndi-recv/PixelLayouts.h"

#include <cstring>

namespace ndirecv
{

namespace
{

// Writes the frame's lines to every `step`-th line of the picture, from `first` on.
void copyLines(const PlaneLayout &layout, const NDIlib_video_frame_v2_t &frame, int first, int step,
               StoredPicture &picture)
{
    const std::uint8_t *from = frame.p_data;
    std::uint8_t *to = picture.bytes.data();
    for (const int pixelBytes : layout.pixelBytes) {
        const std::ptrdiff_t stride =
            std::ptrdiff_t{frame.line_stride_in_bytes} * pixelBytes / layout.pixelBytes.front();
        const std::ptrdiff_t packed = std::ptrdiff_t{frame.xres} * pixelBytes;
        for (int y = 0; y < frame.yres; ++y)
            std::memcpy(to + (first + y * step) * packed, from + y * stride, static_cast<std::size_t>(packed));
        from += stride * frame.yres;
        to += packed * picture.height;
    }
}

bool isSameFormat(const StoredPicture &upper, const NDIlib_video_frame_v2_t &lower)
{
    return upper.width == lower.xres && upper.height == 2 * lower.yres && upper.fourCC == lower.FourCC;
}

} // namespace

std::optional<pattern::ConstPicture> StoredPicture::view() const
{
    const PlaneLayout *layout = planeLayout(fourCC);
    if (layout == nullptr || !layout->firstPlane)
        return std::nullopt;
    return pattern::ConstPicture{bytes.data(), std::ptrdiff_t{width} * layout->pixelBytes.front(), width, height,
                                 *layout->firstPlane};
}

SharedPicture PictureStore::add(const NDIlib_video_frame_v2_t &frame)
{
    const PlaneLayout *layout = planeLayout(frame.FourCC);
    if (layout == nullptr)
        return nullptr;
    const std::shared_ptr<StoredPicture> upper = std::move(m_upperField);
    m_upperField.reset();
    if (frame.frame_format_type == NDIlib_frame_format_type_field_1) {
        if (!upper || !isSameFormat(*upper, frame))
            return nullptr;
        copyLines(*layout, frame, 1, 2, *upper);
        return upper;
    }

    const bool isField = frame.frame_format_type == NDIlib_frame_format_type_field_0;
    const std::shared_ptr<StoredPicture> picture = take();
    picture->width = frame.xres;
    picture->height = isField ? 2 * frame.yres : frame.yres;
    picture->fourCC = frame.FourCC;
    picture->rateNumerator = frame.frame_rate_N;
    picture->rateDenominator = frame.frame_rate_D;
    picture->isInterlaced = frame.frame_format_type != NDIlib_frame_format_type_progressive;
    picture->bytes.resize(pictureBytes(*layout, picture->width, picture->height));
    copyLines(*layout, frame, 0, isField ? 2 : 1, *picture);
    if (!isField)
        return picture;
    m_upperField = picture;
    return nullptr;
}

std::shared_ptr<StoredPicture> PictureStore::take()
{
    std::unique_ptr<StoredPicture> picture;
    {
        const std::lock_guard<std::mutex> guard(m_pool->lock);
        if (!m_pool->pictures.empty()) {
            picture = std::move(m_pool->pictures.back());
            m_pool->pictures.pop_back();
        }
    }
    if (!picture)
        picture = std::make_unique<StoredPicture>();
    const auto giveBack = [pool = m_pool](StoredPicture *dropped) {
        std::unique_ptr<StoredPicture> owned(dropped);
        const std::lock_guard<std::mutex> guard(pool->lock);
        pool->pictures.push_back(std::move(owned));
    };
    return {picture.release(), giveBack};
}

} // namespace ndirecv
