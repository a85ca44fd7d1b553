// No system says whether two stores may be compared and copied both ways at a time. Here neither waits for the other.

#include "tests/platform/AttributesThreadSupport.h"

using AttributesOnThreadsNative = StartedPlatform;

TEST_F(AttributesOnThreadsNative, AreComparedAndCopiedBothWaysAtATime)
{
    const auto left = emptyStore();
    const auto right = emptyStore();
    for (const auto &store : {left, right})
        for (const GUID &each : {anyKey, otherKey})
            store->SetUINT32(each, 1);
    const auto work = [](const CComPtr<IMFAttributes> &mine, const CComPtr<IMFAttributes> &theirs) {
        for (int round = 0; round < rounds; ++round) {
            BOOL same = FALSE;
            mine->Compare(theirs, MF_ATTRIBUTES_MATCH_INTERSECTION, &same);
            if (round % 8 == 0)
                mine->CopyAllItems(theirs);
        }
    };
    std::thread thread(work, right, left);
    work(left, right);
    thread.join();
    BOOL same = FALSE;
    EXPECT_EQ(left->CopyAllItems(right), S_OK);
    EXPECT_EQ(left->Compare(right, MF_ATTRIBUTES_MATCH_ALL_ITEMS, &same), S_OK);
    EXPECT_TRUE(same);
}
