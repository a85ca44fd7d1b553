// Everything that a session, a topology and a node may do to a media sink, done at once from many threads.

#include "sink/NDISinkMF.h"

#include "tests/sink/SinkHarness.h"
#include "tests/source/SourceHarness.h"

#include <QtCore/QLoggingCategory>

#include <atomic>
#include <functional>
#include <future>
#include <random>
#include <thread>

namespace
{

// How long everything goes on at once, unless the environment asks for more.
std::chrono::milliseconds duration()
{
    const int seconds = qEnvironmentVariableIntValue("TAVRIN_STRESS_SECONDS");
    return seconds > 0 ? std::chrono::seconds(seconds) : std::chrono::milliseconds(1500);
}

// A step that shuts a sink down, for as many threads as like. Once is enough; the others are refused.
class Shutdowns
{
public:
    std::function<void()> step(NDISinkMF *target)
    {
        return [this, target] {
            const HRESULT hr = target->Shutdown();
            if (hr == S_OK)
                ++m_done;
            else if (hr != MF_E_SHUTDOWN)
                ++m_odd;
            else if (!m_wasRefused.exchange(true))
                m_refusal.set_value();
        };
    }
    // Until a thread comes too late.
    bool waitForRefusal()
    {
        return m_refusal.get_future().wait_for(std::chrono::seconds(20)) == std::future_status::ready;
    }
    int done() const { return m_done; }
    int odd() const { return m_odd; }

private:
    std::atomic<int> m_done{0};
    std::atomic<int> m_odd{0};
    std::atomic<bool> m_wasRefused{false};
    std::promise<void> m_refusal;
};

// Sinks that are made, used and let go while others use them still.
constexpr int shortLives = 60;

// The lines are many and none of them matters here.
class Silence
{
public:
    Silence() { QLoggingCategory::setFilterRules(QStringLiteral("Multimedia.*=false")); }
    Silence(const Silence &) = delete;
    Silence &operator=(const Silence &) = delete;
    ~Silence() { QLoggingCategory::setFilterRules(QString()); }
};

// Does the steps over and over, in an order that differs from thread to thread, until it is told to end.
class Worker
{
public:
    Worker(const std::atomic<bool> &end, unsigned seed, std::vector<std::function<void()>> steps)
        : m_thread([&end, seed, steps = std::move(steps)] {
              std::minstd_rand random(seed);
              while (!end) {
                  steps[random() % steps.size()]();
                  std::this_thread::yield();
              }
          })
    {
    }
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;
    ~Worker() { m_thread.join(); }

private:
    std::thread m_thread;
};

CComPtr<IMFPresentationClock> runningClock()
{
    CComPtr<IMFPresentationClock> clock;
    EXPECT_EQ(S_OK, MFCreatePresentationClock(&clock));
    CComPtr<IMFPresentationTimeSource> time;
    EXPECT_EQ(S_OK, MFCreateSystemTimeSource(&time));
    EXPECT_EQ(S_OK, clock->SetTimeSource(time));
    EXPECT_EQ(S_OK, clock->Start(0));
    return clock;
}

class SinkStressTest : public SinkTest
{
protected:
    SinkStressTest() { ndi.keepSent(false); }

    void goOnFor(std::chrono::milliseconds time)
    {
        ndi.waitFor([](const auto &) { return false; }, time);
    }

    // What one thread of each kind does to a sink. The samples and types are shared by all threads.
    std::vector<std::function<void()>> clockSteps(NDISinkMF *target) const
    {
        return {[target] { target->OnClockStart(0, 0); },
                [target] { target->OnClockStart(0, INT64_MAX); },
                [target] { target->OnClockStop(0); },
                [target, this] { target->SetPresentationClock(clocks[0]); },
                [target, this] { target->SetPresentationClock(clocks[1]); },
                [target] { target->SetPresentationClock(nullptr); }};
    }
    std::vector<std::function<void()>> streamSteps(IMFStreamSink *stream, bool video) const
    {
        const auto &types = video ? pictureTypes : soundTypes;
        const auto &samples = video ? pictures : sounds;
        return {[=] { setTypeOf(stream, types[0]); },
                [=] { setTypeOf(stream, types[1]); },
                [=] { stream->Flush(); },
                [=] { stream->PlaceMarker(MFSTREAMSINK_MARKER_DEFAULT, nullptr, nullptr); },
                [=] { static_cast<NDISinkStream *>(stream)->RequestSample(); },
                [=] { takeEvents(stream); },
                [=] { stream->ProcessSample(samples[0]); },
                [=] { stream->ProcessSample(samples[1]); },
                [=] { stream->ProcessSample(samples[0]); }};
    }
    static std::vector<std::function<void()>> nodeSteps(NDISinkMF *target)
    {
        return {[target] { target->sendMetadata("<a/>"); }, [target] { target->flush(); },
                [target] {
                    CComPtr<IMFPresentationClock> clock;
                    target->GetPresentationClock(&clock);
                },
                [target] {
                    CComPtr<IMFStreamSink> stream;
                    target->GetStreamSinkById(0, &stream);
                    handlerOf(stream);
                }};
    }
    static void setTypeOf(IMFStreamSink *stream, IMFMediaType *type)
    {
        const auto handler = handlerOf(stream);
        handler->SetCurrentMediaType(type);
        CComPtr<IMFMediaType> current;
        handler->GetCurrentMediaType(&current);
    }

