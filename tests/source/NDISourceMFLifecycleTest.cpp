#include "source/NDISourceMF.h"

#include "hostfw/ISource.h"
#include "tests/source/SourceHarness.h"

#include <future>

namespace
{

class NDISourceMFLifecycleTest : public SourceTest
{
protected:
    static void stop(NDISourceMF *source)
    {
        ASSERT_EQ(S_OK, source->Stop());
        ASSERT_TRUE(waitForEvent(source, MESourceStopped));
    }
    // A source that was started, and whose receiver a stop has destroyed.
    CComPtr<NDISourceMF> stoppedSource(const SourceParameters &params)
    {
        auto source = makeSource(params);
        start(source);
        stop(source);
        EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
        return source;
    }
    static HRESULT statusOf(IMFMediaEvent *event)
    {
        HRESULT status = E_UNEXPECTED;
        event->GetStatus(&status);
        return status;
    }
};

// A source whose start can be made to come later than it was asked for.
class LateSource : public NDISourceMF
{
public:
    using NDISourceMF::NDISourceMF;
    using NDISourceMF::OnStart;
};

} // namespace

TEST_F(NDISourceMFLifecycleTest, AStartThatComesAfterTheShutdownOpensNoReceiver)
{
    HRESULT hr = E_UNEXPECTED;
    CComPtr<LateSource> source(new LateSource(hr, parameters()));
    ASSERT_EQ(S_OK, hr);
    std::promise<void> gone;
    QObject::connect(source.p, &QObject::destroyed, [&] { gone.set_value(); });
    start(source);
    ASSERT_EQ(S_OK, source->Shutdown());
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
    const int findersMade = ndi.calls().findersMade;
    source->OnStart(nullptr);
    streams.clear();
    source.Release();
    // The last reference is that of the work on the queue.
    ASSERT_EQ(std::future_status::ready, gone.get_future().wait_for(std::chrono::seconds(20)));
    EXPECT_EQ(findersMade, ndi.calls().findersMade);
}

TEST_F(NDISourceMFLifecycleTest, StopAndStartMakeANewReceiverAndANewOrigin)
{
    const auto source = makeSource(parameters(true, false));
    start(source);
    ndi.pushVideo(videoFrame(64, 36, 900 * oneSecond), noise(64 * 2 * 36));
    EXPECT_TRUE(requestSample(streams[0]));
    ASSERT_EQ(S_OK, source->Stop());
    ASSERT_TRUE(waitForEvent(source, MESourceStopped));
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
    const LONGLONG beforeMaking = HnsTime::systemTime();
    start(source);
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversMade == 2; }));
    // Earlier by far than the first one: with the old origin its time would be negative.
    ndi.pushVideo(videoFrame(64, 36, 5 * oneSecond), noise(64 * 2 * 36));
    const LONGLONG time = timeOf(requestSample(streams[0]));
    const LONGLONG received = HnsTime::systemTime();
    EXPECT_GE(time, 0);
    EXPECT_LE(time, received - beforeMaking); // since the second receiver was made
    source->Shutdown();
}

TEST_F(NDISourceMFLifecycleTest, StoppingAfterShutdownReportsTheBasesFailure)
{
    const auto source = makeSource();
    ASSERT_EQ(S_OK, source->Shutdown());
    EXPECT_EQ(MF_E_SHUTDOWN, source->Stop());
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [__super::Stop()] (HR=0xC00D3E85)"));
}

TEST_F(NDISourceMFLifecycleTest, AShutdownWhileFramesAreAwaitedEndsTheReading)
{
    const auto source = makeSource();
    start(source);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    ASSERT_EQ(S_OK, streams[1]->RequestSample(nullptr));
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.captures >= 2; }));
    ASSERT_EQ(S_OK, source->Shutdown());
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
    EXPECT_EQ(MF_E_SHUTDOWN, source->Shutdown());
}

TEST_F(NDISourceMFLifecycleTest, AStartRightBehindAStopHasAReceiver)
{
    const auto source = makeSource(parameters(true, false));
    start(source);
    for (int round = 1; round <= 10; ++round) {
        // Keeps the queue busy: the stop still waits there when the source is started again.
        ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
        ASSERT_EQ(S_OK, source->Stop());
        start(source);
        ndi.pushVideo(videoFrame(64, 36, round * oneSecond), noise(64 * 2 * 36));
        ASSERT_TRUE(ndi.waitFor([&](const auto &calls) { return calls.receiversMade == round + 1; })) << round;
    }
    ndi.pushVideo(videoFrame(64, 36, 100 * oneSecond), noise(64 * 2 * 36));
    EXPECT_TRUE(requestSample(streams[0]));
    source->Shutdown();
}

