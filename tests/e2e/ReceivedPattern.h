#pragma once

#include "pattern/FrameRate.h"
#include "pattern/PatternCode.h"
#include "pattern/TestPicture.h"
#include "tests/e2e/TestReceiver.h"

#include <cstring>
#include <optional>

// The code in a picture of the test pattern; nothing when a single byte is not as the pattern has it.
inline std::optional<pattern::PatternCode> exactPattern(const ReceivedPicture &picture, const pattern::FrameRate &rate)
{
    const auto layout = picture.header.FourCC == NDIlib_FourCC_video_type_UYVY ? pattern::PixelLayout::UYVY
                                                                               : pattern::PixelLayout::BGRA;
    pattern::TestPicture expected(layout, picture.header.xres, picture.header.yres);
    const pattern::Picture &whole = expected.picture();
    const auto *const pixels = reinterpret_cast<const std::uint8_t *>(picture.bytes.constData());
    const auto code = pattern::readCode(pattern::ConstPicture{pixels, whole.stride, whole.width, whole.height, layout});
    if (!code)
        return std::nullopt;
    expected.draw(code->frame, pattern::isFlashFrame(static_cast<std::int64_t>(code->frame), rate));
    expected.stamp(*code);
    const bool isExact = std::memcmp(pixels, whole.topLine, static_cast<std::size_t>(picture.bytes.size())) == 0;
    return isExact ? code : std::nullopt;
}
