#include "platform/mf/ImageFormats.h"

#include "platform/com/AlignedMemory.h"

#include <mfapi.h>

namespace winmedia
{

namespace
{

constexpr ImageFormat formats[] = {
    {MAKEFOURCC('U', 'Y', 'V', 'Y'), 16, 2, Chroma::None},
    {MAKEFOURCC('Y', 'U', 'Y', '2'), 16, 2, Chroma::None},
    {MAKEFOURCC('Y', 'V', 'Y', 'U'), 16, 2, Chroma::None},
    {MAKEFOURCC('A', 'Y', 'U', 'V'), 32, 1, Chroma::None},
    {MAKEFOURCC('N', 'V', '1', '2'), 8, 2, Chroma::Pairs},
    {MAKEFOURCC('P', '0', '1', '0'), 16, 2, Chroma::Pairs},
    {MAKEFOURCC('I', '4', '2', '0'), 8, 1, Chroma::TwoPlanes},
    {MAKEFOURCC('I', 'Y', 'U', 'V'), 8, 1, Chroma::TwoPlanes},
    {MAKEFOURCC('Y', 'V', '1', '2'), 8, 1, Chroma::TwoPlanes},
    {D3DFMT_A8R8G8B8, 32, 1, Chroma::None},
    {D3DFMT_X8R8G8B8, 32, 1, Chroma::None},
    {D3DFMT_A8B8G8R8, 32, 1, Chroma::None},
    {D3DFMT_R8G8B8, 24, 1, Chroma::None},
    {D3DFMT_R5G6B5, 16, 1, Chroma::None},
    {D3DFMT_X1R5G5B5, 16, 1, Chroma::None},
    {D3DFMT_L8, 8, 1, Chroma::None},
    {D3DFMT_P8, 8, 1, Chroma::None},
};

UINT32 halfOf(UINT32 value)
{
    return value / 2 + value % 2;
}

} // namespace

const ImageFormat *findImageFormat(DWORD fourcc)
{
    for (const ImageFormat &format : formats)
        if (format.fourcc == fourcc)
            return &format;
    return nullptr;
}

ImageShape::ImageShape(const ImageFormat &format, UINT32 width, UINT32 height)
{
    const size_t bytes = roundUp(width, format.groupPixels) * format.bitsPerPixel / 8;
    m_planes[0] = {static_cast<UINT32>(format.isRgb() ? roundUp(bytes, 4) : bytes), height, 1};
    if (format.chroma == Chroma::Pairs)
        m_planes[m_planeCount++] = {m_planes[0].lineBytes, halfOf(height), 1};
    if (format.chroma == Chroma::TwoPlanes)
        for (int plane = 0; plane < 2; ++plane)
            m_planes[m_planeCount++] = {halfOf(m_planes[0].lineBytes), halfOf(height), 2};
}

uint64_t ImageShape::packedSize() const
{
    uint64_t size = 0;
    for (UINT32 index = 0; index < m_planeCount; ++index)
        size += static_cast<uint64_t>(m_planes[index].lineBytes) * m_planes[index].lines;
    return size;
}

uint64_t ImageShape::sizeAt(UINT32 pitch) const
{
    uint64_t size = 0;
    for (UINT32 index = 0; index < m_planeCount; ++index)
        size += static_cast<uint64_t>(pitch / m_planes[index].pitchDivisor) * m_planes[index].lines;
    return size;
}

void ImageShape::pack(BYTE *packed, const BYTE *picture, UINT32 pitch) const
{
    for (UINT32 index = 0; index < m_planeCount; ++index) {
        const PlaneShape &plane = m_planes[index];
        const auto stride = static_cast<LONG>(pitch / plane.pitchDivisor);
        const auto line = static_cast<LONG>(plane.lineBytes);
        MFCopyImage(packed, line, picture, stride, plane.lineBytes, plane.lines);
        packed += static_cast<size_t>(line) * plane.lines;
        picture += static_cast<size_t>(stride) * plane.lines;
    }
}

void ImageShape::unpack(BYTE *picture, UINT32 pitch, const BYTE *packed) const
{
    for (UINT32 index = 0; index < m_planeCount; ++index) {
        const PlaneShape &plane = m_planes[index];
        const auto stride = static_cast<LONG>(pitch / plane.pitchDivisor);
        const auto line = static_cast<LONG>(plane.lineBytes);
        MFCopyImage(picture, stride, packed, line, plane.lineBytes, plane.lines);
        packed += static_cast<size_t>(line) * plane.lines;
        picture += static_cast<size_t>(stride) * plane.lines;
    }
}

} // namespace winmedia
