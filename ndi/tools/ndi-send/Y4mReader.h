#pragma once

// Reads a YUV4MPEG2 stream: one text line about the pictures, then frames of three planes, 8 bits a sample. Nothing in
// the stream is trusted; what cannot be read is a Failure with ExitCode::BadData.

#include "pattern/FrameRate.h"

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace ndisend
{

enum class Chroma { Yuv420, Yuv422, Yuv444 };

struct Y4mHeader {
    int width = 0;
    int height = 0;
    Chroma chroma = Chroma::Yuv420;
    std::optional<pattern::FrameRate> rate;
    bool interlaced = false;  // upper field first
    float pixelAspect = 0.0F; // width of a pixel by its height; 0: unknown

    int chromaWidth() const { return chroma == Chroma::Yuv444 ? width : (width + 1) / 2; }
    int chromaHeight() const { return chroma == Chroma::Yuv420 ? (height + 1) / 2 : height; }
    std::size_t lumaBytes() const;
    std::size_t chromaBytes() const; // of one of the two planes
    std::size_t frameBytes() const { return lumaBytes() + 2 * chromaBytes(); }
};

class Y4mReader
{
public:
    // Reads the header. The stream must outlive the reader.
    explicit Y4mReader(std::istream &stream);

    const Y4mHeader &header() const { return m_header; }

    // Fills the vector with the planes Y, Cb and Cr of the next frame; false at the end of the stream.
    bool readFrame(std::vector<std::uint8_t> &planes);

    // Goes back to the first frame; false when the stream cannot.
    bool rewind();

private:
    std::istream &m_stream;
    Y4mHeader m_header;
    std::int64_t m_firstFrame = -1; // place in the stream, -1 when it has none
    std::int64_t m_framesRead = 0;
};

} // namespace ndisend
