// How the request manager makes its stream produce frames.

#include "hostfw/SampleRequestManager.h"
#include "tests/multimedia/FakeStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mferror.h>

#include <algorithm>
#include <array>

namespace
{

using tvx::MFMessageQueue;

// A manager with a serial request queue.
class FrameRequests : public testing::Test
{
protected:
    // Waits until everything on the request queue, and whatever that pushed, has run.
    void settle()
    {
        for (int turn = 0; turn < 8; ++turn) {
            Gate reached;
            m_queue.push([&reached] {
                reached.open();
                return S_OK;
            });
            ASSERT_TRUE(reached.wait());
        }
    }
    void push(LONGLONG time) { m_manager->PushSample(makeSampleAt(time)); }

    const MFMessageQueue m_queue{MFMessageQueue::Type::Serial, 0};
    const CComPtr<FakeStream> m_stream{new FakeStream};
    const std::unique_ptr<tvx::ISampleRequestManager> m_manager{
        tvx::createBufferingSampleRequestManager(m_stream, INT64_MAX, nullptr, &m_queue)};
};

} // namespace

TEST_F(FrameRequests, AsksForAFrameThatNoSampleWaitsFor)
{
    LONGLONG time = 0;
    m_stream->makeFrame = [&] {
        push(++time);
        return S_OK;
    };
    m_manager->RequestSample(nullptr);
    m_manager->RequestSample(nullptr);
    ASSERT_TRUE(m_stream->deliveries.waitForCount(2));
    settle();
    EXPECT_THAT(m_stream->deliveries.values(), testing::ElementsAre(sampleAt(1), sampleAt(2)));
    EXPECT_EQ(m_stream->frameRequests, 2);
}

TEST_F(FrameRequests, AsksForNothingWhenASampleWaits)
{
    push(1);
    m_manager->RequestSample(nullptr);
    settle();
    EXPECT_EQ(m_stream->deliveries.count(), 1U);
    EXPECT_EQ(m_stream->frameRequests, 0);
}

TEST_F(FrameRequests, AsksAgainWhenARequestEndedWithoutASample)
{
    m_stream->makeFrame = [this] {
        if (m_stream->frameRequests == 3)
            push(1);
        return S_OK;
    };
    m_manager->RequestSample(nullptr);
    ASSERT_TRUE(m_stream->deliveries.waitForCount(1));
    settle();
    EXPECT_EQ(m_stream->frameRequests, 3);
}

TEST_F(FrameRequests, DoesNotAskAgainWhenThereIsNothingToTakeAFrameFrom)
{
    m_stream->makeFrame = [] { return S_FALSE; };
    m_manager->RequestSample(nullptr);
    settle();
    EXPECT_EQ(m_stream->frameRequests, 1);
}

TEST_F(FrameRequests, DoesNotAskAgainAfterAFailure)
{
    m_stream->makeFrame = [] { return E_FAIL; };
    m_manager->RequestSample(nullptr);
    settle();
    EXPECT_EQ(m_stream->frameRequests, 1);
}

TEST_F(FrameRequests, DoesNotAskAgainWhenTheProducerThrows)
{
    m_stream->makeFrame = []() -> HRESULT { throw 1; };
    m_manager->RequestSample(nullptr);
    settle();
    EXPECT_EQ(m_stream->frameRequests, 1);
}

TEST_F(FrameRequests, AsksForAllThatWaitWithTheNextRequest)
{
    LONGLONG time = 0;
    m_stream->makeFrame = [&] {
        if (m_stream->frameRequests == 1)
            return S_FALSE;
        push(++time);
        return S_OK;
    };
    m_manager->RequestSample(nullptr);
    settle();
    m_manager->RequestSample(nullptr);
    ASSERT_TRUE(m_stream->deliveries.waitForCount(2));
    settle();
    EXPECT_EQ(m_stream->frameRequests, 3);
}

TEST_F(FrameRequests, IsUnderWayUntilTheLastItemItPushedHasEnded)
{
    // Works through three items of its own before it has a frame.
    m_stream->makeFrame = [this] {
        return m_queue.push(
            [this] { return m_queue.push([this] { return m_queue.push([this] { return push(1), S_OK; }); }); });
    };
    m_manager->RequestSample(nullptr);
    ASSERT_TRUE(m_stream->deliveries.waitForCount(1));
    settle();
    EXPECT_EQ(m_stream->frameRequests, 1);
}

TEST_F(FrameRequests, AsksOncePerUnansweredRequestWhileTheProducerIsOnItsWay)
{
    Gate proceed;
    LONGLONG time = 0;
    m_stream->makeFrame = [&] {
        proceed.wait();
        push(++time);
        return S_OK;
    };
    for (int request = 0; request < 4; ++request)
        m_manager->RequestSample(nullptr);
    proceed.open();
    ASSERT_TRUE(m_stream->deliveries.waitForCount(4));
    settle();
    EXPECT_EQ(m_stream->frameRequests, 4);
}

TEST_F(FrameRequests, IsNotMadeAgainAfterAFlush)
{
    m_stream->makeFrame = [this] {
        if (m_stream->frameRequests < 10)
            m_manager->Flush();
        return S_OK;
    };
    m_manager->RequestSample(nullptr);
    settle();
    EXPECT_EQ(m_stream->frameRequests, 1);
}

TEST_F(FrameRequests, IsNotMadeAgainAfterTheManagerIsShutDown)
{
    m_stream->makeFrame = [this] {
        m_manager->Shutdown();
        return S_OK;
    };
    m_manager->RequestSample(nullptr);
    settle();
    EXPECT_EQ(m_stream->frameRequests, 1);
}

