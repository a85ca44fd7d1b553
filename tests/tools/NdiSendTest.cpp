#include "pattern/FrameRate.h"
#include "pattern/PatternCode.h"
#include "tests/tools/Receiver.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace
{

constexpr int ProcessPatience = 20000; // milliseconds

// ndi-send as a child process. Ends it, should the test have left it running.
class Sender
{
public:
    explicit Sender(QStringList arguments) : m_name(uniqueName())
    {
        arguments << QStringLiteral("--name") << QString::fromStdString(m_name);
        m_process.start(QStringLiteral(NDI_SEND_PROGRAM), arguments);
        m_process.waitForStarted(ProcessPatience);
    }

    ~Sender()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(ProcessPatience);
        }
    }

    const std::string &name() const { return m_name; }

    bool waitForLine(const std::string &line)
    {
        QElapsedTimer elapsed;
        elapsed.start();
        while (m_output.find(line + "\n") == std::string::npos && elapsed.elapsed() < ProcessPatience) {
            m_process.waitForReadyRead(100);
            m_output += m_process.readAllStandardOutput().toStdString();
        }
        return m_output.find(line + "\n") != std::string::npos;
    }

    // To its standard input, which stays open.
    void write(const QByteArray &bytes)
    {
        m_process.write(bytes);
        while (m_process.bytesToWrite() > 0 && m_process.waitForBytesWritten(ProcessPatience)) {
        }
    }

    void interrupt() { m_process.terminate(); }

    // The exit status; -1 when the program crashed or did not end.
    int wait()
    {
        if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(ProcessPatience))
            return -1;
        m_output += m_process.readAllStandardOutput().toStdString();
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    const std::string &output() const { return m_output; }
    std::string errors() { return m_process.readAllStandardError().toStdString(); }

private:
    static std::string uniqueName()
    {
        static int count = 0;
        return "test " + std::to_string(QCoreApplication::applicationPid()) + " " + std::to_string(++count);
    }

    const std::string m_name;
    QProcess m_process;
    std::string m_output;
};

QStringList words(const char *text)
{
    return QString::fromUtf8(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

QJsonObject readJson(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QJsonDocument::fromJson(file.readAll()).object();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

// Frames of one grey each, so that a picture tells which one it is.
QByteArray greyFilm(int frames)
{
    QByteArray bytes("YUV4MPEG2 W64 H48 F50:1 Ip C422\n");
    for (int i = 0; i < frames; ++i)
        bytes += "FRAME\n" + QByteArray(64 * 48, static_cast<char>(40 + i)) + QByteArray(64 * 48, char(-128));
    return bytes;
}

class NdiSend : public testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(NDIlib_initialize()); }
    static void TearDownTestSuite() { NDIlib_destroy(); }
};

TEST_F(NdiSend, HelpNamesEveryOptionAndSucceeds)
{
    Sender sender(words("--help"));
    EXPECT_EQ(sender.wait(), 0);
    EXPECT_THAT(sender.output(), testing::AllOf(testing::HasSubstr("--metadata"), testing::HasSubstr("--interleaved")));
}

TEST_F(NdiSend, WrongUseEndsWith64AndNamesTheOption)
{
    Sender sender(words("--size big"));
    EXPECT_EQ(sender.wait(), 64);
    EXPECT_EQ(sender.errors(), "ndi-send: --size: 'big' is not WIDTHxHEIGHT from 2x2 to 16384x16384\n");
    EXPECT_EQ(sender.output(), "");
}

TEST_F(NdiSend, AMissingFileEndsWith66)
{
    Sender sender(words("--video /no/such/film.y4m"));
    EXPECT_EQ(sender.wait(), 66);
    EXPECT_THAT(sender.errors(), testing::HasSubstr("--video: /no/such/film.y4m"));
}

TEST_F(NdiSend, ADamagedFileEndsWith65)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("film.y4m"));
    writeFile(path, greyFilm(3).chopped(10));
    Sender sender({QStringLiteral("--video"), path});
    EXPECT_EQ(sender.wait(), 65);
    EXPECT_THAT(sender.errors(), testing::HasSubstr("frame 2 is cut short"));
}