    const Silence silence;
    const std::vector<CComPtr<IMFPresentationClock>> clocks{runningClock(), runningClock()};
    const std::vector<CComPtr<IMFMediaType>> pictureTypes{pictureType(16, 8), pictureType(32, 4)};
    const std::vector<CComPtr<IMFMediaType>> soundTypes{soundType(48000, 2), soundType(44100, 3)};
    const std::vector<CComPtr<IMFSample>> pictures{pictureSample(noise(16 * 2 * 8), 16, 8),
                                                   bytesSample(noise(32 * 2 * 4))};
    const std::vector<CComPtr<IMFSample>> sounds{soundSample(std::vector<float>(1601)),
                                                 soundSample(std::vector<float>(1602))};
};

} // namespace

TEST_F(SinkStressTest, EverythingAtOnceNeitherHangsNorOverlapsSends)
{
    sink = makeSink();
    const auto video = streamOf(sink, 0);
    const auto audio = streamOf(sink, 1);
    std::atomic<bool> end{false};
    {
        const Worker clock1(end, 1, clockSteps(sink));
        const Worker clock2(end, 2, clockSteps(sink));
        const Worker video1(end, 3, streamSteps(video, true));
        const Worker video2(end, 4, streamSteps(video, true));
        const Worker audio1(end, 5, streamSteps(audio, false));
        const Worker audio2(end, 6, streamSteps(audio, false));
        const Worker node(end, 7, nodeSteps(sink));
        goOnFor(duration());
        EXPECT_EQ(S_OK, sink->Shutdown());
        goOnFor(duration() / 10);
        end = true;
    }
    drain(sink);
    sink->SetPresentationClock(nullptr);
    const auto calls = ndi.calls();
    EXPECT_GT(calls.videoSends, 0);
    EXPECT_GT(calls.audioSends, 0);
    EXPECT_GT(calls.metadataSends, 0);
    EXPECT_EQ(0, calls.overlappingSendCalls);
    EXPECT_EQ(0, calls.straySendCalls);
}

TEST_F(SinkStressTest, SinksThatAreLetGoInTheMiddleOfTheirWorkSendNothingWithoutTheirSender)
{
    for (int round = 0; round < shortLives; ++round) {
        sink = makeSink();
        const auto video = streamOf(sink, 0);
        const auto audio = streamOf(sink, 1);
        Shutdowns shutdowns;
        std::atomic<bool> end{false};
        {
            const Worker clock(end, 5U * round + 1U, clockSteps(sink));
            const Worker pictures1(end, 5U * round + 2U, streamSteps(video, true));
            const Worker sounds1(end, 5U * round + 3U, streamSteps(audio, false));
            const int before = ndi.calls().videoSends;
            EXPECT_TRUE(ndi.waitFor([&](const auto &calls) { return calls.videoSends >= before + 20; }));
            auto endings = clockSteps(sink);
            endings.push_back(shutdowns.step(sink));
            const Worker ending1(end, 5U * round + 4U, endings);
            const Worker ending2(end, 5U * round + 5U, endings);
            EXPECT_TRUE(shutdowns.waitForRefusal());
            end = true;
        }
        EXPECT_EQ(1, shutdowns.done());
        EXPECT_EQ(0, shutdowns.odd());
        sink->SetPresentationClock(nullptr); // one that was set behind the shutdown
        sink.Release();                      // the queue may be full: its jobs let the sink go
    }
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.sendersDestroyed == shortLives; }));
    EXPECT_EQ(0, ndi.calls().straySendCalls);
}
