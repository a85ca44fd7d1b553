// What the host framework does when Media Foundation has no queue to give.

#include "hostfw/BaseSource.h"
#include "hostfw/ComException.h"
#include "hostfw/MessageQueue.h"
#include "tests/multimedia/Recorded.h"
#include "tests/multimedia/native/PlatformFailures.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <mferror.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace
{

class BareSource : public CBaseSource
{
public:
    explicit BareSource(HRESULT &hr) : CBaseSource(hr, 0) {}
    DECLARE_IUNKNOWN
};

CComPtr<BareSource> makeSourceWithoutEvents(HRESULT &hr)
{
    const FailingQueues failing(E_ACCESSDENIED);
    return {new BareSource(hr)};
}

// A function that records its number, and whether it is still kept somewhere.
struct WatchedFunction {
    WatchedFunction(Recorded<int> &ran, int number)
    {
        auto held = std::make_shared<int>(number);
        kept = held;
        function = [held = std::move(held), &ran] {
            ran.add(*held);
            return S_OK;
        };
    }

    std::weak_ptr<int> kept;
    std::function<HRESULT()> function;
};

} // namespace

TEST(BaseSourceWithoutAnEventQueue, ReportsTheFailureOfMakingIt)
{
    HRESULT hr = S_OK;
    makeSourceWithoutEvents(hr);
    EXPECT_EQ(hr, E_ACCESSDENIED);
}

TEST(BaseSourceWithoutAnEventQueue, FailsWhateverNeedsIt)
{
    HRESULT hr = S_OK;
    const CComPtr<BareSource> source = makeSourceWithoutEvents(hr);
    CComPtr<IMFMediaEvent> event;
    EXPECT_EQ(source->GetEvent(MF_EVENT_FLAG_NO_WAIT, &event), MF_E_NOT_INITIALIZED);
    EXPECT_EQ(source->BeginGetEvent(nullptr, nullptr), MF_E_NOT_INITIALIZED);
    EXPECT_EQ(source->EndGetEvent(nullptr, &event), MF_E_NOT_INITIALIZED);
    EXPECT_EQ(source->QueueEvent(MEError, GUID_NULL, E_FAIL, nullptr), MF_E_NOT_INITIALIZED);
}

TEST(BaseSourceWithoutAnEventQueue, CanBeShutDown)
{
    HRESULT hr = S_OK;
    const CComPtr<BareSource> source = makeSourceWithoutEvents(hr);
    EXPECT_EQ(source->Shutdown(), S_OK);
    EXPECT_EQ(source->Shutdown(), MF_E_SHUTDOWN);
}

TEST(MessageQueueWithoutAWorkQueue, ThrowsTheFailureOfAllocatingIt)
{
    const FailingQueues failing(E_ACCESSDENIED);
    try {
        const tvx::MFMessageQueue queue(tvx::MFMessageQueue::Type::Serial, 0);
        FAIL() << "There is a queue";
    } catch (const ComException &exception) {
        EXPECT_EQ(exception.getErrorCode(), E_ACCESSDENIED);
    }
}

TEST(MessageQueueWhoseItemsAreRefused, TellsOfItAndLetsTheFunctionGo)
{
    Recorded<int> ran;
    WatchedFunction refused(ran, 1);
    const tvx::MFMessageQueue queue(tvx::MFMessageQueue::Type::Serial, 0);
    const FailingQueues failing(E_ACCESSDENIED);
    EXPECT_EQ(queue.push(std::exchange(refused.function, {})), E_ACCESSDENIED);
    EXPECT_TRUE(refused.kept.expired());
    EXPECT_EQ(ran.count(), 0U);
}

TEST(MessageQueueWhoseItemsAreRefused, RunsWhatItHadAcceptedOnceMoreIsPushed)
{
    LogCapture log;
    Recorded<int> ran;
    Gate proceed;
    const tvx::MFMessageQueue queue(tvx::MFMessageQueue::Type::Serial, 0);
    queue.push([&proceed] { return proceed.wait() ? S_OK : E_FAIL; });
    ASSERT_EQ(queue.push(WatchedFunction(ran, 1).function), S_OK);
    {
        const FailingQueues failing(E_ACCESSDENIED);
        proceed.open();
        EXPECT_TRUE(log.waitFor(QtWarningMsg, "Multimedia",
                                QStringLiteral("Queued functions wait until another is queued (HR=0x80070005)")));
        EXPECT_EQ(queue.push(WatchedFunction(ran, 2).function), E_ACCESSDENIED);
    }
    EXPECT_EQ(queue.push(WatchedFunction(ran, 3).function), S_OK);
    EXPECT_TRUE(ran.waitForCount(2));
    EXPECT_EQ(ran.values(), (std::vector<int>{1, 3}));
}

TEST(MessageQueueWhoseItemsAreRefused, RunsWhatIsPushedOnceTheyAreTakenAgain)
{
    Recorded<int> ran;
    const tvx::MFMessageQueue queue(tvx::MFMessageQueue::Type::Serial, 0);
    {
        const FailingQueues failing(E_ACCESSDENIED);
        queue.push(WatchedFunction(ran, 1).function);
    }
    EXPECT_EQ(queue.push(WatchedFunction(ran, 2).function), S_OK);
    EXPECT_TRUE(ran.waitForCount(1));
    EXPECT_EQ(ran.values(), std::vector<int>{2});
}