TEST_F(NdiSend, EndsAfterTheNumberOfFramesWithASummary)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("summary.json"));
    Sender sender(words("--size 320x240 --rate 100 --frames 20 --json") << path);
    EXPECT_EQ(sender.wait(), 0);
    const QJsonObject json = readJson(path);
    EXPECT_EQ(json[QStringLiteral("videoFrames")].toInt(), 20);
    EXPECT_EQ(json[QStringLiteral("audioSamples")].toInt(), 20 * 480);
    EXPECT_EQ(json[QStringLiteral("ended")].toString(), QStringLiteral("limit"));
    EXPECT_GE(json[QStringLiteral("seconds")].toDouble(), 0.19);
}

TEST_F(NdiSend, AnInterruptEndsItCleanly)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("summary.json"));
    Sender sender(words("--size 320x240 --json") << path);
    const Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    sender.interrupt();
    EXPECT_EQ(sender.wait(), 0);
    EXPECT_EQ(readJson(path)[QStringLiteral("ended")].toString(), QStringLiteral("interrupt"));
}

TEST_F(NdiSend, AnInterruptEndsItWhileItWaitsForAPipe)
{
    Sender sender(words("--video -"));
    sender.write(greyFilm(1));
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    sender.interrupt();
    EXPECT_EQ(sender.wait(), 0);
    EXPECT_EQ(sender.errors(), "");
}

TEST_F(NdiSend, EachFrameCarriesItsNumberAndTheTimecodeThatBelongsToIt)
{
    for (const char *format : {"UYVY", "BGRA", "BGRX"}) {
        SCOPED_TRACE(format);
        Sender sender(words("--size 640x360 --rate 60000/1001 --no-audio --format") << QLatin1String(format));
        Receiver receiver(sender.name());
        ASSERT_TRUE(receiver.found());
        std::optional<std::uint64_t> last;
        for (int i = 0; i < 10; ++i) {
            const auto video = receiver.nextOf<ReceivedVideo>();
            ASSERT_TRUE(video);
            EXPECT_EQ(video->header.xres, 640);
            EXPECT_EQ(video->header.yres, 360);
            EXPECT_EQ(video->header.frame_rate_N, 60000);
            EXPECT_EQ(video->header.frame_rate_D, 1001);
            EXPECT_EQ(video->header.frame_format_type, NDIlib_frame_format_type_progressive);
            const auto code = pattern::readCode(video->picture());
            ASSERT_TRUE(code);
            const pattern::FrameRate rate{60000, 1001};
            EXPECT_EQ(video->header.timecode,
                      rate.frameStart(static_cast<std::int64_t>(code->frame), pattern::HnsPerSecond));
            EXPECT_LE(code->sendTimeHns, pattern::steadyNowHns());
            EXPECT_TRUE(!last || code->frame > *last);
            last = code->frame;
        }
    }
}

TEST_F(NdiSend, AnInterleavedFrameCarriesItsNumberInBothFields)
{
    Sender sender(words("--size 640x480 --rate 25 --no-audio --interleaved"));
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    std::optional<ReceivedVideo> upper;
    do {
        upper = receiver.nextOf<ReceivedVideo>();
        ASSERT_TRUE(upper);
    } while (upper->header.frame_format_type != NDIlib_frame_format_type_field_0);
    const auto lower = receiver.nextOf<ReceivedVideo>();
    ASSERT_TRUE(lower);
    EXPECT_EQ(lower->header.frame_format_type, NDIlib_frame_format_type_field_1);
    const auto first = pattern::readCode(upper->picture());
    const auto second = pattern::readCode(lower->picture());
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    EXPECT_EQ(first->frame, second->frame);
}

TEST_F(NdiSend, SoundIsCutAtTheFrameBoundariesOnTheSameTimeBase)
{
    Sender sender(words("--size 160x64 --rate 30000/1001 --channels 4"));
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    const pattern::FrameRate rate{30000, 1001};
    for (int i = 0; i < 8; ++i) {
        const auto audio = receiver.nextOf<ReceivedAudio>();
        ASSERT_TRUE(audio);
        EXPECT_EQ(audio->header.no_channels, 4);
        const std::int64_t sample = (audio->header.timecode * 48 + 9999) / 10000;
        // The frame that this sound belongs to: the first one that does not start before it.
        std::int64_t frame = 0;
        while (rate.frameStart(frame, 48000) < sample)
            ++frame;
        EXPECT_EQ(rate.frameStart(frame, 48000), sample);
        EXPECT_EQ(audio->header.no_samples, rate.frameStart(frame + 1, 48000) - sample);
    }
}

