#pragma once

// A moving test picture: the machine-readable code along the top (PatternCode.h), colour bars with a white bar that
// sweeps over them, and at the bottom the frame number in figures beside a box that flashes once a second.
//
// The object owns its picture. The picture is painted once; from frame to frame only what moves is painted again, so
// that 2160p60 takes a small part of one core. One object is used by one thread; who sends a picture while drawing the
// next takes two objects.

#include "pattern/Painter.h"
#include "pattern/PatternCode.h"

#include <array>
#include <cstdint>
#include <vector>

namespace pattern
{

enum class Scan {
    Progressive,
    Interlaced // the second field shows the bar half a frame later
};

class TestPicture
{
public:
    // UYVY, YUY2 or BGRA; an even width of at least 2 pixels. A picture narrower than CodeMinWidth or lower than
    // codeHeight() carries no code, a very small one no figures.
    TestPicture(PixelLayout layout, int width, int height, Scan scan = Scan::Progressive);

    TestPicture(const TestPicture &) = delete;
    TestPicture &operator=(const TestPicture &) = delete;

    // Paints everything of this frame but the code.
    void draw(std::uint64_t frame, bool flash);

    // Writes the code; last, as it holds the time. False when the picture is too small for it.
    bool stamp(const PatternCode &code) { return writeCode(m_picture, code); }

    // Lines lie from the top down without a gap.
    const Picture &picture() const { return m_picture; }
    static constexpr int stride(PixelLayout layout, int width) { return width * pixelBytes(layout); }

private:
    void paintBackground();
    void moveBar(std::uint64_t frame);
    int barPosition(std::uint64_t halfFrame) const;
    void drawFigures(std::uint64_t frame);

    std::vector<std::uint8_t> m_pixels;
    Picture m_picture;
    Scan m_scan;
    Rect m_bars;
    Rect m_flashBox;
    int m_barWidth;
    int m_digitScale;
    std::array<int, 2> m_shownAt{-1, -1}; // the white bar's place in even and odd lines; -1: not there yet
    std::vector<std::uint8_t> m_barsLine; // one line of the colour bars, to put back what the white bar covered
    std::vector<std::uint8_t> m_whiteLine;
};

} // namespace pattern
