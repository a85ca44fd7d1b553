#include "hostfw/SampleRequestManager.h"
#include "tests/multimedia/FakeStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mferror.h>

#include <climits>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

class RequestManager : public testing::Test
{
protected:
    explicit RequestManager(const HnsTime &limit = INT64_MAX, const tvx::MFMessageQueue *deliveryQueue = nullptr)
        : m_manager(tvx::createBufferingSampleRequestManager(m_stream, limit, deliveryQueue, nullptr))
    {
    }

    void push(LONGLONG time) { EXPECT_EQ(m_manager->PushSample(makeSampleAt(time)), S_OK); }
    void request(int count = 1)
    {
        while (count-- > 0)
            EXPECT_EQ(m_manager->RequestSample(nullptr), S_OK);
    }
    std::vector<Delivery> delivered() const { return m_stream->deliveries.values(); }

    const CComPtr<FakeStream> m_stream{new FakeStream};
    const std::unique_ptr<tvx::ISampleRequestManager> m_manager;
};

class RequestManagerWithLimit : public RequestManager
{
protected:
    RequestManagerWithLimit() : RequestManager(HnsTime(100)) {}
};

} // namespace

TEST_F(RequestManager, AnswersAWaitingRequestAtOnce)
{
    request();
    EXPECT_THAT(delivered(), IsEmpty());
    push(1);
    EXPECT_THAT(delivered(), ElementsAre(sampleAt(1)));
}

TEST_F(RequestManager, KeepsSamplesForLaterRequests)
{
    push(1);
    push(2);
    EXPECT_THAT(delivered(), IsEmpty());
    request();
    EXPECT_THAT(delivered(), ElementsAre(sampleAt(1)));
    request();
    EXPECT_THAT(delivered(), ElementsAre(sampleAt(1), sampleAt(2)));
}

TEST_F(RequestManager, MatchesRequestsAndSamplesInOrder)
{
    const CComPtr<IMFMediaType> first = makeMediaType();
    const CComPtr<IMFMediaType> second = makeMediaType();
    m_manager->RequestSample(first);
    m_manager->RequestSample(nullptr);
    m_manager->RequestSample(second);
    push(1);
    push(2);
    push(3);
    EXPECT_THAT(delivered(), ElementsAre(sampleAt(1, first), sampleAt(2), sampleAt(3, second)));
}

TEST_F(RequestManager, HoldsATokenUntilItsSampleWasDelivered)
{
    const CComPtr<IMFMediaType> token = makeMediaType();
    const auto references = [&token] {
        token.p->AddRef();
        return token.p->Release();
    };
    const ULONG before = references();
    m_manager->RequestSample(token);
    EXPECT_EQ(references(), before + 1);
    push(1);
    EXPECT_EQ(references(), before);
}

TEST_F(RequestManager, DeliversATypeChangeRightBeforeTheNextSample)
{
    const CComPtr<IMFMediaType> type = makeMediaType();
    request();
    EXPECT_EQ(m_manager->PushMediaTypeChange(type), S_OK);
    EXPECT_THAT(delivered(), IsEmpty());
    push(1);
    EXPECT_THAT(delivered(), ElementsAre(changeTo(type), sampleAt(1)));
}

TEST_F(RequestManager, DeliversTypeChangesAmongTheSamplesWhereTheyWerePushed)
{
    const CComPtr<IMFMediaType> first = makeMediaType();
    const CComPtr<IMFMediaType> second = makeMediaType();
    m_manager->PushMediaTypeChange(first);
    push(1);
    push(2);
    m_manager->PushMediaTypeChange(second);
    push(3);
    request();
    EXPECT_THAT(delivered(), ElementsAre(changeTo(first), sampleAt(1)));
    request();
    EXPECT_THAT(delivered(), ElementsAre(changeTo(first), sampleAt(1), sampleAt(2)));
    request();
    EXPECT_THAT(delivered(), ElementsAre(changeTo(first), sampleAt(1), sampleAt(2), changeTo(second), sampleAt(3)));
}

TEST_F(RequestManager, GapsTravelAmongTheSamples)
{
    push(1);
    EXPECT_EQ(m_manager->PushGap(2), S_OK);
    push(3);
    request(2);
    EXPECT_THAT(delivered(), ElementsAre(sampleAt(1), gapAt(2), sampleAt(3)));
}

TEST_F(RequestManager, AGapNeedsNoRequest)
{
    m_manager->PushGap(2);
    EXPECT_THAT(delivered(), ElementsAre(gapAt(2)));
}

TEST_F(RequestManager, TheEndComesAfterAllSamples)
{
    push(1);
    EXPECT_EQ(m_manager->PushEndOfData(), S_OK);
    EXPECT_THAT(delivered(), IsEmpty());
    request();
    EXPECT_THAT(delivered(), ElementsAre(sampleAt(1), endOfStream()));
}

