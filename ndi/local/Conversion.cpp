#include "ndi/local/Conversion.h"

#include "ndi/include/Processing.NDI.Interface.h"

#include <libyuv.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace localndi
{
namespace
{

struct Delivery {
    std::int32_t colorFormat;
    std::int32_t opaque;
    std::int32_t withAlpha;
};

constexpr Delivery deliveries[] = {
    {NDIlib_recv_color_format_UYVY_BGRA, NDIlib_FourCC_video_type_UYVY, NDIlib_FourCC_video_type_BGRA},
    {NDIlib_recv_color_format_BGRX_BGRA, NDIlib_FourCC_video_type_BGRX, NDIlib_FourCC_video_type_BGRA},
    {NDIlib_recv_color_format_RGBX_RGBA, NDIlib_FourCC_video_type_RGBX, NDIlib_FourCC_video_type_RGBA},
    {NDIlib_recv_color_format_UYVY_RGBA, NDIlib_FourCC_video_type_UYVY, NDIlib_FourCC_video_type_RGBA},
    {NDIlib_recv_color_format_fastest, NDIlib_FourCC_video_type_UYVY, NDIlib_FourCC_video_type_UYVA},
    {NDIlib_recv_color_format_best, NDIlib_FourCC_video_type_UYVY, NDIlib_FourCC_video_type_UYVA},
};

bool isRedFirst(const PixelLayout &layout)
{
    return layout.fourCC == NDIlib_FourCC_video_type_RGBA || layout.fourCC == NDIlib_FourCC_video_type_RGBX;
}

// One line on its way from one layout to another, by way of Y, U and V lines of 4:2:2 or of a BGRA line.
// libyuv calls BGRA in memory order ARGB, and RGBA ABGR.
class LineConverter
{
public:
    LineConverter(const Picture &from, const Picture &to)
        : m_from(from), m_to(to), m_chromaWidth((from.width + 1) / 2),
          m_luma(2 * static_cast<std::size_t>(m_chromaWidth)), m_u(static_cast<std::size_t>(m_chromaWidth)),
          m_v(m_u.size()), m_bgra(4 * static_cast<std::size_t>(from.width)),
          m_alpha(static_cast<std::size_t>(from.width), opaque)
    {
    }

    void convert(int line)
    {
        if (m_from.layout->isRgb)
            convertRgb(line);
        else
            convertYuv(line);
        if (m_to.layout->hasAlpha)
            convertAlpha(line);
    }

private:
    static constexpr std::uint8_t opaque = 255;

    struct YuvLine {
        const std::uint8_t *y;
        const std::uint8_t *u;
        const std::uint8_t *v;
    };

    void convertRgb(int line)
    {
        const auto *source = m_from.planes[0].line(line);
        auto *target = m_to.planes[0].line(line);
        const bool swap =
            m_to.layout->isRgb ? isRedFirst(*m_from.layout) != isRedFirst(*m_to.layout) : isRedFirst(*m_from.layout);
        auto *bgra = m_to.layout->isRgb ? target : m_bgra.data();
        if (swap)
            libyuv::ABGRToARGB(source, 0, bgra, 0, m_from.width, 1);
        else if (m_to.layout->isRgb)
            std::memcpy(bgra, source, m_bgra.size());
        if (!m_to.layout->isRgb)
            libyuv::ARGBToUYVY(swap ? bgra : source, 0, target, 0, m_from.width, 1);
    }

    void convertYuv(int line)
    {
        auto *target = m_to.planes[0].line(line);
        if (!m_to.layout->isRgb) {
            const auto yuv = yuvLine(line);
            libyuv::I422ToUYVY(yuv.y, 0, yuv.u, 0, yuv.v, 0, target, 0, m_from.width, 1);
            return;
        }
        const auto yuv = yuvLine(line);
        if (isRedFirst(*m_to.layout))
            libyuv::I422ToABGR(yuv.y, 0, yuv.u, 0, yuv.v, 0, target, 0, m_from.width, 1);
        else
            libyuv::I422ToARGB(yuv.y, 0, yuv.u, 0, yuv.v, 0, target, 0, m_from.width, 1);
    }

    YuvLine yuvLine(int line)
    {
        const auto *first = m_from.planes[0].line(line);
        switch (m_from.layout->fourCC) {
        case NDIlib_FourCC_video_type_NV12:
            libyuv::SplitUVPlane(m_from.planes[1].line(line / 2), 0, m_u.data(), 0, m_v.data(), 0, m_chromaWidth, 1);
            return {first, m_u.data(), m_v.data()};
        case NDIlib_FourCC_video_type_I420:
            return {first, m_from.planes[1].line(line / 2), m_from.planes[2].line(line / 2)};
        case NDIlib_FourCC_video_type_YV12:
            return {first, m_from.planes[2].line(line / 2), m_from.planes[1].line(line / 2)};
        case NDIlib_FourCC_video_type_P216:
        case NDIlib_FourCC_video_type_PA16:
            takeHighBytes(first, m_from.planes[1].line(line));
            break;
        default:
            libyuv::UYVYToI422(first, 0, m_luma.data(), 0, m_u.data(), 0, m_v.data(), 0, m_from.width, 1);
            break;
        }
        return {m_luma.data(), m_u.data(), m_v.data()};
    }

    // Of little-endian 16-bit values.
    void takeHighBytes(const std::uint8_t *luma, const std::uint8_t *chroma)
    {
        for (int x = 0; x < m_from.width; ++x)
            m_luma[x] = luma[2 * x + 1];
        for (int x = 0; x < m_chromaWidth; ++x) {
            m_u[x] = chroma[4 * x + 1];
            m_v[x] = chroma[4 * x + 3];
        }
    }

    void convertAlpha(int line)
    {
        if (m_from.layout->isRgb && m_to.layout->isRgb)
            return; // came along
        const auto *alpha = alphaLine(line);
        if (m_to.layout->isRgb)
            libyuv::ARGBCopyYToAlpha(alpha, 0, m_to.planes[0].line(line), 0, m_from.width, 1);
        else
            std::memcpy(m_to.planes[1].line(line), alpha, m_alpha.size());
    }

    const std::uint8_t *alphaLine(int line)
    {
        switch (m_from.layout->fourCC) {
        case NDIlib_FourCC_video_type_UYVA:
            return m_from.planes[1].line(line);
        case NDIlib_FourCC_video_type_PA16:
            for (int x = 0; x < m_from.width; ++x)
                m_alpha[x] = m_from.planes[2].line(line)[2 * x + 1];
            break;
        case NDIlib_FourCC_video_type_BGRA:
        case NDIlib_FourCC_video_type_RGBA:
            libyuv::ARGBExtractAlpha(m_from.planes[0].line(line), 0, m_alpha.data(), 0, m_from.width, 1);
            break;
        default:
            break;
        }
        return m_alpha.data();
    }

    const Picture &m_from;
    const Picture &m_to;
    const int m_chromaWidth;
    std::vector<std::uint8_t> m_luma;
    std::vector<std::uint8_t> m_u;
    std::vector<std::uint8_t> m_v;
    std::vector<std::uint8_t> m_bgra;
    std::vector<std::uint8_t> m_alpha;
};

} // namespace

const PixelLayout &deliveredLayout(std::int32_t colorFormat, const PixelLayout &layout)
{
    const auto *found = std::find_if(std::begin(deliveries), std::end(deliveries),
                                     [colorFormat](const Delivery &d) { return d.colorFormat == colorFormat; });
    const auto &delivery = found != std::end(deliveries) ? *found : deliveries[0];
    return *findPixelLayout(layout.hasAlpha ? delivery.withAlpha : delivery.opaque);
}

void convertPicture(const Picture &from, const Picture &to)
{
    LineConverter lines(from, to);
    for (int line = 0; line < from.height; ++line)
        lines.convert(line);
}

} // namespace localndi
