#include "ndi/tools/ndi-send/WavReader.h"

#include "tests/tools/FailureMatcher.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>

using namespace ndisend;
using nditools::ExitCode;

namespace
{

constexpr std::uint32_t SizeUnknown = 0xffffffffU;

std::string number(std::uint64_t value, int bytes)
{
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(value >> (8 * i) & 0xff);
    return text;
}

std::string chunk(const std::string &name, const std::string &body)
{
    return name + number(body.size(), 4) + body + std::string(body.size() % 2, '\0');
}

std::string formatBody(unsigned encoding, unsigned channels, unsigned rate, unsigned bits)
{
    return number(encoding, 2) + number(channels, 2) + number(rate, 4) + number(rate * channels * bits / 8, 4) +
           number(channels * bits / 8, 2) + number(bits, 2);
}

std::string wav(const std::string &format, const std::string &samples)
{
    const std::string body = "WAVE" + chunk("fmt ", format) + chunk("data", samples);
    return "RIFF" + number(body.size(), 4) + body;
}

std::string floatBytes(float value)
{
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return number(bits, 4);
}

std::vector<float> readAll(const std::string &bytes, int count = 16)
{
    std::istringstream stream(bytes);
    WavReader reader(stream);
    std::vector<float> samples(static_cast<std::size_t>(count * reader.format().channels), 9.0F);
    const int got = reader.read(count, samples.data(), count);
    std::vector<float> result;
    for (int channel = 0; channel < reader.format().channels; ++channel) {
        const auto first = samples.begin() + std::ptrdiff_t{channel} * count;
        result.insert(result.end(), first, first + got);
    }
    return result;
}

TEST(WavReader, Reads16BitIntegers)
{
    EXPECT_EQ(readAll(wav(formatBody(1, 1, 48000, 16), number(0x4000, 2) + number(0x8000, 2) + number(0, 2))),
              (std::vector<float>{0.5F, -1.0F, 0.0F}));
}

TEST(WavReader, Reads24BitIntegers)
{
    EXPECT_EQ(readAll(wav(formatBody(1, 1, 48000, 24), number(0x400000, 3) + number(0x800000, 3))),
              (std::vector<float>{0.5F, -1.0F}));
}

TEST(WavReader, Reads32BitIntegers)
{
    EXPECT_EQ(readAll(wav(formatBody(1, 1, 48000, 32), number(0x40000000, 4) + number(0xc0000000, 4))),
              (std::vector<float>{0.5F, -0.5F}));
}

TEST(WavReader, ReadsFloatsAndSilencesWhatIsNoNumber)
{
    const std::string samples = floatBytes(0.25F) + floatBytes(std::numeric_limits<float>::quiet_NaN()) +
                                floatBytes(std::numeric_limits<float>::infinity());
    EXPECT_EQ(readAll(wav(formatBody(3, 1, 48000, 32), samples)), (std::vector<float>{0.25F, 0.0F, 0.0F}));
}

TEST(WavReader, SeparatesTheChannels)
{
    const std::string samples = number(0x4000, 2) + number(0xc000, 2) + number(0x2000, 2) + number(0xe000, 2);
    EXPECT_EQ(readAll(wav(formatBody(1, 2, 48000, 16), samples)), (std::vector<float>{0.5F, 0.25F, -0.5F, -0.25F}));
}

TEST(WavReader, ReadsTheExtensibleFormat)
{
    const std::string extension = number(22, 2) + number(16, 2) + number(3, 4) + number(1, 2) + std::string(14, 'g');
    EXPECT_EQ(readAll(wav(formatBody(0xfffe, 1, 48000, 16) + extension, number(0x4000, 2))),
              (std::vector<float>{0.5F}));
}

TEST(WavReader, SkipsOtherChunksAndTheirPadding)
{
    const std::string body = "WAVE" + chunk("LIST", "odd") + chunk("fmt ", formatBody(1, 1, 44100, 16)) +
                             chunk("fact", "four") + chunk("data", number(0x4000, 2));
    EXPECT_EQ(readAll("RIFF" + number(body.size(), 4) + body), (std::vector<float>{0.5F}));
}

TEST(WavReader, ReadsAPipeOfUnknownLengthToItsEnd)
{
    const std::string body = "WAVE" + chunk("fmt ", formatBody(1, 1, 48000, 16)) + "data" + number(SizeUnknown, 4) +
                             number(0x4000, 2) + number(0x2000, 2);
    EXPECT_EQ(readAll("RIFF" + number(SizeUnknown, 4) + body), (std::vector<float>{0.5F, 0.25F}));
}

TEST(WavReader, StopsAtTheEndOfTheSamplesNotOfTheFile)
{
    const std::string bytes = wav(formatBody(1, 1, 48000, 16), number(0x4000, 2)) + chunk("LIST", "after");
    EXPECT_EQ(readAll(bytes), (std::vector<float>{0.5F}));
}

TEST(WavReader, BeginsAgainAfterTheEnd)
{
    std::istringstream stream(wav(formatBody(1, 1, 48000, 16), number(0x4000, 2) + number(0x2000, 2)));
    WavReader reader(stream);
    float samples[4] = {};
    EXPECT_EQ(reader.read(4, samples, 4), 2);
    EXPECT_EQ(reader.read(4, samples, 4), 0);
    ASSERT_TRUE(reader.rewind());
    EXPECT_EQ(reader.read(1, samples, 1), 1);
    EXPECT_EQ(samples[0], 0.5F);
}

TEST(WavReader, SamplesThatAreCutShortAreRefused)
{
    std::string bytes = wav(formatBody(1, 2, 48000, 16), std::string(400, 'x'));
    bytes.resize(bytes.size() - 100);
    std::istringstream stream(bytes);
    WavReader reader(stream);
    std::vector<float> samples(400);
    EXPECT_EQ(reader.read(50, samples.data(), 200), 50);
    expectFailure(ExitCode::BadData, {"wav", "100 bytes"}, [&] { reader.read(200, samples.data(), 200); });
}

struct BadWav {
    std::string bytes;
    std::string word;
};

class WavReaderBadHeader : public testing::TestWithParam<BadWav>
{
};

TEST_P(WavReaderBadHeader, IsRefusedWithTheReason)
{
    std::istringstream stream(GetParam().bytes);
    expectFailure(ExitCode::BadData, {"wav", GetParam().word}, [&] { WavReader reader(stream); });
}

const std::string Riff = "RIFF" + number(100, 4) + "WAVE";

INSTANTIATE_TEST_SUITE_P(
    All, WavReaderBadHeader,
    testing::Values(
        BadWav{"", "ends"}, BadWav{"RIFF", "ends"}, BadWav{"RIFX____WAVE", "begin"}, BadWav{"RIFF____AVI ", "begin"},
        BadWav{Riff, "ends"}, BadWav{Riff + chunk("data", "ab"), "before their format"},
        BadWav{Riff + chunk("fmt ", "short"), "5 bytes"}, BadWav{Riff + "fmt " + number(0x7fffffff, 4), "format chunk"},
        BadWav{Riff + "fmt " + number(40, 4) + "little", "ends"},
        BadWav{Riff + "LIST" + number(0xffffffff, 4) + "little", "ends"},
        BadWav{wav(formatBody(1, 2, 48000, 8), ""), "8 bits"}, BadWav{wav(formatBody(3, 2, 48000, 64), ""), "64 bits"},
        BadWav{wav(formatBody(85, 2, 48000, 16), ""), "encoding 85"},
        BadWav{wav(formatBody(0xfffe, 2, 48000, 16), ""), "encoding 65534"},
        BadWav{wav(formatBody(1, 0, 48000, 16), ""), "0 channels"},
        BadWav{wav(formatBody(1, 65, 48000, 16), ""), "65 channels"}, BadWav{wav(formatBody(1, 2, 0, 16), ""), "0 Hz"},
        BadWav{wav(formatBody(1, 2, 0xffffffff, 16), ""), "4294967295 Hz"},
        BadWav{wav(number(1, 2) + number(2, 2) + number(48000, 4) + number(0, 4) + number(3, 2) + number(16, 2), ""),
               "block size"}));

} // namespace
