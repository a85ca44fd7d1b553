#pragma once

// What the tests of attributes on several threads share.

#include "tests/platform/AttributeKeys.h"
#include "tests/platform/DataSupport.h"

#include <thread>

constexpr int rounds = 2000;

inline CComPtr<IMFAttributes> emptyStore()
{
    CComPtr<IMFAttributes> store;
    EXPECT_EQ(MFCreateAttributes(&store, 0), S_OK);
    return store;
}
