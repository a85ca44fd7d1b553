#include "ndi/tools/ndi-send/Y4mSource.h"

namespace ndisend
{

namespace
{

Y4mHeader headerFor(const Options &options, Y4mHeader header)
{
    header.interlaced = options.interlaced.value_or(header.interlaced);
    return header;
}

VideoFormat formatOf(const Options &options, const Y4mHeader &header, int width)
{
    VideoFormat format;
    format.width = width;
    format.height = header.height;
    format.fourCC = NDIlib_FourCC_video_type_UYVY;
    format.rate = options.rate ? *options.rate : header.rate.value_or(pattern::FrameRate{});
    format.interlaced = options.interlaced.value_or(header.interlaced);
    format.aspect = header.pixelAspect * static_cast<float>(width) / static_cast<float>(header.height);
    return format;
}

} // namespace

Y4mSource::Y4mSource(const Options &options)
    : m_input(QStringLiteral("video"), options.videoFile), m_reader(m_input.stream()),
      m_converter(headerFor(options, m_reader.header())),
      m_format(formatOf(options, m_reader.header(), m_converter.width())), m_loop(options.loop)
{
    for (auto &picture : m_pictures)
        picture.resize(static_cast<std::size_t>(m_converter.stride()) * static_cast<std::size_t>(m_format.height));
}

bool Y4mSource::prepare(std::int64_t)
{
    if (!readFrame())
        return false;
    m_turn = 1 - m_turn;
    m_converter.convert(m_planes, m_pictures[m_turn].data());
    return true;
}

bool Y4mSource::readFrame()
{
    if (m_reader.readFrame(m_planes))
        return true;
    return m_loop && m_reader.rewind() && m_reader.readFrame(m_planes);
}

pattern::Picture Y4mSource::finish()
{
    return {m_pictures[m_turn].data(), m_converter.stride(), m_format.width, m_format.height,
            pattern::PixelLayout::UYVY};
}

} // namespace ndisend
