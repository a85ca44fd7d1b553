#include "hostfw/MessageQueue.h"

#include "hostfw/ComException.h"
#include "hostfw/ComPtr.h"
#include "multimedia/AsyncCallback.h"
#include "multimedia/Log.h"
#include "multimedia/RingBuffer.h"
#include "multimedia/WorkContext.h"

#include <mfapi.h>

#include <mutex>
#include <thread>

namespace tvx
{

namespace
{

struct Item {
    std::function<HRESULT()> function;
    CComPtr<IUnknown> context;
};

// Nothing that a function does may keep the next one from running.
void run(const Item &item)
{
    const WorkContext::Scope scope(item.context);
    try {
        const HRESULT hr = item.function();
        if (FAILED(hr))
            qCWarning(multimediaLog, "A queued function failed (HR=0x%X)", static_cast<unsigned>(hr));
    } catch (const ComException &exception) {
        qCWarning(multimediaLog, "A queued function threw: %s (HR=0x%X)", qPrintable(exception.getMessage()),
                  static_cast<unsigned>(exception.getErrorCode()));
    } catch (const std::exception &exception) {
        qCWarning(multimediaLog, "A queued function threw: %s", exception.what());
    } catch (...) {
        qCWarning(multimediaLog, "A queued function threw");
    }
}

// Gives a work queue back on another thread than the queue's own: the system may wait for what the queue runs.
class QueueReturn : public AsyncCallback
{
public:
    static void start(DWORD workQueue)
    {
        const CComPtr<QueueReturn> giveBack(new QueueReturn(workQueue));
        // Fails when the platform is shut down, which takes the work queue with it.
        MFPutWorkItem(MFASYNC_CALLBACK_QUEUE_MULTITHREADED, giveBack, nullptr);
    }

    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult *) override { return MFUnlockWorkQueue(m_workQueue); }

private:
    explicit QueueReturn(DWORD workQueue) : AsyncCallback(L"QueueReturn", nullptr), m_workQueue(workQueue) {}

    const DWORD m_workQueue;
};

} // namespace

// The items, and at most one work item under way that runs the first of them and puts itself again while there are
// more. Kept alive by the queue's copies and by that work item.
class MFMessageQueue::Impl : public std::enable_shared_from_this<Impl>
{
public:
    Impl(Type type, DWORD priority) : m_priority(static_cast<LONG>(priority)), m_private(type == Type::Serial)
    {
        const HRESULT hr = m_private ? MFAllocateWorkQueueEx(MF_STANDARD_WORKQUEUE, &m_workQueue) : S_OK;
        if (FAILED(hr))
            throw ComException(hr, QStringLiteral("No work queue"));
        m_step = new Step(*this);
    }

    ~Impl()
    {
        m_step->forget();
        if (!m_private)
            return;
        if (m_thread == std::this_thread::get_id())
            QueueReturn::start(m_workQueue);
        else
            MFUnlockWorkQueue(m_workQueue);
    }

    HRESULT push(Item item)
    {
        size_t index = 0;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            index = m_items.size();
            m_items.pushBack(std::move(item));
            if (m_underWay)
                return S_OK;
            m_underWay = shared_from_this();
        }
        const HRESULT hr = putStep();
        if (FAILED(hr))
            takeBack(index);
        return hr;
    }

private:
    class Step : public AsyncCallback
    {
    public:
        explicit Step(Impl &queue) : AsyncCallback(L"MFMessageQueue", nullptr), m_queue(&queue) {}

        HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult *) override
        {
            m_queue->step();
            return S_OK;
        }
        void forget() { m_queue = nullptr; }

    private:
        Impl *m_queue;
    };

    // Without the lock, for the thread that this wakes takes it first thing.
    HRESULT putStep() { return MFPutWorkItem2(m_workQueue, m_priority, m_step, nullptr); }

    // The item of a push that failed. What others have pushed meanwhile was accepted, and waits for the next push.
    void takeBack(size_t index)
    {
        Item refused;
        std::shared_ptr<Impl> self; // both go after the lock
        const std::lock_guard<std::mutex> lock(m_mutex);
        refused = m_items.take(index);
        std::swap(self, m_underWay);
    }

    void step()
    {
        run(takeFirst());
        {
            std::shared_ptr<Impl> self; // may be the last reference: it goes after the lock
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_items.empty()) {
                std::swap(self, m_underWay);
                return;
            }
        }
        const HRESULT hr = putStep();
        if (SUCCEEDED(hr))
            return;
        {
            std::shared_ptr<Impl> self;
            const std::lock_guard<std::mutex> lock(m_mutex);
            std::swap(self, m_underWay);
        }
        qCWarning(multimediaLog, "Queued functions wait until another is queued (HR=0x%X)", static_cast<unsigned>(hr));
    }

    Item takeFirst()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_thread = std::this_thread::get_id();
        return m_items.takeFront();
    }

    const LONG m_priority;
    const bool m_private;
    DWORD m_workQueue = MFASYNC_CALLBACK_QUEUE_MULTITHREADED;
    CComPtr<Step> m_step;

    std::mutex m_mutex;
    RingBuffer<Item> m_items;         // guarded by m_mutex
    std::shared_ptr<Impl> m_underWay; // set while a work item is or is being put; guarded by m_mutex
    std::thread::id m_thread;         // that ran an item last; guarded by m_mutex
};

MFMessageQueue::MFMessageQueue(Type type, DWORD priority) : m_impl(std::make_shared<Impl>(type, priority)) {}

MFMessageQueue::MFMessageQueue(const MFMessageQueue &other) = default;
MFMessageQueue &MFMessageQueue::operator=(const MFMessageQueue &other) = default;
MFMessageQueue::~MFMessageQueue() = default;

HRESULT MFMessageQueue::push(const std::function<HRESULT()> &function) const
{
    if (!function)
        return E_INVALIDARG;
    return m_impl->push({function, WorkContext::current()});
}

} // namespace tvx
