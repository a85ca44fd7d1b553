#include "ndi/tools/ndi-send/WavReader.h"

#include "ndi/tools/ndi-send/Failure.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <istream>
#include <string>

namespace ndisend
{

namespace
{

constexpr std::uint32_t FormatInteger = 1;
constexpr std::uint32_t FormatFloat = 3;
constexpr std::uint32_t FormatExtensible = 0xfffe; // the real one stands in the first two bytes of a GUID
constexpr std::uint32_t LargestFormatChunk = 4096;
constexpr std::uint32_t SizeUnknown = 0xffffffffU; // what a writer to a pipe leaves
constexpr int MostChannels = 64;
constexpr int LowestSampleRate = 1000;
constexpr int HighestSampleRate = 768000;

[[noreturn]] void refuseWav(const std::string &why)
{
    throw Failure(ExitCode::BadData, "wav: " + why);
}

void readBytes(std::istream &stream, std::uint8_t *bytes, std::size_t count)
{
    if (!stream.read(reinterpret_cast<char *>(bytes), static_cast<std::streamsize>(count)))
        refuseWav("the stream ends before its first sample");
}

std::uint32_t littleEndian(const std::uint8_t *bytes, int count)
{
    std::uint32_t value = 0;
    for (int i = count - 1; i >= 0; --i)
        value = value << 8 | bytes[i];
    return value;
}

struct ChunkHeader {
    explicit ChunkHeader(std::istream &stream)
    {
        std::array<std::uint8_t, 8> bytes{};
        readBytes(stream, bytes.data(), bytes.size());
        name.assign(bytes.begin(), bytes.begin() + 4);
        size = littleEndian(&bytes[4], 4);
    }

    std::string name;
    std::uint32_t size = 0;
};

} // namespace

WavReader::WavReader(std::istream &stream) : m_stream(stream)
{
    std::array<std::uint8_t, 12> riff{};
    readBytes(m_stream, riff.data(), riff.size());
    if (std::memcmp(riff.data(), "RIFF", 4) != 0 || std::memcmp(&riff[8], "WAVE", 4) != 0)
        refuseWav("the stream does not begin with RIFF and WAVE");

    for (;;) {
        const ChunkHeader chunk(m_stream);
        if (chunk.name == "data") {
            if (m_format.channels == 0)
                refuseWav("the samples come before their format");
            if (chunk.size != SizeUnknown)
                m_size = chunk.size;
            m_firstSample = m_stream.tellg();
            return;
        }
        if (chunk.name == "fmt ")
            readFormat(chunk.size);
        else
            skip(std::uint64_t{chunk.size} + chunk.size % 2);
    }
}

void WavReader::readFormat(std::uint32_t size)
{
    if (size < 16 || size > LargestFormatChunk)
        refuseWav("the format chunk has " + std::to_string(size) + " bytes");
    std::vector<std::uint8_t> bytes(size + size % 2);
    readBytes(m_stream, bytes.data(), bytes.size());

    std::uint32_t encoding = littleEndian(bytes.data(), 2);
    if (encoding == FormatExtensible && size >= 40)
        encoding = littleEndian(&bytes[24], 2);
    const std::uint32_t channels = littleEndian(&bytes[2], 2);
    const std::uint32_t rate = littleEndian(&bytes[4], 4);
    const std::uint32_t block = littleEndian(&bytes[12], 2);
    const std::uint32_t bits = littleEndian(&bytes[14], 2);

    const bool integer = encoding == FormatInteger && (bits == 16 || bits == 24 || bits == 32);
    if (!integer && !(encoding == FormatFloat && bits == 32))
        refuseWav("encoding " + std::to_string(encoding) + " with " + std::to_string(bits) +
                  " bits is not PCM of 16, 24 or 32 bits or 32-bit float");
    if (channels < 1 || channels > MostChannels)
        refuseWav(std::to_string(channels) + " channels cannot be sent");
    if (rate < LowestSampleRate || rate > HighestSampleRate)
        refuseWav("a sample rate of " + std::to_string(rate) + " Hz cannot be sent");
    if (block != channels * bits / 8)
        refuseWav("the block size does not fit the channels");

    m_format = {integer ? WavFormat::Encoding::Integer : WavFormat::Encoding::Float, static_cast<int>(channels),
                static_cast<int>(rate), static_cast<int>(bits / 8)};
}

// By reading, as a pipe cannot jump.
void WavReader::skip(std::uint64_t size)
{
    m_stream.ignore(static_cast<std::streamsize>(size));
    if (static_cast<std::uint64_t>(m_stream.gcount()) != size)
        refuseWav("the stream ends before its first sample");
}

int WavReader::read(int count, float *planar, int channelStride)
{
    const auto frame = static_cast<std::uint64_t>(m_format.frameBytes());
    std::uint64_t wanted = static_cast<std::uint64_t>(count) * frame;
    if (m_size)
        wanted = std::min(wanted, (*m_size - m_bytesRead) / frame * frame);
    m_bytes.resize(static_cast<std::size_t>(wanted));
    m_stream.read(reinterpret_cast<char *>(m_bytes.data()), static_cast<std::streamsize>(wanted));
    const auto got = static_cast<std::uint64_t>(m_stream.gcount());
    if (m_size && got < wanted)
        refuseWav("the stream ends " + std::to_string(*m_size - m_bytesRead - got) + " bytes before its samples do");
    m_bytesRead += got;

    const int frames = static_cast<int>(got / frame);
    const std::uint8_t *at = m_bytes.data();
    for (int i = 0; i < frames; ++i) {
        for (int channel = 0; channel < m_format.channels; ++channel, at += m_format.sampleBytes)
            planar[std::ptrdiff_t{channel} * channelStride + i] = sampleAt(at);
    }
    return frames;
}

float WavReader::sampleAt(const std::uint8_t *bytes) const
{
    if (m_format.encoding == WavFormat::Encoding::Float) {
        const std::uint32_t bits = littleEndian(bytes, 4);
        float value = 0;
        std::memcpy(&value, &bits, sizeof(value));
        return std::isfinite(value) ? value : 0.0F;
    }
    // The highest bits first, so that the sign is where a 32-bit integer has it.
    const std::uint32_t bits = littleEndian(bytes, m_format.sampleBytes) << (32 - 8 * m_format.sampleBytes);
    return static_cast<float>(static_cast<std::int32_t>(bits)) / 2147483648.0F;
}

bool WavReader::rewind()
{
    if (m_firstSample < 0)
        return false;
    m_stream.clear();
    m_stream.seekg(m_firstSample);
    m_bytesRead = 0;
    return static_cast<bool>(m_stream);
}

} // namespace ndisend