TEST_F(NDISourceMFLifecycleTest, ARestartWithoutAFinderIsAnErrorEvent)
{
    const auto source = stoppedSource(parameters());
    ndi.refuseFinders(true);
    beginStart(source);
    const auto event = waitForEvent(source, MEError);
    ASSERT_TRUE(event);
    EXPECT_EQ(E_POINTER, statusOf(event));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [finder is null]"));
    source->Shutdown();
}

TEST_F(NDISourceMFLifecycleTest, ARestartWithoutAReceiverIsAnErrorEvent)
{
    const auto source = stoppedSource(parameters());
    ndi.refuseReceivers(true);
    beginStart(source);
    const auto event = waitForEvent(source, MEError);
    ASSERT_TRUE(event);
    EXPECT_EQ(E_POINTER, statusOf(event));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [reciever is null]"));
    source->Shutdown();
}

TEST_F(NDISourceMFLifecycleTest, AnErrorThatNobodyCanBeToldOfIsLogged)
{
    const auto source = stoppedSource(parameters());
    ndi.setSources({});
    start(source);
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.waits >= 1; }));
    ASSERT_EQ(S_OK, source->Shutdown());
    ndi.refuseReceivers(true);
    ndi.setSources({{"HOST (Camera)", "10.0.0.1:5961"}});
    EXPECT_TRUE(log.waitFor(QtCriticalMsg, sourceLog,
                            " [m_pEventGenerator->QueueEvent( MEError, GUID_NULL, ex.getErrorCode(), nullptr)] "
                            "(HR=0xC00D3E85)"));
}

TEST_F(NDISourceMFLifecycleTest, ASearchAfterARestartEndsQuietlyWithItsToken)
{
    const auto params = parameters();
    const auto source = stoppedSource(params);
    ndi.setSources({});
    start(source);
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.waits >= 1; }));
    log.clear();
    params.cancellationToken->cancel();
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.findersMade == calls.findersDestroyed; }));
    // Behind the search on the queue.
    NDIlib_tally_t tally;
    source->setTally(tally);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    stop(source);
    for (const auto &line : log.lines())
        ADD_FAILURE() << line.category.constData() << ": " << qPrintable(line.text);
    EXPECT_EQ(1, ndi.calls().receiversMade);
    source->Shutdown();
}

TEST_F(NDISourceMFLifecycleTest, AStopWhileFramesAreAwaitedEndsTheReading)
{
    const auto source = makeSource();
    start(source);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    ASSERT_EQ(S_OK, streams[1]->RequestSample(nullptr));
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.captures >= 2; }));
    stop(source);
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
    EXPECT_EQ(MF_E_MEDIA_SOURCE_WRONGSTATE, streams[0]->RequestSample(nullptr));
    source->Shutdown();
}

TEST_F(NDISourceMFLifecycleTest, AVideoStreamThatCannotBeFlushedFailsTheStop)
{
    const auto source = makeSource();
    start(source);
    static_cast<tvx::ISourceStream *>(streams[0].p)->Shutdown();
    EXPECT_EQ(MF_E_SHUTDOWN, source->Stop());
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [m_videoStream->flushRequestManager()] (HR=0xC00D3E85)"));
    source->Shutdown();
}

TEST_F(NDISourceMFLifecycleTest, AnAudioStreamThatCannotBeFlushedFailsTheStop)
{
    const auto source = makeSource();
    start(source);
    static_cast<tvx::ISourceStream *>(streams[1].p)->Shutdown();
    EXPECT_EQ(MF_E_SHUTDOWN, source->Stop());
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [m_audioStream->flushRequestManager()] (HR=0xC00D3E85)"));
    source->Shutdown();
}

TEST_F(NDISourceMFLifecycleTest, QueuedWorkOutlivesTheLastReferenceFromOutside)
{
    auto source = makeSource(parameters(true, false));
    start(source);
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.captures >= 1; }));
    streams.clear();
    source->Shutdown();
    source.Release();
    EXPECT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
}
