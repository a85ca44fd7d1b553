#include "hostfw/CriticalSection.h"

#include <gtest/gtest.h>

#include <future>

namespace
{

// Whether another thread comes in before `leave` is called.
template <typename Leave>
bool othersWait(CriticalSection &section, Leave leave)
{
    std::promise<void> begun;
    auto other = std::async(std::launch::async, [&] {
        begun.set_value();
        const AutoLock lock(section);
    });
    begun.get_future().wait();
    const bool waits = other.wait_for(std::chrono::milliseconds(20)) == std::future_status::timeout;
    leave();
    other.get(); // comes in now
    return waits;
}

TEST(CriticalSection, KeepsOtherThreadsOutUntilItIsLeft)
{
    CriticalSection section;
    section.Lock();
    EXPECT_TRUE(othersWait(section, [&] { section.Unlock(); }));
}

TEST(CriticalSection, IsLeftAsOftenAsItWasEntered)
{
    CriticalSection section;
    section.Lock();
    {
        const AutoLock lock(section);
        const AutoLock again(section);
    }
    EXPECT_TRUE(othersWait(section, [&] { section.Unlock(); }));
}

TEST(AutoLock, LeavesTheSectionWhenItGoes)
{
    CriticalSection section;
    {
        const AutoLock lock(section);
    }
    // Or this would wait for ever.
    std::async(std::launch::async, [&] { const AutoLock lock(section); }).get();
}

} // namespace
