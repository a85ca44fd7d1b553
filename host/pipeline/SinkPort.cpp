#include "host/pipeline/SinkPort.h"

#include "host/pipeline/StreamFeed.h"

#include <mferror.h>

namespace host
{

SinkPort::SinkPort(IMFStreamSink *sink, Callbacks callbacks) : m_sink(sink), m_callbacks(std::move(callbacks)) {}

SinkPort::~SinkPort() = default;

HRESULT SinkPort::open()
{
    const std::weak_ptr<SinkPort> weak = weak_from_this();
    return m_pump.start(m_sink, [weak](MediaEventType type, IMFMediaEvent *event) {
        if (const std::shared_ptr<SinkPort> port = weak.lock())
            port->onEvent(type, event);
    });
}

void SinkPort::close()
{
    m_pump.stop();
    setFeed(nullptr);
}

HRESULT SinkPort::adopt(IMFMediaType *type)
{
    CComPtr<IMFMediaTypeHandler> handler;
    HRESULT hr = m_sink->GetMediaTypeHandler(&handler);
    if (FAILED(hr))
        return hr;
    hr = handler->IsMediaTypeSupported(type, nullptr);
    if (FAILED(hr))
        return hr;
    hr = handler->SetCurrentMediaType(type);
    if (FAILED(hr))
        return hr;
    const std::lock_guard<std::mutex> guard(m_lock);
    m_type = type;
    return S_OK;
}

void SinkPort::setFeed(const std::shared_ptr<StreamFeed> &feed)
{
    const std::lock_guard<std::mutex> delivery(m_delivery);
    const std::lock_guard<std::mutex> guard(m_lock);
    m_feed = feed;
}

HRESULT SinkPort::adoptFrom(const StreamFeed &source, IMFMediaType *type)
{
    const std::lock_guard<std::mutex> delivery(m_delivery);
    return feed().get() == &source ? adopt(type) : S_FALSE;
}

HRESULT SinkPort::deliver(const StreamFeed &source, IMFSample *sample)
{
    {
        const std::lock_guard<std::mutex> delivery(m_delivery);
        if (feed().get() == &source)
            return m_sink->ProcessSample(sample);
        ++m_wanted; // the sink waits on
    }
    if (const std::shared_ptr<StreamFeed> other = feed())
        other->ask();
    return S_FALSE;
}

void SinkPort::placeMarker(const StreamFeed &source, MFSTREAMSINK_MARKER_TYPE marker, const PROPVARIANT *value)
{
    const std::lock_guard<std::mutex> delivery(m_delivery);
    if (feed().get() == &source)
        m_sink->PlaceMarker(marker, value, nullptr);
}

void SinkPort::onEvent(MediaEventType type, IMFMediaEvent *event)
{
    HRESULT status = S_OK;
    event->GetStatus(&status);
    switch (type) {
    case MEStreamSinkStarted:
        // A started sink begins its requests anew.
        m_wanted = 0;
        m_started = true;
        break;
    case MEStreamSinkStopped:
        m_started = false;
        m_wanted = 0;
        break;
    case MEStreamSinkRequestSample:
        ++m_wanted;
        break;
    case MEStreamSinkFormatChanged: {
        CComPtr<IMFMediaType> current;
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            current = m_type;
        }
        if (current)
            status = adopt(current);
        if (SUCCEEDED(status))
            m_callbacks.needsClock();
        break;
    }
    default:
        break;
    }
    if (FAILED(status) || type == MEError)
        return m_callbacks.failed(FAILED(status) ? status : E_FAIL);
    if (const std::shared_ptr<StreamFeed> source = feed())
        source->ask();
}

bool SinkPort::takeRequest()
{
    unsigned wanted = m_wanted;
    while (wanted > 0) {
        if (m_wanted.compare_exchange_weak(wanted, wanted - 1))
            return true;
    }
    return false;
}

std::shared_ptr<StreamFeed> SinkPort::feed() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_feed.lock();
}

} // namespace host
