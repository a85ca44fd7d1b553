#include "pattern/Painter.h"

#include <algorithm>
#include <cstring>

namespace pattern
{

namespace
{

constexpr Colour Ink{255, 255, 255};
constexpr Colour Paper{0, 0, 0};

constexpr int GlyphColumns = 5;
constexpr int GlyphRows = 7;

// One line of dots per entry, the leftmost dot in bit 4.
constexpr std::uint8_t Figures[10][GlyphRows] = {
    {0x0e, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0e}, // 0
    {0x04, 0x0c, 0x04, 0x04, 0x04, 0x04, 0x0e}, // 1
    {0x0e, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1f}, // 2
    {0x1f, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0e}, // 3
    {0x02, 0x06, 0x0a, 0x12, 0x1f, 0x02, 0x02}, // 4
    {0x1f, 0x10, 0x1e, 0x01, 0x01, 0x11, 0x0e}, // 5
    {0x06, 0x08, 0x10, 0x1e, 0x11, 0x11, 0x0e}, // 6
    {0x1f, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08}, // 7
    {0x0e, 0x11, 0x11, 0x0e, 0x11, 0x11, 0x0e}, // 8
    {0x0e, 0x11, 0x11, 0x0f, 0x01, 0x02, 0x0c}, // 9
};

Rect insidePicture(const Rect &rect, const Picture &picture)
{
    const int left = std::max(rect.x, 0) & ~1;
    const int right = std::min(rect.x + rect.width, picture.width) & ~1;
    const int top = std::max(rect.y, 0);
    const int bottom = std::min(rect.y + rect.height, picture.height);
    return {left, top, std::max(right - left, 0), std::max(bottom - top, 0)};
}

void drawDigit(const Picture &picture, int x, int y, int scale, unsigned digit)
{
    for (int row = 0; row < GlyphRows; ++row) {
        for (int column = 0; column < GlyphColumns; ++column) {
            if ((Figures[digit][row] >> (GlyphColumns - 1 - column) & 1) != 0)
                fillRect(picture, {x + column * scale, y + row * scale, scale, scale}, Ink);
        }
    }
}

} // namespace

PixelPair::PixelPair(PixelLayout layout, const Colour &colour) : size(2 * pixelBytes(layout))
{
    switch (layout) {
    case PixelLayout::UYVY:
        bytes = {colour.cb, colour.luma, colour.cr, colour.luma};
        break;
    case PixelLayout::YUY2:
        bytes = {colour.luma, colour.cb, colour.luma, colour.cr};
        break;
    case PixelLayout::BGRA:
        bytes = {colour.blue, colour.green, colour.red, 255, colour.blue, colour.green, colour.red, 255};
        break;
    case PixelLayout::NV12:
        size = 0;
        break;
    }
}

void fillRect(const Picture &picture, const Rect &rect, const Colour &colour)
{
    const Rect area = insidePicture(rect, picture);
    const PixelPair pair(picture.layout, colour);
    if (area.width == 0 || area.height == 0 || pair.size == 0)
        return;

    const std::ptrdiff_t offset = std::ptrdiff_t{area.x / 2} * pair.size;
    const auto bytes = static_cast<std::size_t>(area.width / 2 * pair.size);
    std::uint8_t *first = picture.line(area.y) + offset;
    for (std::size_t at = 0; at < bytes; at += static_cast<std::size_t>(pair.size))
        std::memcpy(first + at, pair.bytes.data(), static_cast<std::size_t>(pair.size));
    for (int y = area.y + 1; y < area.y + area.height; ++y)
        std::memcpy(picture.line(y) + offset, first, bytes);
}

void drawNumber(const Picture &picture, int x, int y, int scale, std::uint64_t number, int digits)
{
    fillRect(picture, {x, y, digits * DigitColumns * scale, DigitRows * scale}, Paper);
    for (int i = digits - 1; i >= 0; --i, number /= 10)
        drawDigit(picture, x + i * DigitColumns * scale, y, scale, static_cast<unsigned>(number % 10));
}

} // namespace pattern
