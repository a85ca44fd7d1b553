#include "ndi/tools/common/Interrupt.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace nditools
{

namespace
{

std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set by a signal handler");

// Readable for good once a signal has come, so that no wait misses one, whenever it comes. Lives as long as the
// process.
std::array<int, 2> g_wakeUp{-1, -1};

} // namespace

extern "C" {
static void onInterrupt(int)
{
    const int error = errno;
    g_interrupted.store(true);
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    [[maybe_unused]] const ssize_t written = write(g_wakeUp[1], "", 1);
    errno = error;
}
}

void catchInterrupts()
{
    if (pipe(g_wakeUp.data()) == 0) {
        for (const int end : g_wakeUp) {
            fcntl(end, F_SETFD, FD_CLOEXEC);
            fcntl(end, F_SETFL, O_NONBLOCK);
        }
    }
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool interrupted()
{
    return g_interrupted.load();
}

bool waitUntilReadable(int descriptor)
{
    std::array<pollfd, 2> waits{{{descriptor, POLLIN, 0}, {g_wakeUp[0], POLLIN, 0}}};
    int ready = 0;
    do
        ready = poll(waits.data(), waits.size(), -1);
    while (ready < 0 && errno == EINTR && !interrupted());
    return !interrupted();
}

} // namespace nditools
