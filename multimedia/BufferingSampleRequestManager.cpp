#include "multimedia/BufferingSampleRequestManager.h"

#include "hostfw/CUnknown.h"
#include "multimedia/DeliveryScope.h"
#include "multimedia/WorkContext.h"

#include <mferror.h>

#include <algorithm>
#include <atomic>
#include <cstdint>

namespace tvx
{

// One call of ISourceStream::RequestFrame and all work that derives from it: the context of that work. It ends when the
// last item of that work is gone; until then the producer is still on its way to a frame, whoever answers the request
// meanwhile. It then goes back to where it can be used again.
class SampleRequests::FrameRequest final : public IUnknown
{
public:
    // The caller gets the only reference.
    static CComPtr<FrameRequest> begin(std::unique_ptr<FrameRequest> frameRequest,
                                       std::shared_ptr<SampleRequests> requests, ISourceStream *stream)
    {
        frameRequest->m_requests = std::move(requests);
        frameRequest->m_stream = stream;
        frameRequest->m_result = S_FALSE;
        return {frameRequest.release()};
    }

    HRESULT run()
    {
        // Fails for good should the producer throw.
        m_result = E_FAIL;
        m_result = m_stream->RequestFrame();
        return m_result;
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void **out) override
    {
        if (!out)
            return E_POINTER;
        if (IsEqualIID(iid, __uuidof(IUnknown)))
            return GetInterface(this, out);
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --m_references;
        if (left == 0)
            end();
        return left;
    }

private:
    void end()
    {
        const std::shared_ptr<SampleRequests> requests = std::move(m_requests);
        const CComPtr<ISourceStream> stream = std::move(m_stream);
        requests->frameRequestEnded(std::unique_ptr<FrameRequest>(this), m_result);
    }

    std::atomic<ULONG> m_references{0};
    std::shared_ptr<SampleRequests> m_requests;
    CComPtr<ISourceStream> m_stream;
    HRESULT m_result = S_FALSE;
};

SampleRequests::SampleRequests(ISourceStream *stream, const HnsTime &limit, const MFMessageQueue *deliveryQueue,
                               const MFMessageQueue *requestQueue)
    : m_limit(limit), m_stream(stream)
{
    if (deliveryQueue)
        m_deliveryQueue = *deliveryQueue;
    if (requestQueue)
        m_requestQueue = *requestQueue;
}

SampleRequests::~SampleRequests() = default;

bool SampleRequests::isAccepting() const
{
    return m_stream->IsSelected() && !m_stream->IsStopped();
}

HRESULT SampleRequests::request(IUnknown *token)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_stream)
            return MF_E_SHUTDOWN;
        if (!m_stream->IsSelected())
            return MF_E_INVALIDREQUEST;
        if (m_stream->IsStopped())
            return MF_E_MEDIA_SOURCE_WRONGSTATE;
        if (m_ended)
            return MF_E_END_OF_STREAM;
        m_requests.pushBack(CComPtr<IUnknown>(token));
        m_refusedFrameRequests = 0;
    }
    deliver();
    requestFrames();
    return S_OK;
}

HRESULT SampleRequests::pushSample(IMFSample *sample)
{
    if (!sample)
        return E_POINTER;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_stream)
            return MF_E_SHUTDOWN;
        if (!isAccepting())
            return S_FALSE;
        m_entries.pushBack(CComPtr<IMFSample>(sample));
        ++m_waitingSamples;
        dropBeyondLimit();
    }
    deliver();
    return S_OK;
}

HRESULT SampleRequests::pushMediaTypeChange(IMFMediaType *type)
{
    if (!type)
        return E_POINTER;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_stream)
        return MF_E_SHUTDOWN;
    m_entries.pushBack(TypeChange{CComPtr<IMFMediaType>(type)});
    return S_OK;
}