TEST_F(RequestManager, TheEndCountsOnceUntilAFlush)
{
    push(1);
    EXPECT_EQ(m_manager->PushEndOfData(), S_OK);
    EXPECT_EQ(m_manager->PushEndOfData(), S_OK);
    request();
    EXPECT_EQ(m_manager->PushEndOfData(), S_OK);
    EXPECT_THAT(delivered(), ElementsAre(sampleAt(1), endOfStream()));
    m_manager->Flush();
    m_manager->PushEndOfData();
    EXPECT_THAT(delivered(), ElementsAre(sampleAt(1), endOfStream(), endOfStream()));
}

TEST_F(RequestManager, TheEndNeedsNoRequest)
{
    m_manager->PushEndOfData();
    EXPECT_THAT(delivered(), ElementsAre(endOfStream()));
}

TEST_F(RequestManager, TheEndComesThoughNoSampleFollowsATypeChange)
{
    const CComPtr<IMFMediaType> type = makeMediaType();
    request();
    m_manager->PushMediaTypeChange(type);
    m_manager->PushEndOfData();
    EXPECT_THAT(delivered(), ElementsAre(changeTo(type), endOfStream()));
}

TEST_F(RequestManager, RefusesRequestsOnceTheEndWasDelivered)
{
    m_manager->PushEndOfData();
    EXPECT_EQ(m_manager->RequestSample(nullptr), MF_E_END_OF_STREAM);
}

TEST_F(RequestManager, TakesRequestsWhileTheEndWaits)
{
    push(1);
    m_manager->PushEndOfData();
    EXPECT_EQ(m_manager->RequestSample(nullptr), S_OK);
    EXPECT_EQ(m_manager->RequestSample(nullptr), MF_E_END_OF_STREAM);
}

TEST_F(RequestManager, FlushForgetsSamplesAndRequests)
{
    push(1);
    EXPECT_EQ(m_manager->Flush(), S_OK);
    request();
    EXPECT_THAT(delivered(), IsEmpty());
    m_manager->Flush();
    push(2);
    EXPECT_THAT(delivered(), IsEmpty());
    request();
    EXPECT_THAT(delivered(), ElementsAre(sampleAt(2)));
}

TEST_F(RequestManager, FlushTakesRequestsAgainAfterTheEnd)
{
    m_manager->PushEndOfData();
    m_manager->Flush();
    request();
    push(1);
    EXPECT_THAT(delivered(), ElementsAre(endOfStream(), sampleAt(1)));
}

TEST_F(RequestManager, FlushForgetsGapsAndAnUndeliveredEnd)
{
    push(1);
    m_manager->PushGap(2);
    m_manager->PushEndOfData();
    m_manager->Flush();
    request();
    push(3);
    EXPECT_THAT(delivered(), ElementsAre(sampleAt(3)));
}

TEST_F(RequestManager, FlushKeepsTheLastUndeliveredTypeChange)
{
    const CComPtr<IMFMediaType> first = makeMediaType();
    const CComPtr<IMFMediaType> second = makeMediaType();
    m_manager->PushMediaTypeChange(first);
    push(1);
    m_manager->PushMediaTypeChange(second);
    push(2);
    m_manager->Flush();
    push(3);
    request();
    EXPECT_THAT(delivered(), ElementsAre(changeTo(second), sampleAt(3)));
}

TEST_F(RequestManager, FlushDoesNotRepeatADeliveredTypeChange)
{
    const CComPtr<IMFMediaType> type = makeMediaType();
    m_manager->PushMediaTypeChange(type);
    push(1);
    request();
    m_manager->Flush();
    push(2);
    request();
    EXPECT_THAT(delivered(), ElementsAre(changeTo(type), sampleAt(1), sampleAt(2)));
}

TEST_F(RequestManager, DropsSamplesWhileTheStreamIsStopped)
{
    m_stream->stopped = true;
    EXPECT_EQ(m_manager->PushSample(makeSampleAt(1)), S_FALSE);
    m_stream->stopped = false;
    request();
    push(2);
    EXPECT_THAT(delivered(), ElementsAre(sampleAt(2)));
}

TEST_F(RequestManager, DropsSamplesWhileTheStreamIsNotSelected)
{
    m_stream->selected = false;
    EXPECT_EQ(m_manager->PushSample(makeSampleAt(1)), S_FALSE);
    m_stream->selected = true;
    request();
    EXPECT_THAT(delivered(), IsEmpty());
}

TEST_F(RequestManager, DropsGapsAndTheEndWhileTheStreamIsStopped)
{
    m_stream->stopped = true;
    EXPECT_EQ(m_manager->PushGap(1), S_OK);
    EXPECT_EQ(m_manager->PushEndOfData(), S_OK);
    m_stream->stopped = false;
    request();
    EXPECT_THAT(delivered(), IsEmpty());
}

TEST_F(RequestManager, RefusesRequestsWhileTheStreamDoesNotRun)
{
    m_stream->stopped = true;
    EXPECT_EQ(m_manager->RequestSample(nullptr), MF_E_MEDIA_SOURCE_WRONGSTATE);
    m_stream->selected = false;
    EXPECT_EQ(m_manager->RequestSample(nullptr), MF_E_INVALIDREQUEST);
    m_stream->stopped = false;
    m_stream->selected = true;
    push(1);
    EXPECT_THAT(delivered(), IsEmpty());
}

