#include "ndi/tools/ndi-send/UyvyConverter.h"

#include <libyuv/convert_from.h>
#include <libyuv/planar_functions.h>
#include <libyuv/scale.h>

namespace ndisend
{

UyvyConverter::UyvyConverter(const Y4mHeader &header) : m_header(header)
{
    if (header.chroma == Chroma::Yuv444)
        m_halfChroma.resize(2 * static_cast<std::size_t>(width() / 2) * static_cast<std::size_t>(header.height));
}

void UyvyConverter::convert(const std::vector<std::uint8_t> &planes, std::uint8_t *out)
{
    // A chroma line of 4:2:0 belongs to two lines of the same field; where the lines do not divide evenly, the last
    // ones of the lower field would have none.
    if (m_header.interlaced && m_header.chroma == Chroma::Yuv420 && m_header.height % 4 == 0) {
        convertLines(planes.data(), 0, 2, out);
        convertLines(planes.data(), 1, 2, out);
    } else {
        convertLines(planes.data(), 0, 1, out);
    }
}

void UyvyConverter::convertLines(const std::uint8_t *planes, int firstLine, int lineStep, std::uint8_t *out)
{
    const int lines = (m_header.height - firstLine + lineStep - 1) / lineStep;
    const int lumaStride = m_header.width;
    const int chromaStride = m_header.chromaWidth();
    const std::uint8_t *y = planes + static_cast<std::ptrdiff_t>(firstLine) * lumaStride;
    const std::uint8_t *u = planes + m_header.lumaBytes() + static_cast<std::ptrdiff_t>(firstLine) * chromaStride;
    const std::uint8_t *v = u + m_header.chromaBytes();
    std::uint8_t *first = out + static_cast<std::ptrdiff_t>(firstLine) * stride();

    switch (m_header.chroma) {
    case Chroma::Yuv420:
        libyuv::I420ToUYVY(y, lumaStride * lineStep, u, chromaStride * lineStep, v, chromaStride * lineStep, first,
                           stride() * lineStep, width(), lines);
        break;
    case Chroma::Yuv422:
        libyuv::I422ToUYVY(y, lumaStride * lineStep, u, chromaStride * lineStep, v, chromaStride * lineStep, first,
                           stride() * lineStep, width(), lines);
        break;
    case Chroma::Yuv444: {
        const int half = width() / 2;
        std::uint8_t *halfU = m_halfChroma.data();
        std::uint8_t *halfV = halfU + m_halfChroma.size() / 2;
        libyuv::ScalePlane(u, chromaStride, width(), lines, halfU, half, half, lines, libyuv::kFilterBox);
        libyuv::ScalePlane(v, chromaStride, width(), lines, halfV, half, half, lines, libyuv::kFilterBox);
        libyuv::I422ToUYVY(y, lumaStride, halfU, half, halfV, half, first, stride(), width(), lines);
        break;
    }
    }
}

} // namespace ndisend
