#include "tests/platform/AsyncSupport.h"

#include <atomic>
#include <thread>

using SerialWorkQueue = StartedPlatform;

TEST_F(SerialWorkQueue, NeedsAQueueToRunOn)
{
    DWORD queue = 0;
    ASSERT_EQ(MFAllocateSerialWorkQueue(MFASYNC_CALLBACK_QUEUE_MULTITHREADED, &queue), S_OK);
    EXPECT_NE(queue & MFASYNC_CALLBACK_QUEUE_PRIVATE_MASK, 0U);
    EXPECT_EQ(MFUnlockWorkQueue(queue), S_OK);
}

TEST_F(SerialWorkQueue, RunsOneItemAtATimeInOrder_WhenManyThreadsPut)
{
    constexpr int producers = 8;
    constexpr int items = 500;
    DWORD queue = 0;
    ASSERT_EQ(MFAllocateSerialWorkQueue(MFASYNC_CALLBACK_QUEUE_MULTITHREADED, &queue), S_OK);

    Record<std::pair<int, int>> order;
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    std::vector<std::thread> threads;
    for (int producer = 0; producer < producers; ++producer) {
        threads.emplace_back([&, producer] {
            for (int item = 0; item < items; ++item) {
                const auto callback = makeCallback([&, producer, item](IMFAsyncResult *) {
                    if (++inside != 1)
                        overlapped = true;
                    std::this_thread::yield();
                    --inside;
                    order.add({producer, item});
                });
                EXPECT_EQ(MFPutWorkItem(queue, callback, nullptr), S_OK);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    ASSERT_TRUE(order.waitFor(producers * items));
    EXPECT_FALSE(overlapped);
    int next[producers] = {};
    for (const auto &[producer, item] : order.entries())
        ASSERT_EQ(item, next[producer]++) << "of producer " << producer;
    // Left to the platform's end: not every system endures that a queue is given back in the very moment in which its
    // last item ends, and none tells when that has passed.
}

TEST_F(SerialWorkQueue, TwoOfThemDoNotWaitForEachOther)
{
    DWORD queues[2] = {};
    Gate both[2];
    Record<bool> met;
    for (DWORD &queue : queues)
        ASSERT_EQ(MFAllocateSerialWorkQueue(MFASYNC_CALLBACK_QUEUE_MULTITHREADED, &queue), S_OK);
    for (int me = 0; me < 2; ++me) {
        ASSERT_EQ(MFPutWorkItem(queues[me], makeCallback([&, me](IMFAsyncResult *) {
                                    both[me].open();
                                    met.add(both[1 - me].wait());
                                }),
                                nullptr),
                  S_OK);
    }
    ASSERT_TRUE(met.waitFor(2));
    EXPECT_EQ(met.entries(), (std::vector<bool>{true, true}));
    // Left to the platform's end, as above.
}
