#include "host/pipeline/StreamFeed.h"

#include "host/pipeline/EventValue.h"
#include "host/pipeline/Later.h"
#include "host/pipeline/SinkPort.h"

#include <mferror.h>

#include <algorithm>

namespace host
{

StreamFeed::StreamFeed(IMFMediaType *type, bool live, Callbacks callbacks)
    : m_live(live), m_callbacks(std::move(callbacks)), m_type(type)
{
}

StreamFeed::~StreamFeed() = default;

void StreamFeed::setType(IMFMediaType *type)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_type = type;
}

HRESULT StreamFeed::open(IMFMediaStream *stream)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_closed)
        return S_OK; // the source announced its stream while it was being shut down
    m_stream = stream;
    const std::weak_ptr<StreamFeed> weak = weak_from_this();
    return m_pump.start(stream, [weak](MediaEventType type, IMFMediaEvent *event) {
        if (const std::shared_ptr<StreamFeed> feed = weak.lock())
            feed->onEvent(type, event);
    });
}

void StreamFeed::close()
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_closed = true;
        m_pump.stop();
        m_stream.Release();
        m_waiting.Release();
    }
    detach();
}

HRESULT StreamFeed::attach(const std::shared_ptr<SinkPort> &port)
{
    port->setFeed(shared_from_this());
    CComPtr<IMFMediaType> adopted;
    for (;;) {
        {
            // The stream may have changed its type while the sink adopted the one before.
            const std::lock_guard<std::mutex> guard(m_lock);
            if (adopted && adopted == m_type.p) {
                m_port = port;
                break;
            }
            adopted = m_type;
        }
        const HRESULT hr = port->adoptFrom(*this, adopted);
        if (FAILED(hr)) {
            port->setFeed(nullptr);
            return hr;
        }
    }
    ask();
    return S_OK;
}

void StreamFeed::detach()
{
    std::shared_ptr<SinkPort> old;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        old.swap(m_port);
    }
    if (old)
        old->setFeed(nullptr);
    ask();
}

void StreamFeed::detach(const std::shared_ptr<SinkPort> &port)
{
    if (this->port() == port)
        detach();
}

CComPtr<IMFMediaType> StreamFeed::type() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_type;
}

void StreamFeed::ask()
{
    CComPtr<IMFMediaStream> stream;
    unsigned missing = 0;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (!m_stream || !m_running)
            return;
        const unsigned wanted = this->wanted();
        missing = wanted > m_asked ? wanted - m_asked : 0;
        m_asked += missing;
        stream = m_stream;
    }
    for (; missing > 0; --missing) {
        const HRESULT hr = stream->RequestSample(nullptr);
        if (SUCCEEDED(hr))
            continue;
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            m_asked -= missing;
        }
        // The end of the stream and of the source are announced by events.
        if (hr != MF_E_END_OF_STREAM && hr != MF_E_SHUTDOWN)
            m_callbacks.failed(hr);
        return;
    }
}

void StreamFeed::onEvent(MediaEventType type, IMFMediaEvent *event)
{
    switch (type) {
    case MEStreamStarted: {
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            m_running = true;
            m_backlog = StartBacklog();
            m_waiting.Release();
        }
        return ask();
    }
    case MEMediaSample:
        return onSample(event);
    case MEStreamFormatChanged:
        return onTypeChanged(event);
    case MEStreamTick:
        return onMarker(event, MFSTREAMSINK_MARKER_TICK);
    case MEEndOfStream: {
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            m_running = false;
        }
        return onMarker(event, MFSTREAMSINK_MARKER_ENDOFSEGMENT);
    }
    default:
        break;
    }
    HRESULT status = S_OK;
    event->GetStatus(&status);
    if (FAILED(status) || type == MEError)
        m_callbacks.failed(FAILED(status) ? status : E_FAIL);
}

void StreamFeed::onSample(IMFMediaEvent *event)
{
    const CComPtr<IMFSample> sample = eventObject<IMFSample>(event);
    LONGLONG duration = 0;
    if (m_live && sample)
        sample->GetSampleDuration(&duration);
    bool isBacklog = false;
    {
        const std::lock_guard<std::mutex> order(m_order);
        Receiver sink;
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            if (m_asked > 0)
                --m_asked;
            m_waiting.Release();
            isBacklog = m_live && m_backlog.contains(HnsTime::systemTime(), duration);
            if (isBacklog)
                m_waiting = sample;
            else
                sink = takeReceiver(); // under this lock, lest ask() takes the sink for waiting for one more in between
        }
        handOver(sink, sample);
    }
    if (isBacklog)
        handOverLater(sample, duration / 2);
    ask();
}

// The last of a backlog is what there is to be seen and heard until more comes.
void StreamFeed::handOverLater(const CComPtr<IMFSample> &sample, const HnsTime &delay)
{
    const auto milliseconds = static_cast<unsigned>(delay.toMilliseconds() + 1);
    runLater(milliseconds, [weak = weak_from_this(), sample] {
        if (const std::shared_ptr<StreamFeed> feed = weak.lock())
            feed->handOverWaiting(sample);
    });
}

void StreamFeed::handOverWaiting(IMFSample *only)
{
    {
        CComPtr<IMFSample> sample;
        const std::lock_guard<std::mutex> order(m_order);
        Receiver sink;
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            if (!m_waiting || (only && m_waiting != only))
                return;
            sample.Attach(m_waiting.Detach());
            sink = takeReceiver();
        }
        handOver(sink, sample);
    }
    ask();
}

void StreamFeed::handOver(const Receiver &sink, IMFSample *sample)
{
    if (!sink.port || !sample)
        return;
    if ((sink.takesOffer ? sink.port->offer(*this, sample) : sink.port->deliver(*this, sample)) == S_OK)
        ++m_delivered;
}

StreamFeed::Receiver StreamFeed::takeReceiver() const
{
    if (!m_port)
        return {};
    if (m_live && m_port->takesOffers())
        return {m_port, true};
    return {m_port->takeRequest() ? m_port : nullptr, false};
}

void StreamFeed::onTypeChanged(IMFMediaEvent *event)
{
    const CComPtr<IMFMediaType> type = eventObject<IMFMediaType>(event);
    if (!type)
        return m_callbacks.failed(MF_E_INVALIDMEDIATYPE);
    handOverWaiting();
    std::shared_ptr<SinkPort> sink;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_type = type;
        sink = m_port;
    }
    const HRESULT hr = sink ? sink->adoptFrom(*this, type) : S_OK;
    if (FAILED(hr)) {
        detach();
        m_callbacks.refused(hr);
    }
    m_callbacks.typeChanged(type);
}

void StreamFeed::onMarker(IMFMediaEvent *event, MFSTREAMSINK_MARKER_TYPE marker)
{
    const EventValue value(event);
    handOverWaiting();
    if (const std::shared_ptr<SinkPort> sink = port())
        sink->placeMarker(*this, marker, &value.get());
}

unsigned StreamFeed::wanted() const
{
    if (m_port && m_live && m_port->takesOffers())
        return std::max(1U, m_port->requests());
    if (m_port && (m_port->isStarted() || !m_live))
        return m_port->wanted();
    return 1;
}

std::shared_ptr<SinkPort> StreamFeed::port() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_port;
}

} // namespace host
