#include "ndi/tools/ndi-send/Y4mReader.h"

#include "ndi/tools/ndi-send/Failure.h"
#include "ndi/tools/ndi-send/Limits.h"

#include <algorithm>
#include <charconv>
#include <istream>
#include <sstream>
#include <string_view>

namespace ndisend
{

namespace
{

constexpr std::size_t LongestLine = 1024;
constexpr std::int64_t MostPixels = 64LL << 20;

struct ChromaName {
    std::string_view name;
    Chroma chroma;
};

constexpr ChromaName ChromaNames[] = {{"420", Chroma::Yuv420},      {"420jpeg", Chroma::Yuv420},
                                      {"420mpeg2", Chroma::Yuv420}, {"420paldv", Chroma::Yuv420},
                                      {"422", Chroma::Yuv422},      {"444", Chroma::Yuv444}};

[[noreturn]] void refuseY4m(const std::string &why)
{
    throw Failure(ExitCode::BadData, "y4m: " + why);
}

// A line without its end; nothing at the end of the stream.
std::optional<std::string> readLine(std::istream &stream)
{
    std::string line;
    for (char c = 0; stream.get(c);) {
        if (c == '\n')
            return line;
        if (line.size() == LongestLine)
            refuseY4m("a header line has no end");
        line += c;
    }
    if (!line.empty())
        refuseY4m("the stream ends within a header line");
    return std::nullopt;
}

int parseNumber(std::string_view text, const std::string &tag, int most)
{
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < 0 || number > most)
        refuseY4m("'" + tag + "' in the header is out of range");
    return number;
}

// "N:D"; nothing when one of them is 0, which stands for unknown.
std::optional<pattern::FrameRate> parseFraction(const std::string &tag)
{
    const std::string_view text = std::string_view(tag).substr(1);
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos)
        refuseY4m("'" + tag + "' in the header is not a fraction");
    const int numerator = parseNumber(text.substr(0, colon), tag, MostRate);
    const int denominator = parseNumber(text.substr(colon + 1), tag, MostRate);
    if (numerator == 0 || denominator == 0)
        return std::nullopt;
    return pattern::FrameRate{numerator, denominator};
}

Chroma parseChroma(const std::string &tag)
{
    const std::string_view name = std::string_view(tag).substr(1);
    for (const ChromaName &known : ChromaNames) {
        if (known.name == name)
            return known.chroma;
    }
    refuseY4m("'" + tag + "' is not 8 bit 4:2:0, 4:2:2 or 4:4:4");
}

bool parseInterlace(const std::string &tag)
{
    if (tag == "Ib")
        refuseY4m("the lower field comes first, which cannot be sent");
    return tag == "It";
}

void applyTag(const std::string &tag, Y4mHeader &header)
{
    switch (tag.front()) {
    case 'W':
        header.width = parseNumber(std::string_view(tag).substr(1), tag, LargestSide);
        break;
    case 'H':
        header.height = parseNumber(std::string_view(tag).substr(1), tag, LargestSide);
        break;
    case 'F':
        header.rate = parseFraction(tag);
        break;
    case 'I':
        header.interlaced = parseInterlace(tag);
        break;
    case 'C':
        header.chroma = parseChroma(tag);
        break;
    case 'A':
        if (const auto aspect = parseFraction(tag))
            header.pixelAspect = static_cast<float>(aspect->numerator) / static_cast<float>(aspect->denominator);
        break;
    default:
        break;
    }
}

Y4mHeader parseHeader(const std::string &line)
{
    std::istringstream tags(line);
    std::string tag;
    tags >> tag;
    if (tag != "YUV4MPEG2")
        refuseY4m("the stream does not begin with YUV4MPEG2");

    Y4mHeader header;
    while (tags >> tag)
        applyTag(tag, header);
    if (header.width < 2 || header.height < 1 || std::int64_t{header.width} * header.height > MostPixels)
        refuseY4m("a picture of " + std::to_string(header.width) + " x " + std::to_string(header.height) +
                  " cannot be sent");
    return header;
}

} // namespace

std::size_t Y4mHeader::lumaBytes() const
{
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

std::size_t Y4mHeader::chromaBytes() const
{
    return static_cast<std::size_t>(chromaWidth()) * static_cast<std::size_t>(chromaHeight());
}

Y4mReader::Y4mReader(std::istream &stream) : m_stream(stream)
{
    const auto line = readLine(m_stream);
    if (!line)
        refuseY4m("the stream is empty");
    m_header = parseHeader(*line);
    m_firstFrame = m_stream.tellg();
}

bool Y4mReader::readFrame(std::vector<std::uint8_t> &planes)
{
    const auto line = readLine(m_stream);
    if (!line)
        return false;
    if (*line != "FRAME" && line->compare(0, 6, "FRAME ") != 0)
        refuseY4m("frame " + std::to_string(m_framesRead) + " does not begin with FRAME");

    planes.resize(m_header.frameBytes());
    if (!m_stream.read(reinterpret_cast<char *>(planes.data()), static_cast<std::streamsize>(planes.size())))
        refuseY4m("frame " + std::to_string(m_framesRead) + " is cut short");
    ++m_framesRead;
    return true;
}

bool Y4mReader::rewind()
{
    if (m_firstFrame < 0)
        return false;
    m_stream.clear();
    m_stream.seekg(m_firstFrame);
    m_framesRead = 0;
    return static_cast<bool>(m_stream);
}

} // namespace ndisend
