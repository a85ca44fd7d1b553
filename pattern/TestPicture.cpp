#include "pattern/TestPicture.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace pattern
{

namespace
{

constexpr int kDigits = 8;

constexpr Colour kBlack{0, 0, 0};
constexpr Colour kDark{32, 32, 32};
constexpr Colour kWhite{255, 255, 255};

// The usual bars at three quarters of full level.
constexpr Colour kBars[] = {{191, 191, 191}, {191, 191, 0}, {0, 191, 191}, {0, 191, 0},
                            {191, 0, 191},   {191, 0, 0},   {0, 0, 191},   {0, 0, 0}};
constexpr int kBarCount = static_cast<int>(std::size(kBars));

} // namespace

TestPicture::TestPicture(PixelLayout layout, int width, int height, Scan scan) : scan_(scan)
{
    if (layout == PixelLayout::NV12 || width < 2 || width % 2 != 0 || height < 1)
        throw std::invalid_argument("a test picture has an even width, at least one line and is UYVY, YUY2 or BGRA");

    const int lineBytes = stride(layout, width);
    pixels_.resize(static_cast<std::size_t>(lineBytes) * static_cast<std::size_t>(height));
    picture_ = {pixels_.data(), lineBytes, width, height, layout};

    const int top = height >= codeHeight(width) ? codeHeight(width) : 0;
    const int bottom = height - height / 4;
    bars_ = {0, top, width, std::max(bottom - top, 0)};
    flashBox_ = {width * 3 / 4, bottom, width / 4, height - bottom};
    barWidth_ = std::max(2, width / 48 & ~1);
    digitScale_ = std::min(width / 2 / (kDigits * kDigitColumns), (height - bottom) / kDigitRows) & ~1;
    paintBackground();
}

void TestPicture::paintBackground()
{
    fillRect(picture_, {0, 0, picture_.width, picture_.height}, kDark);
    for (int i = 0; i < kBarCount; ++i) {
        const int left = picture_.width * i / kBarCount & ~1;
        const int right = picture_.width * (i + 1) / kBarCount & ~1;
        fillRect(picture_, {left, bars_.y, right - left, bars_.height}, kBars[i]);
    }
    if (bars_.height == 0)
        return;

    const std::uint8_t *line = picture_.line(bars_.y);
    barsLine_.assign(line, line + picture_.stride);
    whiteLine_.resize(barsLine_.size());
    const Picture white{whiteLine_.data(), picture_.stride, picture_.width, 1, picture_.layout};
    fillRect(white, {0, 0, picture_.width, 1}, kWhite);
}

void TestPicture::draw(std::uint64_t frame, bool flash)
{
    moveBar(frame);
    drawFigures(frame);
    fillRect(picture_, flashBox_, flash ? kWhite : kBlack);
}

void TestPicture::moveBar(std::uint64_t frame)
{
    const int pixel = pixelBytes(picture_.layout);
    const auto bytes = static_cast<std::size_t>(std::min(barWidth_, picture_.width) * pixel);
    const std::array<int, 2> place{barPosition(2 * frame),
                                   barPosition(2 * frame + (scan_ == Scan::Interlaced ? 1 : 0))};
    for (int y = bars_.y; y < bars_.y + bars_.height; ++y) {
        const auto parity = static_cast<std::size_t>(y % 2);
        std::uint8_t *line = picture_.line(y);
        if (const int before = shownAt_[parity]; before >= 0)
            std::memcpy(line + before * pixel, barsLine_.data() + before * pixel, bytes);
        std::memcpy(line + place[parity] * pixel, whiteLine_.data(), bytes);
    }
    shownAt_ = place;
}

// Once across the picture in about 240 frames.
int TestPicture::barPosition(std::uint64_t halfFrame) const
{
    const auto room = static_cast<std::uint64_t>(std::max(picture_.width - barWidth_, 0) + 2);
    const auto step = static_cast<std::uint64_t>(std::max(2, picture_.width / 480 & ~1));
    return static_cast<int>(halfFrame % room * step % room) & ~1;
}

void TestPicture::drawFigures(std::uint64_t frame)
{
    if (digitScale_ < 2)
        return;
    const int y = flashBox_.y + (flashBox_.height - kDigitRows * digitScale_) / 2;
    drawNumber(picture_, digitScale_, y, digitScale_, frame, kDigits);
}

} // namespace pattern
