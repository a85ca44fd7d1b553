#include "pattern/TestPicture.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace pattern
{

namespace
{

constexpr int FigureCount = 8;

constexpr Colour Black{0, 0, 0};
constexpr Colour Dark{32, 32, 32};
constexpr Colour White{255, 255, 255};

// The usual bars at three quarters of full level.
constexpr Colour Bars[] = {{191, 191, 191}, {191, 191, 0}, {0, 191, 191}, {0, 191, 0},
                           {191, 0, 191},   {191, 0, 0},   {0, 0, 191},   {0, 0, 0}};
constexpr int BarCount = static_cast<int>(std::size(Bars));

} // namespace

TestPicture::TestPicture(PixelLayout layout, int width, int height, Scan scan) : m_scan(scan)
{
    if (layout == PixelLayout::NV12 || width < 2 || width % 2 != 0 || height < 1)
        throw std::invalid_argument("a test picture has an even width, at least one line and is UYVY, YUY2 or BGRA");

    const int lineBytes = stride(layout, width);
    m_pixels.resize(static_cast<std::size_t>(lineBytes) * static_cast<std::size_t>(height));
    m_picture = {m_pixels.data(), lineBytes, width, height, layout};

    const int top = height >= codeHeight(width) ? codeHeight(width) : 0;
    const int bottom = height - height / 4;
    m_bars = {0, top, width, std::max(bottom - top, 0)};
    m_flashBox = {width * 3 / 4, bottom, width / 4, height - bottom};
    m_barWidth = std::max(2, width / 48 & ~1);
    m_digitScale = std::min(width / 2 / (FigureCount * DigitColumns), (height - bottom) / DigitRows) & ~1;
    paintBackground();
}

void TestPicture::paintBackground()
{
    fillRect(m_picture, {0, 0, m_picture.width, m_picture.height}, Dark);
    for (int i = 0; i < BarCount; ++i) {
        const int left = m_picture.width * i / BarCount & ~1;
        const int right = m_picture.width * (i + 1) / BarCount & ~1;
        fillRect(m_picture, {left, m_bars.y, right - left, m_bars.height}, Bars[i]);
    }
    if (m_bars.height == 0)
        return;

    const std::uint8_t *line = m_picture.line(m_bars.y);
    m_barsLine.assign(line, line + m_picture.stride);
    m_whiteLine.resize(m_barsLine.size());
    const Picture white{m_whiteLine.data(), m_picture.stride, m_picture.width, 1, m_picture.layout};
    fillRect(white, {0, 0, m_picture.width, 1}, White);
}

void TestPicture::draw(std::uint64_t frame, bool flash)
{
    moveBar(frame);
    drawFigures(frame);
    fillRect(m_picture, m_flashBox, flash ? White : Black);
}

void TestPicture::moveBar(std::uint64_t frame)
{
    const int pixel = pixelBytes(m_picture.layout);
    const auto bytes = static_cast<std::size_t>(std::min(m_barWidth, m_picture.width) * pixel);
    const std::array<int, 2> place{barPosition(2 * frame),
                                   barPosition(2 * frame + (m_scan == Scan::Interlaced ? 1 : 0))};
    for (int y = m_bars.y; y < m_bars.y + m_bars.height; ++y) {
        const auto parity = static_cast<std::size_t>(y % 2);
        std::uint8_t *line = m_picture.line(y);
        if (const int before = m_shownAt[parity]; before >= 0)
            std::memcpy(line + before * pixel, m_barsLine.data() + before * pixel, bytes);
        std::memcpy(line + place[parity] * pixel, m_whiteLine.data(), bytes);
    }
    m_shownAt = place;
}

// Once across the picture in about 240 frames.
int TestPicture::barPosition(std::uint64_t halfFrame) const
{
    const auto room = static_cast<std::uint64_t>(std::max(m_picture.width - m_barWidth, 0) + 2);
    const auto step = static_cast<std::uint64_t>(std::max(2, m_picture.width / 480 & ~1));
    return static_cast<int>(halfFrame % room * step % room) & ~1;
}

void TestPicture::drawFigures(std::uint64_t frame)
{
    if (m_digitScale < 2)
        return;
    const int y = m_flashBox.y + (m_flashBox.height - DigitRows * m_digitScale) / 2;
    drawNumber(m_picture, m_digitScale, y, m_digitScale, frame, FigureCount);
}

} // namespace pattern
