#pragma once

// What the tests of queues, events and clocks share: a callback made of a function, and things to wait for.

#include "hostfw/ComPtr.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

// How long a test waits for what has to happen before it fails.
constexpr std::chrono::seconds patience{20};

// Media Foundation is up during the test.
class StartedPlatform : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_LITE), S_OK); }
    void TearDown() override { EXPECT_EQ(MFShutdown(), S_OK); }
};

// A list that threads append to and tests wait for.
template <typename T>
class Record
{
public:
    void add(T entry)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_entries.push_back(std::move(entry));
        m_changed.notify_all();
    }
    // Whether there come to be that many.
    bool waitFor(size_t count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, patience, [&] { return m_entries.size() >= count; });
    }
    std::vector<T> entries()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_entries;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<T> m_entries;
};

// Holds threads up until it is opened.
class Gate
{
public:
    void open()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_open = true;
        m_changed.notify_all();
    }
    bool wait()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, patience, [this] { return m_open; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_open = false;
};

// Reference counting for test objects.
template <typename Interface>
class TestObject : public Interface
{
public:
    virtual ~TestObject() = default;

    STDMETHODIMP QueryInterface(REFIID iid, void **out) override
    {
        *out = nullptr;
        if (!IsEqualIID(iid, __uuidof(IUnknown)) && !IsEqualIID(iid, __uuidof(Interface)))
            return E_NOINTERFACE;
        *out = static_cast<Interface *>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }

private:
    std::atomic<ULONG> m_references{0};
};

// Runs a function, and another one when it goes.
class Callback final : public TestObject<IMFAsyncCallback>
{
public:
    using Function = std::function<void(IMFAsyncResult *)>;

    explicit Callback(Function function, DWORD workQueue = 0, std::function<void()> atEnd = {})
        : m_function(std::move(function)), m_workQueue(workQueue), m_atEnd(std::move(atEnd))
    {
    }
    ~Callback() override
    {
        if (m_atEnd)
            m_atEnd();
    }

    STDMETHODIMP GetParameters(DWORD *flags, DWORD *workQueue) override
    {
        if (m_workQueue == 0)
            return E_NOTIMPL;
        *flags = 0;
        *workQueue = m_workQueue;
        return S_OK;
    }
    STDMETHODIMP Invoke(IMFAsyncResult *result) override
    {
        m_function(result);
        return S_OK;
    }

private:
    const Function m_function;
    const DWORD m_workQueue;
    const std::function<void()> m_atEnd;
};

inline CComPtr<Callback> makeCallback(Callback::Function function, DWORD workQueue = 0,
                                      std::function<void()> atEnd = {})
{
    return CComPtr<Callback>(new Callback(std::move(function), workQueue, std::move(atEnd)));
}

// Whether everything that waited on a queue with one thread has run.
inline bool drain(DWORD workQueue)
{
    const auto reached = std::make_shared<Gate>();
    return SUCCEEDED(
               MFPutWorkItem(workQueue, makeCallback([reached](IMFAsyncResult *) { reached->open(); }), nullptr)) &&
           reached->wait();
}

// An object to pass around: state of operations, element of collections.
class Token final : public TestObject<IUnknown>
{
public:
    STDMETHODIMP QueryInterface(REFIID iid, void **out) override
    {
        *out = nullptr;
        if (!IsEqualIID(iid, __uuidof(IUnknown)))
            return E_NOINTERFACE;
        *out = this;
        AddRef();
        return S_OK;
    }
};

inline CComPtr<IUnknown> makeToken()
{
    return CComPtr<IUnknown>(new Token);
}
