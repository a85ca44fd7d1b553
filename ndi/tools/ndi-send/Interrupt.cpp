#include "ndi/tools/ndi-send/Interrupt.h"

#include <atomic>
#include <csignal>

#ifdef _WIN32
#include <cstdio>
#include <fcntl.h>
#include <io.h>
#else
#include <pthread.h>
#endif

namespace ndisend
{

namespace
{

std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set by a signal handler");

} // namespace

bool interrupted()
{
    return g_interrupted.load();
}

#ifdef _WIN32

extern "C" {
// Used up by its first signal.
static void onInterrupt(int)
{
    g_interrupted.store(true);
}
}

void catchInterrupts()
{
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
}

void makeStandardInputBinary()
{
    _setmode(_fileno(stdin), _O_BINARY);
}

#else

namespace
{

pthread_t g_mainThread;

} // namespace

extern "C" {
// The signal may come to any thread; it is the main thread that may be waiting for a silent pipe.
static void onInterrupt(int signal)
{
    if (pthread_equal(pthread_self(), g_mainThread) == 0) {
        pthread_kill(g_mainThread, signal);
        return;
    }
    g_interrupted.store(true);
    std::signal(signal, SIG_DFL);
}
}

void catchInterrupts()
{
    g_mainThread = pthread_self();
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    // Without SA_RESTART, so that the read of a silent pipe comes back.
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

void makeStandardInputBinary() {}

#endif

} // namespace ndisend