TEST_F(NdiSend, TheBeepSoundsWithTheFlash)
{
    Sender sender(words("--size 320x240 --rate 50 --duration 30"));
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    std::map<std::int64_t, float> loudness; // by timecode
    int flashes = 0;
    int darks = 0;
    for (int i = 0; i < 400 && (flashes < 2 || darks < 5); ++i) {
        const auto received = receiver.next();
        ASSERT_TRUE(received);
        if (const auto *audio = std::get_if<ReceivedAudio>(&*received))
            loudness[audio->header.timecode] = audio->peak();
        const auto *video = std::get_if<ReceivedVideo>(&*received);
        if (video == nullptr || loudness.count(video->header.timecode) == 0)
            continue;
        const bool flash = video->picture().line(235)[2 * 310 + 1] > 200;
        const float peak = loudness[video->header.timecode];
        EXPECT_EQ(flash, peak > 0.4F) << "at " << video->header.timecode << ", peak " << peak;
        (flash ? flashes : darks) += 1;
    }
    EXPECT_GE(flashes, 2);
    EXPECT_GE(darks, 5);
}

TEST_F(NdiSend, FrameMetadataIsOnEveryFrame)
{
    Sender sender(words("--size 160x64 --rate 50 --frame-metadata <score>2:1</score>"));
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    for (int i = 0; i < 5; ++i) {
        const auto video = receiver.nextOf<ReceivedVideo>();
        ASSERT_TRUE(video);
        EXPECT_EQ(video->metadata, "<score>2:1</score>");
    }
    const auto audio = receiver.nextOf<ReceivedAudio>();
    ASSERT_TRUE(audio);
    EXPECT_EQ(audio->metadata, "<score>2:1</score>");
}

TEST_F(NdiSend, MetadataReachesAReceiverThatJoinsAsItIsAndComesAgain)
{
    Sender sender(words("--size 160x64 --rate 50 --metadata no<xml&"));
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    for (int i = 0; i < 2; ++i) {
        std::optional<ReceivedMetadata> metadata;
        do {
            metadata = receiver.nextOf<ReceivedMetadata>();
            ASSERT_TRUE(metadata);
        } while (metadata->text.rfind("<ndi_tally_echo", 0) == 0);
        EXPECT_EQ(metadata->text, "no<xml&");
    }
}

TEST_F(NdiSend, TellsConnectionsAndTallyAsTheyChangeAndInTheSummary)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("summary.json"));
    Sender sender(words("--size 160x64 --rate 50 --json") << path);
    {
        Receiver receiver(sender.name());
        ASSERT_TRUE(receiver.found());
        ASSERT_TRUE(sender.waitForLine("connections: 1"));
        receiver.setTally(true, false);
        EXPECT_TRUE(sender.waitForLine("tally: program on, preview off"));
        receiver.setTally(false, true);
        EXPECT_TRUE(sender.waitForLine("tally: program off, preview on"));
    }
    EXPECT_TRUE(sender.waitForLine("connections: 0"));
    sender.interrupt();
    ASSERT_EQ(sender.wait(), 0);

    const QJsonObject json = readJson(path);
    EXPECT_EQ(json[QStringLiteral("connections")][QStringLiteral("most")].toInt(), 1);
    EXPECT_EQ(json[QStringLiteral("connections")][QStringLiteral("now")].toInt(-1), 0);
    const QJsonValue program = json[QStringLiteral("tally")][QStringLiteral("program")];
    EXPECT_TRUE(program[QStringLiteral("seenOn")].toBool());
    EXPECT_TRUE(program[QStringLiteral("seenOffAgain")].toBool());
}

TEST_F(NdiSend, AFileIsPublishedInItsOwnSizeAndRateAndStartedAgain)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("film.y4m"));
    writeFile(path, greyFilm(3));
    Sender sender({QStringLiteral("--video"), path, QStringLiteral("--loop")});
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    for (int i = 0; i < 7; ++i) {
        const auto video = receiver.nextOf<ReceivedVideo>();
        ASSERT_TRUE(video);
        EXPECT_EQ(video->header.xres, 64);
        EXPECT_EQ(video->header.yres, 48);
        EXPECT_EQ(video->header.frame_rate_N, 50);
        const std::int64_t frame = video->header.timecode / 200000;
        EXPECT_EQ(video->pixels[1], 40 + frame % 3);
        EXPECT_EQ(video->pixels[0], 128);
    }
}

} // namespace
