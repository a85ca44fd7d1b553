#include "ndi/tools/ndi-send/PatternSource.h"

namespace ndisend
{

namespace
{

// The pattern is painted in pairs of pixels.
int evenWidth(int width)
{
    return width + width % 2;
}

} // namespace

PatternSource::PatternSource(const VideoFormat &format) : m_format(format)
{
    const bool uyvy = format.fourCC == NDIlib_FourCC_video_type_UYVY;
    for (auto &picture : m_pictures) {
        picture = std::make_unique<pattern::TestPicture>(
            uyvy ? pattern::PixelLayout::UYVY : pattern::PixelLayout::BGRA, evenWidth(format.width), format.height,
            format.interlaced ? pattern::Scan::Interlaced : pattern::Scan::Progressive);
    }
}

bool PatternSource::prepare(std::int64_t frame)
{
    m_turn = 1 - m_turn;
    m_frame = frame;
    m_pictures[m_turn]->draw(static_cast<std::uint64_t>(frame), pattern::isFlashFrame(frame, m_format.rate));
    return true;
}

pattern::Picture PatternSource::finish()
{
    const pattern::Picture picture = shown();
    pattern::writeCode(picture, {static_cast<std::uint64_t>(m_frame), pattern::steadyNowHns()});
    return picture;
}

// Of an odd width, the last column that was painted is part of the stride alone.
pattern::Picture PatternSource::shown() const
{
    pattern::Picture picture = m_pictures[m_turn]->picture();
    picture.width = m_format.width;
    return picture;
}

} // namespace ndisend
