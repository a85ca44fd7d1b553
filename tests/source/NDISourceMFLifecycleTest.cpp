#include "source/NDISourceMF.h"

#include "hostfw/ISource.h"
#include "tests/source/SourceHarness.h"

namespace
{

constexpr LONGLONG second = 10'000'000;

class NDISourceMFLifecycleTest : public SourceTest
{
};

} // namespace

TEST_F(NDISourceMFLifecycleTest, StopAndStartMakeANewReceiverAndANewOrigin)
{
    const auto source = makeSource(parameters(true, false));
    start(source);
    ndi.pushVideo(videoFrame(64, 36, 900 * second), noise(64 * 2 * 36));
    EXPECT_TRUE(requestSample(streams[0]));
    ASSERT_EQ(S_OK, source->Stop());
    ASSERT_TRUE(waitForEvent(source, MESourceStopped));
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversDestroyed == 1; }));
    start(source);
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.receiversMade == 2; }));
    // Earlier by far than the first one: with the old origin its time would be negative.
    ndi.pushVideo(videoFrame(64, 36, 5 * second), noise(64 * 2 * 36));
    const LONGLONG time = timeOf(requestSample(streams[0]));
    EXPECT_GE(time, 0);
    EXPECT_LT(time, 60 * second);
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