HRESULT SampleRequests::pushGap(LONGLONG time)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_stream)
            return MF_E_SHUTDOWN;
        if (!isAccepting())
            return S_OK;
        m_entries.pushBack(Gap{time});
    }
    deliver();
    return S_OK;
}

HRESULT SampleRequests::pushEndOfData()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_stream)
            return MF_E_SHUTDOWN;
        if (!isAccepting() || m_ended || isEndWaiting())
            return S_OK;
        m_entries.pushBack(EndOfData{});
    }
    deliver();
    return S_OK;
}

HRESULT SampleRequests::flush()
{
    // Let go of without the lock.
    RingBuffer<CComPtr<IUnknown>> requests;
    RingBuffer<Entry> entries;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_stream)
        return MF_E_SHUTDOWN;
    std::swap(requests, m_requests);
    std::swap(entries, m_entries);
    m_waitingSamples = 0;
    m_refusedFrameRequests = 0;
    m_ended = false;
    ++m_flushes;
    for (size_t left = entries.size(); left > 0 && m_entries.empty(); --left)
        if (std::holds_alternative<TypeChange>(entries[left - 1]))
            m_entries.pushBack(std::move(entries[left - 1]));
    return S_OK;
}

void SampleRequests::shutdown()
{
    RingBuffer<CComPtr<IUnknown>> requests;
    RingBuffer<Entry> entries;
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::swap(requests, m_requests);
    std::swap(entries, m_entries);
    m_waitingSamples = 0;
    m_stream = nullptr;
}

void SampleRequests::dropBeyondLimit()
{
    if (static_cast<long long>(m_limit) == INT64_MAX)
        return;
    LONGLONG newest = 0;
    if (FAILED(std::get<CComPtr<IMFSample>>(m_entries.back())->GetSampleTime(&newest)))
        return;
    const auto isTooOld = [&](const Entry &entry) {
        const auto *const sample = std::get_if<CComPtr<IMFSample>>(&entry);
        LONGLONG time = 0;
        return sample && SUCCEEDED((*sample)->GetSampleTime(&time)) && m_limit < HnsTime(newest - time);
    };
    for (size_t left = m_entries.size(); left > 0; --left) {
        Entry entry = m_entries.takeFront();
        if (isTooOld(entry))
            --m_waitingSamples;
        else
            m_entries.pushBack(std::move(entry));
    }
}

bool SampleRequests::isEndWaiting() const
{
    for (size_t index = 0; index < m_entries.size(); ++index)
        if (std::holds_alternative<EndOfData>(m_entries[index]))
            return true;
    return false;
}

bool SampleRequests::isDeliverable(const Entry &first) const
{
    if (std::holds_alternative<CComPtr<IMFSample>>(first))
        return !m_requests.empty();
    // A type change goes with the sample behind it, or with the end when there is none.
    if (std::holds_alternative<TypeChange>(first))
        return m_waitingSamples > 0 ? !m_requests.empty() : isEndWaiting();
    return true;
}

bool SampleRequests::takeDeliverable(Entry &entry, CComPtr<IUnknown> &token)
{
    if (!m_stream || m_entries.empty() || !isDeliverable(m_entries.front()))
        return false;
    entry = m_entries.takeFront();
    if (std::holds_alternative<CComPtr<IMFSample>>(entry)) {
        token = m_requests.takeFront();
        --m_waitingSamples;
        m_refusedFrameRequests = std::min(m_refusedFrameRequests, m_requests.size());
    } else if (std::holds_alternative<EndOfData>(entry)) {
        m_ended = true;
        while (!m_requests.empty())
            m_requests.popBack();
    }
    return true;
}

void SampleRequests::deliver()
{
    if (!m_deliveryQueue) {
        deliverAll();
        return;
    }
    CComPtr<ISourceStream> stream;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        stream = m_stream;
    }
    const WorkContext::Scope noContext(nullptr);
    m_deliveryQueue->push([self = shared_from_this(), stream] {
        self->deliverAll();
        return S_OK;
    });
}

