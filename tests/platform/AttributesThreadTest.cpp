#include "tests/platform/AttributesThreadSupport.h"

using AttributesOnThreads = StartedPlatform;

TEST_F(AttributesOnThreads, AreReadAndWrittenAtATime)
{
    const auto store = emptyStore();
    store->SetUINT64(anyKey, 0);
    std::thread writer([&] {
        for (int round = 0; round < rounds; ++round) {
            // Both halves are the same, so that a torn value shows.
            store->SetUINT64(anyKey, static_cast<UINT64>(round) << 32 | static_cast<UINT64>(round));
            store->SetUINT32(otherKey, 1);
            store->DeleteItem(otherKey);
        }
    });
    int torn = 0;
    for (int round = 0; round < rounds; ++round) {
        UINT64 value = 0;
        if (FAILED(store->GetUINT64(anyKey, &value)) || value >> 32 != (value & 0xFFFFFFFF))
            ++torn;
    }
    writer.join();
    EXPECT_EQ(torn, 0);
}

TEST_F(AttributesOnThreads, AreTheHoldersAloneWhileLocked)
{
    const auto store = emptyStore();
    store->SetUINT32(anyKey, 1);
    Gate started;
    std::atomic<bool> isWritten{false};
    EXPECT_EQ(store->LockStore(), S_OK);
    std::thread writer([&] {
        started.open();
        store->SetUINT32(anyKey, 2);
        isWritten = true;
    });
    EXPECT_TRUE(started.wait());
    for (int round = 0; round < rounds; ++round) {
        UINT32 value = 0;
        ASSERT_EQ(store->GetUINT32(anyKey, &value), S_OK);
        ASSERT_EQ(value, 1U);
    }
    EXPECT_FALSE(isWritten);
    EXPECT_EQ(store->UnlockStore(), S_OK);
    writer.join();
    UINT32 value = 0;
    EXPECT_EQ(store->GetUINT32(anyKey, &value), S_OK);
    EXPECT_EQ(value, 2U);
}
