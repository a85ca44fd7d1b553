#pragma once

// Flat rectangles and digits in a picture. Horizontal places and widths are rounded down to even pixels, which is what
// the 4:2:2 layouts can show; what lies outside the picture is left out. NV12 is not painted.

#include "pattern/Picture.h"

#include <array>
#include <cstdint>

namespace pattern
{

struct Rect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

// A colour as R'G'B' 0..255 and as BT.709 Y'CbCr in studio range.
struct Colour {
    constexpr Colour(int r, int g, int b)
        : red(static_cast<std::uint8_t>(r)), green(static_cast<std::uint8_t>(g)), blue(static_cast<std::uint8_t>(b)),
          luma(studio(16, 219, grey(r, g, b))), cb(studio(128, 224, (b / 255.0 - grey(r, g, b)) / 1.8556)),
          cr(studio(128, 224, (r / 255.0 - grey(r, g, b)) / 1.5748))
    {
    }

    std::uint8_t red, green, blue;
    std::uint8_t luma, cb, cr;

private:
    static constexpr double grey(int r, int g, int b) { return (0.2126 * r + 0.7152 * g + 0.0722 * b) / 255.0; }
    static constexpr std::uint8_t studio(int zero, int scale, double value)
    {
        return static_cast<std::uint8_t>(zero + scale * value + 0.5);
    }
};

// Two neighbouring pixels of one colour, the smallest thing that can be painted: 4 or 8 bytes.
struct PixelPair {
    PixelPair(PixelLayout layout, const Colour &colour);

    std::array<std::uint8_t, 8> bytes{};
    int size = 0;
};

// Bytes of one pixel in a layout that can be painted.
constexpr int pixelBytes(PixelLayout layout)
{
    return layout == PixelLayout::BGRA ? 4 : 2;
}

void fillRect(const Picture &picture, const Rect &rect, const Colour &colour);

// A number with leading zeros in figures of 5 x 7 dots, each dot `scale` pixels wide and high (even), in cells of
// DigitColumns x DigitRows dots.
constexpr int DigitColumns = 6;
constexpr int DigitRows = 8;
void drawNumber(const Picture &picture, int x, int y, int scale, std::uint64_t number, int digits);

} // namespace pattern
