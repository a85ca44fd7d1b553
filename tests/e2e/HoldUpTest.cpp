// Hosts that are stopped for a while: what they send afterwards is no later than before.

#include "tests/e2e/Arrivals.h"
#include "tests/e2e/ChildProcess.h"
#include "tests/e2e/TestSender.h"
#include "tests/host/EventLoop.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>

#include <cmath>
#include <csignal>

namespace
{

constexpr double FrameMs = 1000.0 / 60;
constexpr double NoiseMs = 20;    // of a machine that has much else to do
constexpr std::size_t Kept = 500; // more than is looked at of one hold-up

constexpr char PatternScene[] = R"qml(
    import QtQml 2.15
    import Multimedia.Tavrin 1.0
    import Tavrin.Host 1.0
    Graph {
        TestPattern { id: pattern; width: 320; height: 180; fps: 60 }
        NDISink { id: sink; name: Host.arguments[0] }
        Link { from: pattern.videoOutput; to: sink.videoInput }
        Link { from: pattern.audioOutput; to: sink.audioInput }
    })qml";

void holdUp(Child &first, Child &second, unsigned long milliseconds)
{
    const auto signal = [&](int number) {
        for (Child *const child : {&first, &second})
            EXPECT_EQ(0, ::kill(static_cast<pid_t>(child->process().processId()), number));
    };
    signal(SIGSTOP);
    QThread::msleep(milliseconds);
    signal(SIGCONT);
}

// What a host's sender gives its receiver.
class Output
{
public:
    explicit Output(const QString &name) : m_receiver(name, Kept) {}

    // Looks at the stream as it is before anything holds it up.
    void begin()
    {
        ASSERT_TRUE(
            waitUntil([this] { return m_receiver.pictureCount() > 0 && m_receiver.soundCount() > 0; }, Patience));
        m_before = arrivalsFrom(m_receiver, secondsFromNow(1), 1);
    }
    // Whether it is so again from a time on.
    testing::AssertionResult isAsBefore(std::int64_t from) const
    {
        const auto asBefore = [this](const Arrivals &now) {
            return now.latencyMs <= m_before.latencyMs + 2 * FrameMs + NoiseMs &&
                   now.pictures >= 0.9 * m_before.pictures && now.pieces >= 0.9 * m_before.pieces &&
                   std::abs(now.avOffsetMs) <= 40;
        };
        return arrives(m_receiver, from, 1, asBefore) << "before: [" << m_before << "]";
    }
    int losses() const { return m_receiver.losses(); }

private:
    const TestReceiver m_receiver;
    Arrivals m_before;
};

TEST(HoldUp, LeavesWhatIsPassedOnAndWhatIsMadeNoLaterThanBefore)
{
    const QTemporaryDir folder;
    QFile scene(folder.filePath("scene.qml"));
    ASSERT_TRUE(scene.open(QIODevice::WriteOnly) && scene.write(PatternScene) > 0);
    scene.close();
    const QString in = uniqueName("held in");
    const QString passed = uniqueName("held passed");
    const QString made = uniqueName("held made");
    const Child sender(TAVRIN_SEND_PROGRAM, {"--quiet", "--name", in, "--size", "320x180", "--rate", "60"});
    Child bridge(TAVRIN_HOST_PROGRAM, {"--quiet", TAVRIN_EXAMPLES "/bridge.qml", in, passed});
    Child maker(TAVRIN_HOST_PROGRAM, {"--quiet", scene.fileName(), made});
    Output ofBridge(passed);
    Output ofMaker(made);
    ASSERT_NO_FATAL_FAILURE(ofBridge.begin());
    ASSERT_NO_FATAL_FAILURE(ofMaker.begin());

    for (const unsigned long milliseconds : {400UL, 2000UL, 5000UL}) {
        holdUp(bridge, maker, milliseconds);
        const std::int64_t restored = secondsFromNow(1.5);
        EXPECT_TRUE(ofBridge.isAsBefore(restored)) << "passed on, held up for " << milliseconds << " ms";
        EXPECT_TRUE(ofMaker.isAsBefore(restored)) << "made, held up for " << milliseconds << " ms";
    }
    EXPECT_EQ(0, ofBridge.losses());
    EXPECT_EQ(0, ofMaker.losses());
    EXPECT_TRUE(endsWhenAsked(bridge));
    EXPECT_TRUE(endsWhenAsked(maker));
}

} // namespace
