#include "ndi/tools/ndi-send/Interrupt.h"

#include <atomic>
#include <csignal>

#ifdef _WIN32
#include <cstdio>
#include <fcntl.h>
#include <io.h>
#endif

namespace ndisend
{

namespace
{

std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set by a signal handler");

} // namespace

extern "C" {
static void onInterrupt(int)
{
    g_interrupted.store(true);
}
}

bool interrupted()
{
    return g_interrupted.load();
}

#ifdef _WIN32

void catchInterrupts()
{
    // A handler is used up by its first signal here.
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
}

void makeStandardInputBinary()
{
    _setmode(_fileno(stdin), _O_BINARY);
}

#else

void catchInterrupts()
{
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    // Without SA_RESTART, so that a read from a silent pipe comes back.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

void makeStandardInputBinary() {}

#endif

} // namespace ndisend
