#include "ndi/tools/ndi-send/PatternSource.h"

namespace ndisend
{

PatternSource::PatternSource(const VideoFormat &format) : m_format(format)
{
    const bool uyvy = format.fourCC == NDIlib_FourCC_video_type_UYVY;
    for (auto &picture : m_pictures) {
        picture = std::make_unique<pattern::TestPicture>(
            uyvy ? pattern::PixelLayout::UYVY : pattern::PixelLayout::BGRA, format.width, format.height,
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
    m_pictures[m_turn]->stamp({static_cast<std::uint64_t>(m_frame), pattern::steadyNowHns()});
    return m_pictures[m_turn]->picture();
}

} // namespace ndisend
