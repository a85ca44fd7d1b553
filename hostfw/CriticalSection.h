#pragma once

#include <mutex>

// A lock that the thread holding it may take again.
class CriticalSection
{
public:
    CriticalSection() = default;
    CriticalSection(const CriticalSection &) = delete;
    CriticalSection &operator=(const CriticalSection &) = delete;

    void Lock() { m_mutex.lock(); }
    void Unlock() { m_mutex.unlock(); }

private:
    std::recursive_mutex m_mutex;
};

// Holds a critical section for its own lifetime.
class AutoLock
{
public:
    explicit AutoLock(CriticalSection &section) : m_section(section) { m_section.Lock(); }
    AutoLock(const AutoLock &) = delete;
    AutoLock &operator=(const AutoLock &) = delete;
    ~AutoLock() { m_section.Unlock(); }

private:
    CriticalSection &m_section;
};