TEST_F(RequestManager, KeepsATypeChangeWhileTheStreamIsStopped)
{
    const CComPtr<IMFMediaType> type = makeMediaType();
    m_stream->stopped = true;
    EXPECT_EQ(m_manager->PushMediaTypeChange(type), S_OK);
    m_stream->stopped = false;
    push(1);
    request();
    EXPECT_THAT(delivered(), ElementsAre(changeTo(type), sampleAt(1)));
}

TEST_F(RequestManager, RefusesNothingButNull)
{
    EXPECT_EQ(m_manager->PushSample(nullptr), E_POINTER);
    EXPECT_EQ(m_manager->PushMediaTypeChange(nullptr), E_POINTER);
}

TEST_F(RequestManager, RefusesEverythingAfterShutdown)
{
    push(1);
    m_manager->Shutdown();
    EXPECT_EQ(m_manager->RequestSample(nullptr), MF_E_SHUTDOWN);
    EXPECT_EQ(m_manager->PushSample(makeSampleAt(1)), MF_E_SHUTDOWN);
    EXPECT_EQ(m_manager->PushMediaTypeChange(makeMediaType()), MF_E_SHUTDOWN);
    EXPECT_EQ(m_manager->PushGap(1), MF_E_SHUTDOWN);
    EXPECT_EQ(m_manager->PushEndOfData(), MF_E_SHUTDOWN);
    EXPECT_EQ(m_manager->Flush(), MF_E_SHUTDOWN);
    m_manager->Shutdown();
    EXPECT_THAT(delivered(), IsEmpty());
}

TEST_F(RequestManager, TakesRequestsFromWithinADelivery)
{
    m_stream->afterDelivery = [this](const Delivery &delivery) {
        if (delivery.time < 5)
            request();
    };
    request();
    for (LONGLONG time = 1; time <= 6; ++time)
        push(time);
    EXPECT_THAT(delivered(), ElementsAre(sampleAt(1), sampleAt(2), sampleAt(3), sampleAt(4), sampleAt(5)));
}

TEST_F(RequestManager, KeepsTheOrderWhileConsumerAndProducerRunSideBySide)
{
    constexpr LONGLONG frames = 5000;
    std::thread consumer([this] { request(frames); });
    for (LONGLONG time = 0; time < frames; ++time)
        push(time);
    consumer.join();
    ASSERT_TRUE(m_stream->deliveries.waitForCount(frames));
    LONGLONG next = 0;
    for (const Delivery &delivery : delivered())
        ASSERT_EQ(delivery, sampleAt(next++));
    EXPECT_EQ(next, frames);
}

TEST_F(RequestManagerWithLimit, DropsSamplesThatLieFurtherBeforeTheNewest)
{
    push(0);
    push(50);
    push(101);
    request(2);
    EXPECT_THAT(delivered(), ElementsAre(sampleAt(50), sampleAt(101)));
}

TEST_F(RequestManagerWithLimit, KeepsASampleThatLiesExactlyAtTheLimit)
{
    push(0);
    push(100);
    request(2);
    EXPECT_THAT(delivered(), ElementsAre(sampleAt(0), sampleAt(100)));
}

TEST_F(RequestManagerWithLimit, KeepsTheTypeChangeOfADroppedSample)
{
    const CComPtr<IMFMediaType> type = makeMediaType();
    m_manager->PushMediaTypeChange(type);
    push(0);
    push(1000);
    request();
    EXPECT_THAT(delivered(), ElementsAre(changeTo(type), sampleAt(1000)));
}

TEST_F(RequestManagerWithLimit, KeepsASampleWithoutATime)
{
    CComPtr<IMFSample> timeless;
    ASSERT_EQ(MFCreateSample(&timeless), S_OK);
    m_manager->PushSample(timeless);
    push(1000);
    request(2);
    EXPECT_THAT(delivered(), ElementsAre(sampleAt(-1), sampleAt(1000)));
}

TEST(RequestManagerWithDeliveryQueue, DeliversThereInOrder)
{
    constexpr LONGLONG frames = 1000;
    const CComPtr<FakeStream> stream(new FakeStream);
    const tvx::MFMessageQueue queue(tvx::MFMessageQueue::Type::Serial, 0);
    const std::unique_ptr<tvx::ISampleRequestManager> manager(
        tvx::createBufferingSampleRequestManager(stream, INT64_MAX, &queue, nullptr));
    Recorded<std::thread::id> threads;
    stream->afterDelivery = [&threads](const Delivery &) { threads.add(std::this_thread::get_id()); };
    for (LONGLONG time = 0; time < frames; ++time) {
        ASSERT_EQ(manager->RequestSample(nullptr), S_OK);
        ASSERT_EQ(manager->PushSample(makeSampleAt(time)), S_OK);
    }
    ASSERT_TRUE(threads.waitForCount(frames));
    LONGLONG next = 0;
    for (const Delivery &delivery : stream->deliveries.values())
        ASSERT_EQ(delivery, sampleAt(next++));
    for (const std::thread::id &thread : threads.values())
        ASSERT_NE(thread, std::this_thread::get_id());
}
