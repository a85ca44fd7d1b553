// ndi-recv as a process: what it writes is, bit by bit, what ndi-send was given.

#include "tests/tools/RecvProcess.h"
#include "tests/tools/WavFile.h"

#include "pattern/PatternCode.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtGui/QImage>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <vector>

namespace
{

constexpr int Width = 64;
constexpr int Height = 48;
constexpr int PictureBytes = Width * Height * 2;
constexpr int FilmLength = 60;

// Pictures of noise, so that each is unlike all others in every part.
std::vector<QByteArray> noise()
{
    std::mt19937 random(1);
    std::vector<QByteArray> pictures;
    for (int i = 0; i < FilmLength; ++i) {
        QByteArray picture(PictureBytes, 0);
        for (char &byte : picture)
            byte = static_cast<char>(random());
        pictures.push_back(picture);
    }
    return pictures;
}

QByteArray film(const char *scan, const std::vector<QByteArray> &pictures)
{
    QByteArray bytes = QByteArray("YUV4MPEG2 W64 H48 F25:1 ") + scan + " C422\n";
    for (const QByteArray &picture : pictures)
        bytes += "FRAME\n" + picture;
    return bytes;
}

struct Way {
    const char *scan;
    const char *option;
};

class NdiRecvVideo : public NdiRecv, public testing::WithParamInterface<Way>
{
};

TEST_P(NdiRecvVideo, IsRecordedBitByBit)
{
    const std::vector<QByteArray> pictures = noise();
    writeFile(path("film.y4m"), film(GetParam().scan, pictures));
    const Sender sender(words("--loop --video") << path("film.y4m"));
    Recv recv(sender.name(), words("--frames 12") << "--record-video" << path("a.y4m") << words(GetParam().option),
              jsonFile());
    ASSERT_EQ(recv.wait(), 0);
    EXPECT_EQ(recv.errors(), "");
    const QByteArray recorded = content("a.y4m");
    const QByteArray header = QByteArray("YUV4MPEG2 W64 H48 F25:1 ") + GetParam().scan + " A0:0 C422\n";
    ASSERT_TRUE(recorded.startsWith(header)) << recorded.left(60).toStdString();
    ASSERT_EQ(recorded.size(), header.size() + 12 * (6 + PictureBytes));

    int skipped = 0;
    std::ptrdiff_t last = -1;
    for (int frame = 0; frame < 12; ++frame) {
        const int at = header.size() + frame * (6 + PictureBytes);
        ASSERT_EQ(recorded.mid(at, 6), "FRAME\n");
        const auto found = std::find(pictures.begin(), pictures.end(), recorded.mid(at + 6, PictureBytes));
        ASSERT_NE(found, pictures.end()) << "frame " << frame << " is none of the film's";
        const std::ptrdiff_t place = found - pictures.begin();
        if (frame > 0)
            skipped += static_cast<int>((place - last - 1 + FilmLength) % FilmLength);
        last = place;
    }
    EXPECT_EQ(recv["lostFrames"].toInt(), skipped);
    EXPECT_EQ(recv["videoFrames"].toInt(), 12);
    EXPECT_EQ(recv["leftOut"].toInt(), 0);
}

INSTANTIATE_TEST_SUITE_P(All, NdiRecvVideo, testing::Values(Way{"Ip", ""}, Way{"It", ""}, Way{"It", "--whole-frames"}),
                         [](const auto &tested) {
                             const bool whole = *tested.param.option != '\0';
                             return std::string(tested.param.scan) + (whole ? "WholeFrames" : "");
                         });

constexpr int SoundLength = 30000;

std::int16_t soundAt(std::int64_t sample, int channel)
{
    return static_cast<std::int16_t>(sample % SoundLength - 100 * channel);
}

class NdiRecvSound : public NdiRecv, public testing::WithParamInterface<int>
{
};

TEST_P(NdiRecvSound, IsRecordedSampleBySample)
{
    const int channels = GetParam();
    writeFile(path("sound.wav"), wavFile(channels, SoundLength, soundAt));
    const Sender sender(words("--no-video --rate 50 --loop --audio") << path("sound.wav"));
    Recv recv(sender.name(), words("--seconds 0.8") << "--record-audio" << path("a.wav"), jsonFile());
    ASSERT_EQ(recv.wait(), 0);
    EXPECT_EQ(recv["lostSamples"].toInt(), 0);
    const int samples = recv["audioSamples"].toInt();
    EXPECT_GE(samples, 960);

    const QByteArray recorded = content("a.wav");
    ASSERT_EQ(recorded.size(), 58 + samples * channels * 4);
    EXPECT_EQ(qFromLittleEndian<quint16>(recorded.data() + 20), 3); // float
    EXPECT_EQ(qFromLittleEndian<quint16>(recorded.data() + 22), channels);
    EXPECT_EQ(qFromLittleEndian<quint32>(recorded.data() + 24), 48000U);
    EXPECT_EQ(qFromLittleEndian<quint32>(recorded.data() + 54), static_cast<quint32>(samples * channels * 4));
    std::vector<float> sound(static_cast<std::size_t>(samples * channels));
    std::memcpy(sound.data(), recorded.data() + 58, sound.size() * sizeof(float));
    const auto first = static_cast<std::int64_t>(sound.front() * 32768.0F);
    for (std::size_t i = 0; i < sound.size(); ++i) {
        const auto channel = static_cast<int>(i % static_cast<std::size_t>(channels));
        const auto sample = first + static_cast<std::int64_t>(i / static_cast<std::size_t>(channels));
        ASSERT_EQ(sound[i], static_cast<float>(soundAt(sample, channel)) / 32768.0F) << sample << " " << channel;
    }
}

INSTANTIATE_TEST_SUITE_P(Channels, NdiRecvSound, testing::Values(1, 8));

TEST_F(NdiRecv, RawFilesAndTheSnapshotHoldAlphaAsItCame)
{
    const Sender sender(words("--size 320x240 --rate 25 --format BGRA --no-audio"));
    Recv recv(sender.name(), words("--frames 5") << "--record-raw" << path("a.raw") << "--snapshot" << path("a.png"),
              jsonFile());
    ASSERT_EQ(recv.wait(), 0);
    EXPECT_EQ(recv["subtype"].toString(), "BGRA");
    constexpr int Bytes = 320 * 240 * 4;
    const QByteArray raw = content("a.raw");
    ASSERT_EQ(raw.size(), 5 * Bytes);
    const auto numberOf = [&](int picture) {
        const auto *bytes = reinterpret_cast<const std::uint8_t *>(raw.constData()) + std::ptrdiff_t{picture} * Bytes;
        const auto code = pattern::readCode(pattern::ConstPicture{bytes, 1280, 320, 240, pattern::PixelLayout::BGRA});
        return code ? static_cast<int>(code->frame) : -1;
    };
    EXPECT_EQ(numberOf(0), recv["firstFrame"].toInt());
    EXPECT_EQ(numberOf(4), recv["lastFrame"].toInt());

    const QImage image = QImage(path("a.png")).convertToFormat(QImage::Format_ARGB32);
    ASSERT_EQ(image.sizeInBytes(), Bytes);
    EXPECT_EQ(std::memcmp(image.constBits(), raw.constData() + std::ptrdiff_t{4} * Bytes, Bytes), 0);
}

TEST_F(NdiRecv, SnapshotsOfRgbaHaveTheirColoursRight)
{
    const Sender sender(words("--size 320x240 --rate 25 --format BGRA --no-audio"));
    Recv recv(sender.name(), words("--frames 1 --color rgba") << "--snapshot" << path("a.png"), jsonFile());
    ASSERT_EQ(recv.wait(), 0);
    EXPECT_EQ(recv["subtype"].toString(), "RGBA");
    // The last but one of the colour bars is blue, the one before it red; no white bar is there so early.
    const QImage image(path("a.png"));
    EXPECT_GT(qRed(image.pixel(320 * 11 / 16, 150)), qBlue(image.pixel(320 * 11 / 16, 150)) + 100);
    EXPECT_GT(qBlue(image.pixel(320 * 13 / 16, 150)), qRed(image.pixel(320 * 13 / 16, 150)) + 100);
}

TEST_F(NdiRecv, PicturesThatY4mCannotHoldEndWith73AndTheRestIsReceived)
{
    const Sender sender(words("--size 320x240 --rate 25 --format BGRA"));
    Recv recv(sender.name(), words("--frames 5") << "--record-video" << path("a.y4m"), jsonFile());
    EXPECT_EQ(recv.wait(), 73);
    EXPECT_THAT(recv.errors(), testing::AllOf(testing::StartsWith("ndi-recv: --record-video: "),
                                              testing::HasSubstr("BGRA"), testing::HasSubstr("--record-raw")));
    EXPECT_EQ(recv["videoFrames"].toInt(), 5);
    EXPECT_EQ(recv["errors"].toArray().size(), 1);
}

TEST_F(NdiRecv, AFileThatCannotBeMadeEndsWith73)
{
    const Sender sender(words("--size 320x240 --rate 25"));
    Recv recv(sender.name(), words("--frames 2 --record-video /no/such/folder/a.y4m"), jsonFile());
    EXPECT_EQ(recv.wait(), 73);
    EXPECT_THAT(recv.errors(), testing::StartsWith("ndi-recv: --record-video: /no/such/folder/a.y4m: "));
}

TEST_F(NdiRecv, WritesMetadataOfBothKinds)
{
    const QString text = QString::fromUtf8("<a b=\"\xc3\xbc\"/>\nnot \\ XML");
    const Sender sender(words("--size 320x240 --rate 50") << "--metadata" << text << "--frame-metadata"
                                                          << "<f/>");
    Recv recv(sender.name(), words("--frames 30") << "--metadata" << path("a.txt"), jsonFile());
    ASSERT_EQ(recv.wait(), 0);
    std::map<QString, int> kinds;
    int texts = 0;
    for (const QByteArray &line : content("a.txt").split('\n')) {
        if (line.isEmpty())
            continue;
        const QJsonObject record = QJsonDocument::fromJson(line).object();
        const QString kind = record["kind"].toString();
        ++kinds[kind];
        if (kind != "metadata")
            EXPECT_EQ(record["text"].toString(), "<f/>");
        else if (record["text"].toString() == text)
            ++texts;
        bool isNumber = false;
        record["timecode"].toString().toLongLong(&isNumber);
        EXPECT_TRUE(isNumber) << line.toStdString();
    }
    EXPECT_GE(texts, 1);
    EXPECT_EQ(kinds["metadata"], recv["metadataFrames"].toInt());
    EXPECT_EQ(kinds["video"], 30);
    EXPECT_EQ(kinds["video"], recv["videoMetadata"].toInt());
    EXPECT_EQ(kinds["audio"], recv["audioMetadata"].toInt());
    EXPECT_GT(kinds["audio"], 0);
}

} // namespace
