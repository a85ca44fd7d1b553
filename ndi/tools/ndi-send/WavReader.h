#pragma once

// Reads a RIFF/WAVE stream: integers of 16, 24 or 32 bits or 32-bit float, as float samples from -1 to 1. Nothing in
// the stream is trusted; what cannot be read is a Failure with ExitCode::BadData.

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <vector>

namespace ndisend
{

struct WavFormat {
    enum class Encoding { Integer, Float };

    Encoding encoding = Encoding::Integer;
    int channels = 0;
    int sampleRate = 0; // Hz
    int sampleBytes = 0;

    int frameBytes() const { return channels * sampleBytes; }
};

class WavReader
{
public:
    // Reads as far as the samples. The stream must outlive the reader.
    explicit WavReader(std::istream &stream);

    const WavFormat &format() const { return m_format; }

    // Reads at most `count` samples of every channel; channel c goes to planar + c * channelStride (in samples).
    // Returns how many there were: fewer than asked for at the end only.
    int read(int count, float *planar, int channelStride);

    // Goes back to the first sample; false when the stream cannot.
    bool rewind();

private:
    void readFormat(std::uint32_t size);
    void skip(std::uint64_t size);
    float sampleAt(const std::uint8_t *bytes) const;

    std::istream &m_stream;
    WavFormat m_format;
    std::optional<std::uint64_t> m_size; // bytes of samples; nothing when a pipe's writer did not know
    std::uint64_t m_bytesRead = 0;
    std::int64_t m_firstSample = -1; // place in the stream, -1 when it has none
    std::vector<std::uint8_t> m_bytes;
};

} // namespace ndisend