void SampleRequests::deliverAll()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_delivering)
        return;
    m_delivering = true;
    Entry entry;
    CComPtr<IUnknown> token;
    while (takeDeliverable(entry, token)) {
        ISourceStream *const stream = m_stream;
        const unsigned flushes = m_flushes;
        lock.unlock();
        {
            const DeliveryScope scope(stream, m_flushes, flushes);
            deliverOne(stream, entry, token);
        }
        entry = Entry();
        token.Release();
        lock.lock();
    }
    m_delivering = false;
}

void SampleRequests::deliverOne(ISourceStream *stream, const Entry &entry, IUnknown *token)
{
    if (const auto *const sample = std::get_if<CComPtr<IMFSample>>(&entry))
        stream->DeliverSample(*sample, token);
    else if (const auto *const change = std::get_if<TypeChange>(&entry))
        stream->MediaTypeChanged(change->type);
    else if (const auto *const gap = std::get_if<Gap>(&entry))
        stream->NotifyGap(gap->time);
    else
        stream->NotifyEndOfStream();
}

void SampleRequests::requestFrames()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_requestingFrames)
        return;
    m_requestingFrames = true;
    while (m_stream && m_requests.size() > m_frameRequests + m_refusedFrameRequests) {
        std::unique_ptr<FrameRequest> idle;
        if (m_idleFrameRequests.empty()) {
            idle = std::make_unique<FrameRequest>();
        } else {
            idle = std::move(m_idleFrameRequests.back());
            m_idleFrameRequests.pop_back();
        }
        CComPtr<FrameRequest> frameRequest = FrameRequest::begin(std::move(idle), shared_from_this(), m_stream);
        ++m_frameRequests;
        lock.unlock();
        startFrameRequest(*frameRequest.p);
        frameRequest.Release();
        lock.lock();
    }
    m_requestingFrames = false;
}

void SampleRequests::startFrameRequest(FrameRequest &frameRequest)
{
    const WorkContext::Scope scope(&frameRequest);
    if (m_requestQueue)
        m_requestQueue->push([&frameRequest] { return frameRequest.run(); });
    else
        frameRequest.run();
}

void SampleRequests::frameRequestEnded(std::unique_ptr<FrameRequest> frameRequest, HRESULT result)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_frameRequests;
        if (result != S_OK && m_refusedFrameRequests < m_requests.size())
            ++m_refusedFrameRequests;
        m_idleFrameRequests.push_back(std::move(frameRequest));
    }
    requestFrames();
}

namespace
{

class BufferingSampleRequestManager : public ISampleRequestManager
{
public:
    explicit BufferingSampleRequestManager(std::shared_ptr<SampleRequests> requests) : m_requests(std::move(requests))
    {
    }
    ~BufferingSampleRequestManager() override { m_requests->shutdown(); }

    HRESULT RequestSample(IUnknown *token) override { return m_requests->request(token); }
    HRESULT PushSample(IMFSample *sample) override { return m_requests->pushSample(sample); }
    HRESULT PushMediaTypeChange(IMFMediaType *type) override { return m_requests->pushMediaTypeChange(type); }
    HRESULT PushGap(LONGLONG time) override { return m_requests->pushGap(time); }
    HRESULT PushEndOfData() override { return m_requests->pushEndOfData(); }
    HRESULT Flush() override { return m_requests->flush(); }
    void Shutdown() override { m_requests->shutdown(); }

private:
    const std::shared_ptr<SampleRequests> m_requests;
};

} // namespace

ISampleRequestManager *createBufferingSampleRequestManager(ISourceStream *stream, const HnsTime &limit,
                                                           const MFMessageQueue *deliveryQueue,
                                                           const MFMessageQueue *requestQueue)
{
    return new BufferingSampleRequestManager(
        std::make_shared<SampleRequests>(stream, limit, deliveryQueue, requestQueue));
}

} // namespace tvx
