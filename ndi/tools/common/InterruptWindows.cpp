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

DWORD g_mainThread = 0; // written before there are other threads

constexpr DWORD PipePeriod = 10; // milliseconds; a pipe cannot be waited for

bool isSilentPipe(HANDLE handle)
{
    DWORD available = 0;
    return GetFileType(handle) == FILE_TYPE_PIPE &&
           PeekNamedPipe(handle, nullptr, 0, nullptr, &available, nullptr) != 0 && available == 0;
}

// Who started the program without a console shared with it posts this to its main thread. The first call makes the
// queue that it can be posted to.
bool isAskedToClose()
{
    const auto noWindow = reinterpret_cast<HWND>(INT_PTR{-1});
    MSG message{};
    return PeekMessageW(&message, noWindow, WM_CLOSE, WM_CLOSE, PM_REMOVE) != FALSE;
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
    g_mainThread = GetCurrentThreadId();
    if (isAskedToClose())
        g_interrupted.store(true);
}

bool interrupted()
{
    if (!g_interrupted.load() && GetCurrentThreadId() == g_mainThread && isAskedToClose())
        g_interrupted.store(true);
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
