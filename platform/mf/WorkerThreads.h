#pragma once

#include <windows.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>

namespace winmedia
{

// The threads behind all work queues.
//
// Whoever ends a queue may be running on that queue's own thread, so nobody joins a thread at that point. A thread that
// is through parks its handle here, and the next one to come by joins it: the next to allocate or unlock a queue,
// MFShutdown, or the end of the process. Threads that still run at the end of the process are left alone.
class WorkerThreads
{
public:
    // Lives as long as the process, so that threads may still finish while static objects go.
    static WorkerThreads &instance();
    static bool isCurrentThread();

    // `name` is for a debugger's eye, at most 15 characters. E_OUTOFMEMORY when there is no thread to be had.
    HRESULT spawn(const std::string &name, std::function<void()> body);
    void joinFinished();
    // Waits until none runs any more, joins them, and says whether it came to that in time.
    bool joinAll(std::chrono::milliseconds limit);
    // From now on nobody comes by any more.
    void endOfProcess();

private:
    using Threads = std::list<std::thread>;

    void finish(Threads::iterator self);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by m_mutex.
    Threads m_running;
    Threads m_finished;
    bool m_ending = false;
};

} // namespace winmedia
