#pragma once

// What the tests of attributes on several threads share.

#include "tests/platform/DataSupport.h"

#include <thread>

constexpr int rounds = 2000;
constexpr GUID key = {0x21, 0, 0, {0x78, 0, 0, 0, 0, 0, 0, 1}};
constexpr GUID otherKey = {0x22, 0, 0, {0x78, 0, 0, 0, 0, 0, 0, 1}};

inline CComPtr<IMFAttributes> emptyStore()
{
    CComPtr<IMFAttributes> store;
    EXPECT_EQ(MFCreateAttributes(&store, 0), S_OK);
    return store;
}
