#include "ndi/tools/common/Interrupt.h"

#include <atomic>
#include <csignal>

#include <windows.h>

#include <io.h>

namespace nditools
{

namespace
{

std::atomic<bool> g_interrupted{false};

constexpr DWORD PipePeriod = 10; // milliseconds; a pipe cannot be waited for

bool isSilentPipe(HANDLE handle)
{
    DWORD available = 0;
    return GetFileType(handle) == FILE_TYPE_PIPE &&
           PeekNamedPipe(handle, nullptr, 0, nullptr, &available, nullptr) != 0 && available == 0;
}

} // namespace

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

bool interrupted()
{
    return g_interrupted.load();
}

bool waitUntilReadable(int descriptor)
{
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    while (!interrupted() && isSilentPipe(handle))
        Sleep(PipePeriod);
    return !interrupted();
}

} // namespace nditools
