#include "multimedia/BufferingSampleRequestManager.h"

#include "multimedia/WorkContext.h"

#include <mferror.h>

#include <algorithm>
#include <cstdint>

namespace tvx
{

// One call of ISourceStream::RequestFrame and all work that derives from it: the context of that work. It ends when the
// last item of that work is gone; until then the producer is still on its way to a frame, whoever answers the request
// meanwhile.
class SampleRequests::FrameRequest
{
public:
    FrameRequest(std::shared_ptr<SampleRequests> requests, ISourceStream *stream)
        : m_requests(std::move(requests)), m_stream(stream)
    {
    }
    FrameRequest(const FrameRequest &) = delete;
    FrameRequest &operator=(const FrameRequest &) = delete;
    ~FrameRequest() { m_requests->frameRequestEnded(m_result); }

    HRESULT run()
    {
        // Fails for good should the producer throw.
        m_result = E_FAIL;
        m_result = m_stream->RequestFrame();
        return m_result;
    }

private:
    const std::shared_ptr<SampleRequests> m_requests;
    const CComPtr<ISourceStream> m_stream;
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
        if (m_ended)
            return MF_E_END_OF_STREAM;
        m_requests.emplace_back(token);
    }
    deliver();
    requestFrames();
    return S_OK;
}

HRESULT SampleRequests::append(Entry entry)
{
    if (!m_stream)
        return MF_E_SHUTDOWN;
    m_entries.push_back(std::move(entry));
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
        m_entries.emplace_back(CComPtr<IMFSample>(sample));
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
    return append(TypeChange{CComPtr<IMFMediaType>(type)});
}

HRESULT SampleRequests::pushGap(LONGLONG time)
{
    HRESULT hr = S_OK;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        hr = append(Gap{time});
    }
    if (SUCCEEDED(hr))
        deliver();
    return hr;
}

HRESULT SampleRequests::pushEndOfData()
{
    HRESULT hr = S_OK;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        hr = append(EndOfData{});
    }
    if (SUCCEEDED(hr))
        deliver();
    return hr;
}

HRESULT SampleRequests::flush()
{
    std::deque<CComPtr<IUnknown>> requests;
    std::deque<Entry> entries;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_stream)
        return MF_E_SHUTDOWN;
    requests.swap(m_requests);
    entries.swap(m_entries);
    m_waitingSamples = 0;
    m_ended = false;
    const auto lastChange = std::find_if(entries.rbegin(), entries.rend(),
                                         [](const Entry &entry) { return std::holds_alternative<TypeChange>(entry); });
    if (lastChange != entries.rend())
        m_entries.push_back(std::move(*lastChange));
    return S_OK;
}

void SampleRequests::shutdown()
{
    std::deque<CComPtr<IUnknown>> requests;
    std::deque<Entry> entries;
    const std::lock_guard<std::mutex> lock(m_mutex);
    requests.swap(m_requests);
    entries.swap(m_entries);
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
    const auto kept = std::remove_if(m_entries.begin(), m_entries.end(), isTooOld);
    m_waitingSamples -= static_cast<size_t>(m_entries.end() - kept);
    m_entries.erase(kept, m_entries.end());
}

bool SampleRequests::takeDeliverable(Entry &entry, CComPtr<IUnknown> &token)
{
    if (!m_stream || m_entries.empty())
        return false;
    Entry &first = m_entries.front();
    const bool isSample = std::holds_alternative<CComPtr<IMFSample>>(first);
    const bool isTypeChange = std::holds_alternative<TypeChange>(first);
    if (isSample && m_requests.empty())
        return false;
    // A type change goes with the sample behind it.
    if (isTypeChange && (m_requests.empty() || m_waitingSamples == 0))
        return false;
    if (isSample) {
        token = std::move(m_requests.front());
        m_requests.pop_front();
        --m_waitingSamples;
    }
    if (std::holds_alternative<EndOfData>(first)) {
        m_ended = true;
        m_requests.clear();
    }
    entry = std::move(first);
    m_entries.pop_front();
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
        lock.unlock();
        deliverOne(stream, entry, token);
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
    for (;;) {
        std::shared_ptr<FrameRequest> frameRequest;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_stream || m_frameRequests >= m_requests.size())
                return;
            frameRequest = std::make_shared<FrameRequest>(shared_from_this(), m_stream);
            ++m_frameRequests;
        }
        const WorkContext::Scope scope(frameRequest);
        if (m_requestQueue)
            m_requestQueue->push([frameRequest] { return frameRequest->run(); });
        else
            frameRequest->run();
    }
}

void SampleRequests::frameRequestEnded(HRESULT result)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_frameRequests;
    }
    if (result == S_OK)
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