TEST(FrameRequestsWithoutQueue, AreMadeOnTheThreadThatRequests)
{
    const CComPtr<FakeStream> stream(new FakeStream);
    const std::unique_ptr<tvx::ISampleRequestManager> manager(
        tvx::createBufferingSampleRequestManager(stream, INT64_MAX, nullptr, nullptr));
    stream->makeFrame = [&] { return manager->PushSample(makeSampleAt(1)); };
    manager->RequestSample(nullptr);
    EXPECT_THAT(stream->deliveries.values(), testing::ElementsAre(sampleAt(1)));
    EXPECT_EQ(stream->frameRequests, 1);
}

TEST(FrameRequestsWithoutQueue, AreRepeatedWithoutGrowingTheStack)
{
    constexpr int futile = 200'000;
    const CComPtr<FakeStream> stream(new FakeStream);
    const std::unique_ptr<tvx::ISampleRequestManager> manager(
        tvx::createBufferingSampleRequestManager(stream, INT64_MAX, nullptr, nullptr));
    stream->makeFrame = [&] { return stream->frameRequests <= futile ? S_OK : manager->PushSample(makeSampleAt(1)); };
    manager->RequestSample(nullptr);
    EXPECT_EQ(stream->frameRequests, futile + 1);
    EXPECT_EQ(stream->deliveries.count(), 1U);
}

TEST(FrameRequestsOfALostManager, EndWithTheirStream)
{
    const MFMessageQueue queue(MFMessageQueue::Type::Serial, 0);
    const CComPtr<FakeStream> stream(new FakeStream);
    std::unique_ptr<tvx::ISampleRequestManager> manager(
        tvx::createBufferingSampleRequestManager(stream, INT64_MAX, nullptr, &queue));
    Gate proceed;
    Gate ended;
    stream->makeFrame = [&] {
        proceed.wait();
        return S_OK;
    };
    manager->RequestSample(nullptr);
    manager.reset();
    proceed.open();
    queue.push([&] {
        ended.open();
        return S_OK;
    });
    ASSERT_TRUE(ended.wait());
    EXPECT_EQ(stream->frameRequests, 1);
}

namespace
{

// Two streams fed from one capture, which gives frames of both kinds in any order. Each chain captures until it met a
// frame of its own kind; what it meets on the way goes to the stream it belongs to.
class TwoKinds
{
public:
    static constexpr int framesOfKind = 5000;

    TwoKinds()
    {
        for (size_t kind = 0; kind < m_streams.size(); ++kind) {
            m_streams[kind] = new FakeStream;
            m_managers[kind].reset(
                tvx::createBufferingSampleRequestManager(m_streams[kind], INT64_MAX, nullptr, &m_queue));
            m_streams[kind]->makeFrame = [this, kind] {
                m_mostChains = std::max(m_mostChains, ++m_chains);
                return capture(kind);
            };
            m_streams[kind]->afterDelivery = [this, kind](const Delivery &delivery) {
                if (delivery.time + 1 < framesOfKind)
                    m_managers[kind]->RequestSample(nullptr);
                else
                    m_finished.add(kind);
            };
        }
    }
    // Until both consumers have all their frames and no chain is left.
    bool run()
    {
        for (auto &manager : m_managers)
            manager->RequestSample(nullptr);
        const bool finished = m_finished.waitForCount(2);
        for (auto &manager : m_managers)
            manager->Shutdown();
        drain();
        return m_drained.wait() && finished;
    }
    std::vector<Delivery> delivered(size_t kind) const { return m_streams[kind]->deliveries.values(); }
    int mostChains() const { return m_mostChains; }

private:
    HRESULT capture(size_t wanted)
    {
        // A fixed sequence that looks random, the same in every run.
        m_noise = m_noise * 1664525U + 1013904223U;
        const size_t met = m_noise >> 31;
        m_managers[met]->PushSample(makeSampleAt(m_times[met]++));
        if (met != wanted && m_chains <= 2)
            return m_queue.push([this, wanted] { return capture(wanted); });
        --m_chains;
        return S_OK;
    }

    void drain()
    {
        m_queue.push([this] {
            if (m_chains > 0)
                drain();
            else
                m_drained.open();
            return S_OK;
        });
    }

    const MFMessageQueue m_queue{MFMessageQueue::Type::Serial, 0};
    std::array<CComPtr<FakeStream>, 2> m_streams;
    std::array<std::unique_ptr<tvx::ISampleRequestManager>, 2> m_managers;
    Recorded<size_t> m_finished;
    Gate m_drained;

    // Touched on the queue only.
    std::array<int, 2> m_times{};
    unsigned m_noise = 1;
    int m_chains = 0;
    int m_mostChains = 0;
};

} // namespace

TEST(FrameRequestsOfTwoStreams, NeverHaveMoreThanOneChainEach)
{
    TwoKinds simulation;
    ASSERT_TRUE(simulation.run());
    EXPECT_LE(simulation.mostChains(), 2);
}

TEST(FrameRequestsOfTwoStreams, AnswerEveryRequestInOrder)
{
    TwoKinds simulation;
    ASSERT_TRUE(simulation.run());
    for (size_t kind = 0; kind < 2; ++kind) {
        const std::vector<Delivery> delivered = simulation.delivered(kind);
        ASSERT_GE(delivered.size(), static_cast<size_t>(TwoKinds::framesOfKind));
        for (int frame = 0; frame < TwoKinds::framesOfKind; ++frame)
            ASSERT_EQ(delivered[static_cast<size_t>(frame)], sampleAt(frame));
    }
}
