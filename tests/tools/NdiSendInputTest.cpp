#include "tests/tools/SenderProcess.h"
#include "tests/tools/WavFile.h"

#include <QtCore/QTemporaryDir>

#include <gmock/gmock.h>

namespace
{

// Two channels: sample n of the left one is n, of the right one -n.
QByteArray countingSound(int samples)
{
    return wavFile(2, samples, [](int sample, int channel) { return channel == 0 ? sample : -sample; });
}

TEST_F(NdiSend, StandardInputIsPublishedFrameByFrame)
{
    constexpr int frames = 12;
    Sender sender(words("--video -"));
    sender.write(greyFilm(1));
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    ASSERT_TRUE(sender.waitForLine("connections: 1"));
    // Each frame is written when the one before it has come.
    for (int frame = 1; frame < frames; ++frame) {
        sender.write(greyFilm(frame + 1).mid(greyFilm(frame).size()));
        const auto video = receiver.nextOf<ReceivedVideo>();
        ASSERT_TRUE(video) << frame;
        EXPECT_EQ(video->header.xres, 64);
        EXPECT_EQ(video->header.yres, 48);
        for (std::size_t at = 0; at < video->pixels.size(); at += 2) {
            ASSERT_EQ(video->pixels[at], 128) << frame;
            ASSERT_EQ(video->pixels[at + 1], 40 + frame) << frame;
        }
    }
}

TEST_F(NdiSend, ASoundFileIsPublishedSampleBySample)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("sound.wav"));
    writeFile(path, countingSound(30000));
    Sender sender(words("--no-video --rate 50 --loop --audio") << path);
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    for (int i = 0; i < 10; ++i) {
        const auto audio = receiver.nextOf<ReceivedAudio>();
        ASSERT_TRUE(audio);
        ASSERT_EQ(audio->header.no_channels, 2);
        EXPECT_EQ(audio->header.sample_rate, 48000);
        ASSERT_EQ(audio->header.no_samples, 960);
        const std::int64_t first = audio->header.timecode * 48 / 10000;
        EXPECT_EQ(first % 960, 0);
        for (std::size_t sample = 0; sample < 960; ++sample) {
            const float value = static_cast<float>((first + static_cast<std::int64_t>(sample)) % 30000) / 32768.0F;
            ASSERT_EQ(audio->samples[sample], value) << sample;
            ASSERT_EQ(audio->samples[960 + sample], -value) << sample;
        }
    }
}

TEST_F(NdiSend, ASoundFileEndsTheProgramWhenItEnds)
{
    const QTemporaryDir folder;
    const QString sound = folder.filePath(QStringLiteral("sound.wav"));
    const QString summary = folder.filePath(QStringLiteral("summary.json"));
    writeFile(sound, countingSound(960 * 5));
    Sender sender(words("--no-video --rate 50")
                  << QStringLiteral("--audio") << sound << QStringLiteral("--json") << summary);
    EXPECT_EQ(sender.wait(), 0);
    EXPECT_EQ(readJson(summary)[QStringLiteral("ended")].toString(), QStringLiteral("input"));
    EXPECT_EQ(readJson(summary)[QStringLiteral("audioSamples")].toInt(), 960 * 5);
}

} // namespace
