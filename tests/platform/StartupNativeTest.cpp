// What is documented of the time before the start and not kept by every system.

#include "tests/platform/AsyncSupport.h"

// Named so that it runs before the tests that start the platform.
TEST(StartupNativeDeathTest, QueuesAreLockedOfAStartedPlatformOnly)
{
    EXPECT_EQ(MFLockWorkQueue(MFASYNC_CALLBACK_QUEUE_STANDARD), MF_E_SHUTDOWN);
    EXPECT_EQ(MFUnlockWorkQueue(MFASYNC_CALLBACK_QUEUE_STANDARD), MF_E_SHUTDOWN);
}
