#include "tests/e2e/Scene.h"
#include "tests/e2e/TestSender.h"
#include "tests/e2e/TimeLimits.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QThreadPool>

#include <mfapi.h>

#include <cstring>

namespace
{

// Every byte of what has been collected is what the sender's frame of that number holds, and nothing runs backwards.
void expectExactPictures(const std::deque<CollectedSample> &samples, const SenderFormat &format)
{
    ASSERT_FALSE(samples.empty());
    quint32 last = 0;
    LONGLONG lastTime = -1;
    for (const CollectedSample &sample : samples) {
        ASSERT_EQ(sample.width, format.width);
        ASSERT_EQ(sample.height, format.height);
        const quint32 frame = frameNumber(sample.bytes);
        ASSERT_GT(frame, last);
        ASSERT_GT(sample.time, lastTime);
        ASSERT_TRUE(sample.bytes == frameBytes(format, frame)) << "frame " << frame;
        last = frame;
        lastTime = sample.time;
    }
}

void expectExactSound(const std::deque<CollectedSample> &samples, const SenderFormat &format)
{
    ASSERT_FALSE(samples.empty());
    for (const CollectedSample &sample : samples) {
        ASSERT_EQ(sample.channels, format.channels);
        ASSERT_EQ(sample.sampleRate, format.sampleRate);
        std::vector<float> sound(static_cast<std::size_t>(sample.bytes.size()) / sizeof(float));
        std::memcpy(sound.data(), sample.bytes.constData(), sound.size() * sizeof(float));
        ASSERT_EQ(sound, frameSound(format, frameNumber(sound)));
    }
}

class Receiving : public testing::Test
{
protected:
    // Waits until the newest picture and the newest sound are of that format.
    static bool sees(Scene &scene, const SenderFormat &format)
    {
        return waitUntil([&] {
            const std::deque<CollectedSample> pictures = scene.sink().video().samples();
            const std::deque<CollectedSample> sound = scene.sink().audio().samples();
            return !pictures.empty() && pictures.back().width == format.width &&
                   pictures.back().height == format.height && !sound.empty() &&
                   sound.back().channels == format.channels;
        });
    }
    // Waits for ten samples after the last change of format, then compares them.
    static void expectExact(Scene &scene, const SenderFormat &format)
    {
        ASSERT_TRUE(sees(scene, format));
        ASSERT_TRUE(scene.receives(10, 10));
        expectExactPictures(scene.sink().video().samples(), format);
        expectExactSound(scene.sink().audio().samples(), format);
    }
};

TEST_F(Receiving, BringsFullHdExactly)
{
    SenderFormat format;
    format.width = 1920;
    format.height = 1080;
    format.rate = 25;
    const QString name = uniqueName("hd");
    const TestSender sender(name, format);
    Scene scene(name);
    ASSERT_TRUE(scene.isLoaded());
    expectExact(scene, format);
}

TEST_F(Receiving, BringsPicturesWithPaddedLinesExactly)
{
    SenderFormat format;
    format.width = 718;
    format.height = 405;
    format.padding = 37;
    const QString name = uniqueName("stride");
    const TestSender sender(name, format);
    Scene scene(name);
    ASSERT_TRUE(scene.isLoaded());
    expectExact(scene, format);
}

class ReceivingChannels : public Receiving, public testing::WithParamInterface<int>
{
};

TEST_P(ReceivingChannels, BringsSoundExactly)
{
    SenderFormat format;
    format.channels = GetParam();
    const QString name = uniqueName("channels");
    const TestSender sender(name, format);
    Scene scene(name);
    ASSERT_TRUE(scene.isLoaded());
    expectExact(scene, format);
}

INSTANTIATE_TEST_SUITE_P(OneToEight, ReceivingChannels, testing::Range(1, 9));

TEST_F(Receiving, FollowsChangesOfFormat)
{
    SenderFormat format;
    const QString name = uniqueName("formats");
    TestSender sender(name, format);
    Scene scene(name);
    ASSERT_TRUE(scene.isLoaded());
    expectExact(scene, format);
    for (const int step : {1, 2, 3}) {
        format.width = 320 + 64 * step;
        format.height = 180 + 36 * step;
        format.channels = 2 + step;
        sender.setFormat(format);
        expectExact(scene, format);
    }
    EXPECT_EQ(scene.graph().restarts(), 0);
}

TEST_F(Receiving, KeepsTheTimecodesDistances)
{
    const SenderFormat format;
    const QString name = uniqueName("times");
    const TestSender sender(name, format);
    Scene scene(name);
    ASSERT_TRUE(scene.isLoaded());
    ASSERT_TRUE(sees(scene, format));
    ASSERT_TRUE(scene.receives(10, 10));
    const std::deque<CollectedSample> samples = scene.sink().video().samples();
    for (const CollectedSample &sample : samples) {
        const LONGLONG frames = frameNumber(sample.bytes) - frameNumber(samples.front().bytes);
        EXPECT_EQ(sample.time - samples.front().time, frames * 10000000 / format.rate);
    }
}

TEST_F(Receiving, LightsTheSendersTally)
{
    const QString name = uniqueName("tally");
    const TestSender sender(name, SenderFormat());
    Scene scene(name);
    ASSERT_TRUE(scene.isLoaded());
    EXPECT_TRUE(waitUntil([&] { return sender.tally().on_program && !sender.tally().on_preview; }));
    scene.source().setProperty("tallyProgram", false);
    scene.source().setProperty("tallyPreview", true);
    EXPECT_TRUE(waitUntil([&] { return !sender.tally().on_program && sender.tally().on_preview; }));
}

TEST_F(Receiving, ServesTwoScenesFromOneSender)
{
    const SenderFormat format;
    const QString name = uniqueName("two");
    const TestSender sender(name, format);
    Scene first(name);
    Scene second(name);
    ASSERT_TRUE(first.isLoaded() && second.isLoaded());
    expectExact(first, format);
    expectExact(second, format);
    EXPECT_EQ(sender.connections(), 2);
}

TEST_F(Receiving, SwitchesInputsFiftyTimes)
{
    SenderFormat narrow;
    narrow.width = 160;
    narrow.height = 90;
    SenderFormat wide;
    wide.width = 240;
    wide.height = 136;
    wide.channels = 1;
    const QString narrowName = uniqueName("switch one");
    const QString wideName = uniqueName("switch two");
    const TestSender narrowSender(narrowName, narrow);
    const TestSender wideSender(wideName, wide);
    Scene scene(narrowName);
    ASSERT_TRUE(scene.isLoaded());
    for (int round = 0; round < 50; ++round) {
        ASSERT_TRUE(sees(scene, round % 2 == 0 ? narrow : wide)) << round;
        scene.want(round % 2 == 0 ? wideName : narrowName);
    }
    expectExact(scene, narrow);
    EXPECT_TRUE(waitUntil([&] { return narrowSender.connections() == 1 && wideSender.connections() == 0; }));
}

TEST_F(Receiving, StopsAndStartsFiftyTimes)
{
    const SenderFormat format;
    const QString name = uniqueName("stop");
    const TestSender sender(name, format);
    Scene scene(name);
    ASSERT_TRUE(scene.isLoaded());
    for (int round = 0; round < 50; ++round) {
        ASSERT_TRUE(scene.receives(1, 1)) << round;
        scene.graph().stop();
        scene.graph().start();
    }
    expectExact(scene, format);
    EXPECT_EQ(scene.graph().restarts(), 0);
    scene.graph().stop();
    EXPECT_TRUE(waitUntil([&] { return sender.connections() == 0; }));
}

TEST_F(Receiving, FindsASenderThatComesLater)
{
    const SenderFormat format;
    const QString name = uniqueName("later");
    Scene scene(name);
    ASSERT_TRUE(scene.isLoaded());
    EXPECT_FALSE(waitUntil([&] { return scene.sink().video().count() > 0; }, 300));
    const TestSender sender(name, format);
    expectExact(scene, format);
}

TEST_F(Receiving, ClosesWithinASecondWhileItsSenderDoesNotExist)
{
    auto scene = std::make_unique<Scene>(QString());
    ASSERT_TRUE(scene->isLoaded());
    // A sender by hand that nobody will ever list.
    QQmlComponent component(qmlEngine(&scene->source()));
    component.setData("import QtQml 2.15\nimport Multimedia.Tavrin 1.0\nQtObject {\n"
                      "property var input: { let i = NDI.createInput(); i.name = 'NOWHERE (nobody)';"
                      " i.address = '127.0.0.1:1'; return i }\n}",
                      QUrl());
    const std::unique_ptr<QObject> holder(component.create());
    ASSERT_TRUE(holder) << qPrintable(component.errorString());
    scene->source().setProperty("input", holder->property("input"));
    const auto &source = static_cast<MediaNode &>(scene->source());
    ASSERT_TRUE(waitUntil([&] { return source.status() == MediaNode::Creating; }));
    QElapsedTimer elapsed;
    elapsed.start();
    scene.reset();
    EXPECT_TRUE(QThreadPool::globalInstance()->waitForDone(ClosingLimit));
    EXPECT_LT(elapsed.elapsed(), ClosingLimit);
}

} // namespace
