#include "hostfw/MessageQueue.h"
#include "hostfw/ComException.h"
#include "hostfw/ComPtr.h"
#include "tests/multimedia/Recorded.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

using tvx::MFMessageQueue;

namespace
{

class MessageQueueOfType : public testing::TestWithParam<MFMessageQueue::Type>
{
protected:
    MFMessageQueue m_queue{GetParam(), 0};
};

constexpr int producerCount = 8;
constexpr int itemsOfProducer = 500;

} // namespace

TEST_P(MessageQueueOfType, RunsWhatWasPushed)
{
    Gate ran;
    ASSERT_EQ(m_queue.push([&] {
        ran.open();
        return S_OK;
    }),
              S_OK);
    EXPECT_TRUE(ran.wait());
}

TEST_P(MessageQueueOfType, RefusesAnEmptyFunction)
{
    EXPECT_EQ(m_queue.push({}), E_INVALIDARG);
}

TEST_P(MessageQueueOfType, RunsOneFunctionAtATime)
{
    Recorded<bool> alone;
    std::atomic<int> inside{0};
    for (int item = 0; item < 1000; ++item)
        m_queue.push([&] {
            const bool first = ++inside == 1;
            std::this_thread::yield();
            const bool last = inside-- == 1;
            alone.add(first && last);
            return S_OK;
        });
    ASSERT_TRUE(alone.waitForCount(1000));
    EXPECT_EQ(alone.values(), std::vector<bool>(1000, true));
}

TEST_P(MessageQueueOfType, KeepsTheOrderOfEachOfManyProducers)
{
    struct Ran {
        int producer;
        int item;
    };
    Recorded<Ran> ran;
    Gate start;
    std::vector<std::thread> producers;
    for (int producer = 0; producer < producerCount; ++producer)
        producers.emplace_back([&, producer] {
            start.wait();
            for (int item = 0; item < itemsOfProducer; ++item)
                m_queue.push([&ran, producer, item] {
                    ran.add({producer, item});
                    return S_OK;
                });
        });
    start.open();
    for (std::thread &producer : producers)
        producer.join();
    ASSERT_TRUE(ran.waitForCount(producerCount * itemsOfProducer));
    std::vector<int> next(producerCount, 0);
    for (const Ran &one : ran.values())
        ASSERT_EQ(one.item, next[static_cast<size_t>(one.producer)]++);
    EXPECT_EQ(next, std::vector<int>(producerCount, itemsOfProducer));
}

TEST_P(MessageQueueOfType, TakesPushesFromItsOwnFunctions)
{
    Recorded<int> ran;
    m_queue.push([this, &ran] {
        m_queue.push([&ran] {
            ran.add(2);
            return S_OK;
        });
        ran.add(1);
        return S_OK;
    });
    ASSERT_TRUE(ran.waitForCount(2));
    EXPECT_EQ(ran.values(), (std::vector<int>{1, 2}));
}

TEST_P(MessageQueueOfType, GoesOnAfterFunctionsThatFailOrThrow)
{
    LogCapture log;
    Recorded<int> ran;
    m_queue.push([] { return E_ABORT; });
    m_queue.push([]() -> HRESULT { throw ComException(E_ACCESSDENIED, QStringLiteral("of COM")); });
    m_queue.push([]() -> HRESULT { throw std::runtime_error("of the library"); });
    m_queue.push([]() -> HRESULT { throw 5; });
    m_queue.push([&ran] {
        ran.add(1);
        return S_OK;
    });
    ASSERT_TRUE(ran.waitForCount(1));
    EXPECT_EQ(log.countContaining(QStringLiteral("A queued function failed (HR=0x80004004)")), 1);
    EXPECT_EQ(log.countContaining(QStringLiteral("A queued function threw: of COM (HR=0x80070005)")), 1);
    EXPECT_EQ(log.countContaining(QStringLiteral("A queued function threw: of the library")), 1);
    EXPECT_EQ(log.countContaining(QStringLiteral("A queued function threw")), 3);
}

TEST_P(MessageQueueOfType, SaysNothingOfASuccessThatIsNotSOk)
{
    LogCapture log;
    Gate ran;
    m_queue.push([] { return S_FALSE; });
    m_queue.push([&] {
        ran.open();
        return S_OK;
    });
    ASSERT_TRUE(ran.wait());
    EXPECT_EQ(log.countContaining(QStringLiteral("A queued function")), 0);
}

TEST_P(MessageQueueOfType, CopiesAreTheSameQueue)
{
    Recorded<int> ran;
    MFMessageQueue copy(m_queue);
    MFMessageQueue assigned(GetParam(), 0);
    assigned = copy;
    const MFMessageQueue *const faces[] = {&m_queue, &copy, &assigned};
    for (int item = 0; item < 300; ++item)
        faces[item % 3]->push([&ran, item] {
            ran.add(item);
            return S_OK;
        });
    ASSERT_TRUE(ran.waitForCount(300));
    const std::vector<int> order = ran.values();
    for (int item = 0; item < 300; ++item)
        ASSERT_EQ(order[static_cast<size_t>(item)], item);
}

TEST_P(MessageQueueOfType, RunsWhatWaitsWhenTheLastCopyGoes)
{
    Recorded<int> ran;
    Gate proceed;
    {
        const MFMessageQueue queue(GetParam(), 0);
        queue.push([&proceed] { return proceed.wait() ? S_OK : E_FAIL; });
        for (int item = 0; item < 10; ++item)
            queue.push([&ran, item] {
                ran.add(item);
                return S_OK;
            });
    }
    EXPECT_EQ(ran.count(), 0U);
    proceed.open();
    ASSERT_TRUE(ran.waitForCount(10));
    EXPECT_EQ(ran.values(), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST_P(MessageQueueOfType, LastCopyMayGoOnItsOwnThread)
{
    Gate copied;
    Gate gone;
    {
        auto queue = std::make_shared<std::optional<MFMessageQueue>>(std::in_place, GetParam(), 0);
        (*queue)->push([queue, &copied, &gone] {
            copied.wait();
            queue->reset();
            gone.open();
            return S_OK;
        });
    }
    copied.open();
    EXPECT_TRUE(gone.wait());
}

TEST_P(MessageQueueOfType, FreesAFunctionOnceItRan)
{
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    Gate next;
    m_queue.push([held = std::move(held)] { return S_OK; });
    m_queue.push([&next] {
        next.open();
        return S_OK;
    });
    ASSERT_TRUE(next.wait());
    EXPECT_TRUE(watched.expired());
}

INSTANTIATE_TEST_SUITE_P(Types, MessageQueueOfType,
                         testing::Values(MFMessageQueue::Type::Serial, MFMessageQueue::Type::Shared),
                         [](const auto &type) {
                             return type.param == MFMessageQueue::Type::Serial ? "Serial" : "Shared";
                         });

TEST(MessageQueue, SerialQueuesDoNotHoldEachOtherUp)
{
    const MFMessageQueue blocked(MFMessageQueue::Type::Serial, 0);
    const MFMessageQueue free(MFMessageQueue::Type::Serial, 0);
    Gate proceed;
    Gate ran;
    Gate done;
    blocked.push([&] {
        const bool opened = proceed.wait();
        done.open();
        return opened ? S_OK : E_FAIL;
    });
    free.push([&] {
        ran.open();
        return S_OK;
    });
    EXPECT_TRUE(ran.wait());
    proceed.open();
    EXPECT_TRUE(done.wait());
}
