#pragma once

#include "tests/platform/AsyncSupport.h"

// A queue of the application's own, by default one with a thread.
class WorkQueue : public StartedPlatform
{
protected:
    void SetUp() override
    {
        StartedPlatform::SetUp();
        ASSERT_EQ(MFAllocateWorkQueue(&queue), S_OK);
    }
    void TearDown() override
    {
        if (queue) {
            EXPECT_EQ(MFUnlockWorkQueue(queue), S_OK);
        }
        StartedPlatform::TearDown();
    }

    // Occupies the queue's thread until the gate opens.
    void block(Gate &gate)
    {
        Gate entered;
        ASSERT_EQ(MFPutWorkItem(queue, makeCallback([&](IMFAsyncResult *) {
                                    entered.open();
                                    gate.wait();
                                }),
                                nullptr),
                  S_OK);
        ASSERT_TRUE(entered.wait());
    }

    DWORD queue = 0;
};
