#include "host/Console.h"

#include <QtCore/qglobal.h>

#include <gtest/gtest.h>

#ifdef Q_OS_WIN // elsewhere the threads of the work queues have ended before

#include <future>
#include <mutex>
#include <thread>

namespace
{

std::mutex heldForEver;

class NeedsTheLockAtTheEnd
{
public:
    ~NeedsTheLockAtTheEnd() { heldForEver.lock(); }
};

void endWhileAThreadHoldsTheLock(int exitCode)
{
    static const NeedsTheLockAtTheEnd object;
    std::promise<void> held;
    std::thread([&held] {
        heldForEver.lock();
        held.set_value();
        std::promise<void>().get_future().wait();
    }).detach();
    held.get_future().wait();
    host::endProcess(exitCode);
}

} // namespace

TEST(ProcessEndDeathTest, DoesNotWaitForALockThatAnotherThreadHolds)
{
    EXPECT_EXIT(endWhileAThreadHoldsTheLock(7), testing::ExitedWithCode(7), "");
}

#endif
