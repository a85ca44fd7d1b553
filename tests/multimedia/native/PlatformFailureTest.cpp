// What the host framework does when Media Foundation has no queue to give.

#include "hostfw/BaseSource.h"
#include "hostfw/ComException.h"
#include "hostfw/MessageQueue.h"
#include "tests/multimedia/native/PlatformFailures.h"

#include <gtest/gtest.h>

#include <mferror.h>

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
