// The examples that send, as users run them, watched by ndi-recv and by a receiver of this program.

#include "tests/e2e/ChildProcess.h"
#include "tests/e2e/Envelope.h"
#include "tests/e2e/Network.h"
#include "tests/e2e/ReceivedPattern.h"
#include "tests/e2e/TestSender.h"
#include "tests/host/EventLoop.h"

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace
{

constexpr pattern::FrameRate Rate{50, 1}; // of the inputs

// Of so many stretches one has to be without fault: a machine that is busy with other things loses frames for a while,
// or has lights late, but not all the time.
constexpr int Stretches = 4;

// Of switches: a host that was held up leaves samples out to be on time again, and more stretches lack pictures.
// Switches that lost some would do so in each of them.
constexpr int StretchesOfSwitches = 8;

QJsonObject readJson(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    return QJsonDocument::fromJson(file.readAll()).object();
}

QStringList receiverArguments(const QString &name, const QString &json)
{
    return {name, "--wait", QString::number(Patience / 1000), "--json", json};
}

QByteArray text(const char *value)
{
    return QByteArray::fromStdString(envelope(serialised(QString::fromLatin1(value))));
}

// ndi-send, with that value on every frame and beside the frames.
QStringList inputArguments(const QString &name, const char *value)
{
    return {"--quiet",
            "--name",
            name,
            "--size",
            "320x180",
            "--rate",
            "50",
            "--frame-metadata",
            QString::fromLatin1(text(value)),
            "--metadata",
            QString::fromLatin1(text(value))};
}

class SendingExamples : public testing::Test
{
protected:
    QString path(const char *name) const { return m_folder.filePath(QLatin1String(name)); }

private:
    const QTemporaryDir m_folder;
};

// What ndi-recv says of a little more than a second, in which a beep and a flash begin.
QJsonObject watch(const QString &name, const QString &json)
{
    Child receiver(TAVRIN_RECV_PROGRAM, receiverArguments(name, json) << "--quiet"
                                                                      << "--seconds"
                                                                      << "1.2");
    EXPECT_TRUE(receiver.process().waitForFinished(Patience));
    EXPECT_EQ(receiver.process().exitCode(), 0);
    return readJson(json);
}

// What holds of the example however busy the machine is, and whether nothing is missing.
bool isComplete(const QJsonObject &seen)
{
    EXPECT_EQ(seen["subtype"].toString(), "UYVY");
    EXPECT_EQ(seen["width"].toInt(), 1920);
    EXPECT_EQ(seen["height"].toInt(), 1080);
    EXPECT_EQ(seen["rateNumerator"].toInt(), 60);
    EXPECT_EQ(seen["rateDenominator"].toInt(), 1);
    EXPECT_EQ(seen["fields"].toString(), "progressive");
    EXPECT_EQ(seen["sampleRate"].toInt(), 48000);
    EXPECT_EQ(seen["channels"].toInt(), 2);
    EXPECT_EQ(seen["formatChanges"].toInt(-1), 0);
    EXPECT_EQ(seen["reconnects"].toInt(-1), 0);
    EXPECT_EQ(seen["restarts"].toInt(-1), 0);
    EXPECT_EQ(seen["audioRestarts"].toInt(-1), 0);
    EXPECT_EQ(seen["repeatedFrames"].toInt(-1), 0);
    EXPECT_GT(seen["videoFrames"].toInt(), 0);
    EXPECT_EQ(seen["codedFrames"].toInt(), seen["videoFrames"].toInt());
    EXPECT_GT(seen["audioFrames"].toInt(), 0);
    EXPECT_NEAR(seen["avOffsetMs"].toDouble(0), 0, 0.2); // a beep or a flash that is lost tells nothing
    return seen["gaps"].toInt(-1) == 0 && seen["audioGaps"].toInt(-1) == 0 && seen["avOffsetMs"].isDouble();
}

TEST_F(SendingExamples, SendPublishesThePatternWithoutGapsAndItsToneInStep)
{
    const QString name = uniqueName("send example");
    Child host(TAVRIN_HOST_PROGRAM, {"--quiet", TAVRIN_EXAMPLES "/send.qml", name});
    bool complete = isComplete(watch(name, path("recv.json")));
    // With a sanitizer no machine comes up with this rate.
    for (int more = Stretches - 1; more > 0 && !complete && !TAVRIN_IS_SANITIZED && !HasFailure(); --more)
        complete = isComplete(watch(name, path("recv.json")));
    EXPECT_TRUE(complete || TAVRIN_IS_SANITIZED) << "a gap in each stretch";
    ASSERT_TRUE(endsWhenAsked(host));
    EXPECT_EQ(host.process().exitCode(), 0);
}

bool passesOn(const TestReceiver &receiver, const QByteArray &metadata)
{
    return waitUntil(
        [&] { return receiver.newestPicture().metadata == metadata && receiver.newestSound().metadata == metadata; },
        Patience);
}

float peak(const ReceivedSound &sound)
{
    float highest = 0;
    for (const float sample : sound.samples)
        highest = std::max(highest, std::abs(sample));
    return highest;
}

TEST_F(SendingExamples, BridgePassesAllOnAndKeepsItsSenderWhileItsInputIsKilledAndComesBack)
{
    const QString in = uniqueName("bridge in");
    const QString out = uniqueName("bridge out");
    auto input = std::make_unique<Child>(TAVRIN_SEND_PROGRAM, inputArguments(in, "first"));
    Child host(TAVRIN_HOST_PROGRAM, {"--quiet", TAVRIN_EXAMPLES "/bridge.qml", in, out});
    const TestReceiver receiver(out);
    Child watcher(TAVRIN_RECV_PROGRAM, receiverArguments(out, path("recv.json")));
    ASSERT_TRUE(tells(watcher, "video: "));
    ASSERT_TRUE(passesOn(receiver, text("first")));

    input->kill();
    Network network;
    const std::string listed = "(" + in.toStdString() + ")";
    ASSERT_TRUE(waitUntil([&] { return network.senders(listed).empty(); }, Patience));
    input = std::make_unique<Child>(TAVRIN_SEND_PROGRAM, inputArguments(in, "second"));
    ASSERT_TRUE(passesOn(receiver, text("second")));
    EXPECT_TRUE(exactPattern(receiver.newestPicture(), Rate));
    EXPECT_EQ(receiver.newestSound().header.no_channels, 2);
    EXPECT_GT(peak(receiver.newestSound()), 0.05F);
    // The property has changed while somebody received.
    EXPECT_TRUE(waitUntil(
        [&] {
            const std::vector<QByteArray> metadata = receiver.metadata();
            return std::find(metadata.begin(), metadata.end(), text("second")) != metadata.end();
        },
        Patience));

    EXPECT_EQ(receiver.losses(), 0);
    ASSERT_TRUE(endsWhenAsked(watcher));
    const QJsonObject seen = readJson(path("recv.json"));
    EXPECT_EQ(seen["reconnects"].toInt(-1), 0);
    EXPECT_GT(seen["videoFrames"].toInt(), 0);
    EXPECT_EQ(seen["codedFrames"].toInt(), seen["videoFrames"].toInt());
    EXPECT_EQ(seen["videoMetadata"].toInt(), seen["videoFrames"].toInt());
    EXPECT_EQ(seen["audioMetadata"].toInt(), seen["audioFrames"].toInt());
    ASSERT_TRUE(endsWhenAsked(host));
}

// What a stretch of the mixer's output lacks.
struct Stretch {
    int switches = 0;
    int lostPictures = 0; // of an input while it was on air
    int lateSwitches = 0; // with more than the frame that may have gone by just before
    int soundGaps = 0;    // within one input

    bool isComplete() const { return lostPictures == 0 && lateSwitches == 0 && soundGaps == 0; }
};

void lookAtPictures(const std::deque<ReceivedPicture> &pictures, Stretch &stretch)
{
    constexpr std::uint64_t latest = pattern::HnsPerSecond / 50 * 5 / 2; // two frames, and the inputs' own unevenness
    std::optional<pattern::PatternCode> last;
    QByteArray lastInput;
    for (const ReceivedPicture &picture : pictures) {
        const auto code = exactPattern(picture, Rate);
        ASSERT_TRUE(code);
        if (last && picture.metadata == lastInput) {
            ASSERT_GT(code->frame, last->frame); // no machine is too busy for that
            stretch.lostPictures += code->frame == last->frame + 1 ? 0 : 1;
        } else if (last) {
            ++stretch.switches;
            stretch.lateSwitches += code->sendTimeHns < last->sendTimeHns + latest ? 0 : 1;
        }
        last = code;
        lastInput = picture.metadata;
    }
}

void lookAtSound(const std::deque<ReceivedSound> &pieces, Stretch &stretch)
{
    for (std::size_t i = 1; i < pieces.size(); ++i) {
        const NDIlib_audio_frame_v2_t &last = pieces[i - 1].header;
        const long long end = last.timecode + pattern::HnsPerSecond * last.no_samples / last.sample_rate;
        if (pieces[i].metadata != pieces[i - 1].metadata)
            continue;
        ASSERT_GE(pieces[i].header.timecode, end); // likewise
        stretch.soundGaps += pieces[i].header.timecode == end ? 0 : 1;
    }
}

// Between so many changes of the sink's property, one for each switch.
Stretch stretchOf(TestReceiver &receiver, std::size_t switches)
{
    receiver.takePictures();
    receiver.takeSound();
    const std::size_t changes = receiver.metadata().size() + switches;
    EXPECT_TRUE(waitUntil([&] { return receiver.metadata().size() >= changes; }, Patience));
    Stretch stretch;
    lookAtPictures(receiver.takePictures(), stretch);
    lookAtSound(receiver.takeSound(), stretch);
    EXPECT_GE(stretch.switches + 1, static_cast<int>(switches)); // the last may be on its way
    return stretch;
}

TEST_F(SendingExamples, MixerSwitchesItsInputsWithoutAGap)
{
    const QString first = uniqueName("mixer first");
    const QString second = uniqueName("mixer second");
    const QString out = uniqueName("mixer out");
    Child firstInput(TAVRIN_SEND_PROGRAM, inputArguments(first, "first"));
    Child secondInput(TAVRIN_SEND_PROGRAM, inputArguments(second, "second"));
    Child host(TAVRIN_HOST_PROGRAM,
               {"--quiet", TAVRIN_EXAMPLES "/mixer.qml", first, second, out, QStringLiteral("0.5")});
    TestReceiver receiver(out, 1000);
    ASSERT_TRUE(passesOn(receiver, text("first")));
    ASSERT_TRUE(passesOn(receiver, text("second")));
    Child watcher(TAVRIN_RECV_PROGRAM, receiverArguments(out, path("recv.json")));
    ASSERT_TRUE(tells(watcher, "video: "));

    Stretch seen = stretchOf(receiver, 5);
    for (int more = StretchesOfSwitches - 1; more > 0 && !seen.isComplete() && !HasFailure(); --more)
        seen = stretchOf(receiver, 5);
    EXPECT_EQ(seen.lostPictures, 0);
    EXPECT_EQ(seen.lateSwitches, 0);
    EXPECT_EQ(seen.soundGaps, 0);

    EXPECT_EQ(receiver.losses(), 0);
    ASSERT_TRUE(endsWhenAsked(watcher));
    EXPECT_EQ(readJson(path("recv.json"))["reconnects"].toInt(-1), 0);
    ASSERT_TRUE(endsWhenAsked(host));
}

struct MixerInput {
    explicit MixerInput(const char *label)
        : name(uniqueName(label)), metadata(text(label)), sender(name, SenderFormat())
    {
        sender.setFrameMetadata(metadata.toStdString());
    }

    std::string lights() const
    {
        const NDIlib_tally_t tally = sender.tally();
        return std::string(tally.on_program ? "program" : "") + (tally.on_preview ? "preview" : "");
    }

    const QString name;
    const QByteArray metadata; // of its frames
    TestSender sender;
};

// Waits until the mixer has switched to that input and looks at the lights in the middle of its time on air: a picture
// comes after its light, on a machine that has much else to do by half a second and more.
testing::AssertionResult lightsFollow(const TestReceiver &receiver, const MixerInput &onAir, const MixerInput &next)
{
    constexpr std::size_t halfOfTheTime = 50; // pictures
    const auto isOnAir = [&] { return receiver.newestPicture().metadata == onAir.metadata; };
    auto failure = testing::AssertionFailure();
    for (int stretches = Stretches; stretches > 0; --stretches) {
        if (!waitUntil([&] { return !isOnAir(); }, Patience) || !waitUntil(isOnAir, Patience))
            return failure << "no switch";
        const std::size_t middle = receiver.pictureCount() + halfOfTheTime;
        if (!waitUntil([&] { return receiver.pictureCount() >= middle; }, Patience))
            return failure << "no pictures";
        const std::string lights = onAir.lights() + ", " + next.lights();
        if (lights == "program, preview" && isOnAir())
            return testing::AssertionSuccess();
        failure << "[on air, next: " << lights << "; "
                << onAir.sender.frame() - frameNumber(receiver.newestPicture().bytes) << " frames late] ";
    }
    return failure;
}

TEST_F(SendingExamples, MixerLightsProgramOfTheInputOnAirAndPreviewOfTheOther)
{
    const MixerInput first("mixer lit first");
    const MixerInput second("mixer lit second");
    const QString out = uniqueName("mixer lit out");
    Child host(TAVRIN_HOST_PROGRAM,
               {"--quiet", TAVRIN_EXAMPLES "/mixer.qml", first.name, second.name, out, QStringLiteral("2")});
    const TestReceiver receiver(out);
    ASSERT_TRUE(passesOn(receiver, first.metadata));
    ASSERT_TRUE(passesOn(receiver, second.metadata));
    EXPECT_TRUE(lightsFollow(receiver, first, second));
    EXPECT_TRUE(lightsFollow(receiver, second, first));
    ASSERT_TRUE(endsWhenAsked(host));
}

} // namespace
