#include <gtest/gtest.h>

#include <windows.h>

#include <objbase.h>

#include <string>
#include <thread>

namespace
{

// Every thread begins outside of COM.
template <typename Body>
void onNewThread(const Body &body)
{
    std::thread thread(body);
    thread.join();
}

constexpr GUID someGuid = {0x01234567, 0x89AB, 0xCDEF, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};

} // namespace

TEST(Apartment, IsEnteredOnceAndThenAgain)
{
    onNewThread([] {
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
        CoUninitialize();
        CoUninitialize();
    });
}

TEST(Apartment, KeepsItsKindUntilItIsLeft)
{
    onNewThread([] {
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), RPC_E_CHANGED_MODE);
        CoUninitialize();
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        CoUninitialize();
    });
}

TEST(Apartment, IsEachThreadsOwn)
{
    onNewThread([] {
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        onNewThread([] {
            EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
            CoUninitialize();
        });
        CoUninitialize();
    });
}

TEST(Identifier, IsRandomByTheStandard)
{
    GUID first = {};
    GUID second = {};
    EXPECT_EQ(CoCreateGuid(&first), S_OK);
    EXPECT_EQ(CoCreateGuid(&second), S_OK);
    EXPECT_FALSE(IsEqualGUID(first, second));
    EXPECT_EQ(first.Data3 >> 12, 4);
    EXPECT_EQ(first.Data4[0] >> 6, 2);
}

TEST(Identifier, IsWrittenInBraces)
{
    OLECHAR text[39] = {};
    ASSERT_EQ(StringFromGUID2(someGuid, text, 39), 39);
    EXPECT_EQ(std::string(text, text + 38), "{01234567-89AB-CDEF-0123-456789ABCDEF}");
    EXPECT_EQ(text[38], 0);
}

TEST(Identifier, IsNotWrittenWhereItDoesNotFit)
{
    OLECHAR text[39] = {};
    EXPECT_EQ(StringFromGUID2(someGuid, text, 38), 0);
}

TEST(TaskMemory, KeepsItsContentWhenItGrows)
{
    auto *block = static_cast<char *>(CoTaskMemAlloc(4));
    ASSERT_NE(block, nullptr);
    std::copy_n("abc", 4, block);
    block = static_cast<char *>(CoTaskMemRealloc(block, 4096));
    ASSERT_NE(block, nullptr);
    EXPECT_STREQ(block, "abc");
    EXPECT_EQ(CoTaskMemRealloc(block, 0), nullptr);
    CoTaskMemFree(nullptr);
}
