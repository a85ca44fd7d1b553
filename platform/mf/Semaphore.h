#pragma once

#include <semaphore.h>

#include <cerrno>

namespace winmedia
{

// A count that threads wait for. Whoever is woken goes on at once: a condition variable would have it take a lock
// first, and tell the kernel when it lets go of that.
class Semaphore
{
public:
    Semaphore() { sem_init(&m_semaphore, 0, 0); } // cannot fail: the count is in range
    Semaphore(const Semaphore &) = delete;
    Semaphore &operator=(const Semaphore &) = delete;
    ~Semaphore() { sem_destroy(&m_semaphore); }

    void post() { sem_post(&m_semaphore); }
    void wait()
    {
        while (sem_wait(&m_semaphore) != 0 && errno == EINTR) {
        }
    }

private:
    sem_t m_semaphore;
};

} // namespace winmedia
