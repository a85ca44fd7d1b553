#include "host/pipeline/SinkPort.h"

#include "host/pipeline/Later.h"
#include "host/pipeline/StreamFeed.h"

#include <mferror.h>

#include <algorithm>

namespace host
{

namespace
{

// A sink that is not, sends what it gets at the rate of the stream.
bool isRateless(IMFStreamSink *stream)
{
    CComPtr<IMFMediaSink> sink;
    DWORD characteristics = MEDIASINK_RATELESS;
    return FAILED(stream->GetMediaSink(&sink)) || FAILED(sink->GetCharacteristics(&characteristics)) ||
           (characteristics & MEDIASINK_RATELESS) != 0;
}

} // namespace

SinkPort::SinkPort(IMFStreamSink *sink, Callbacks callbacks, std::shared_ptr<SinkActivity> activity,
                   const QString &name)
    : m_sink(sink), m_callbacks(std::move(callbacks)), m_handover(name, std::move(activity))
{
}

SinkPort::~SinkPort() = default;

HRESULT SinkPort::open()
{
    m_paced = !isRateless(m_sink);
    const std::weak_ptr<SinkPort> weak = weak_from_this();
    m_handover.open([weak](const SampleLoans::Term &term) {
        if (const std::shared_ptr<SinkPort> port = weak.lock())
            port->onReturn(term);
    });
    return m_pump.start(m_sink, [weak](MediaEventType type, IMFMediaEvent *event) {
        if (const std::shared_ptr<SinkPort> port = weak.lock())
            port->onEvent(type, event);
    });
}

void SinkPort::close()
{
    m_pump.stop();
    setFeed(nullptr);
    m_handover.close();
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
    m_handover.setRate(DeclaredRate(type));
    const std::lock_guard<std::mutex> guard(m_lock);
    m_type = type;
    return S_OK;
}

void SinkPort::setFeed(const std::shared_ptr<StreamFeed> &feed)
{
    const std::lock_guard<std::mutex> delivery(m_delivery);
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_feed.lock() != feed) {
        m_handover.begin();
        m_hasOffers = false; // the stream of this feed may be one that waits
    }
    m_feed = feed;
}

HRESULT SinkPort::adoptFrom(const StreamFeed &source, IMFMediaType *type)
{
    const std::lock_guard<std::mutex> delivery(m_delivery);
    if (feed().get() != &source)
        return S_FALSE;
    passOnAtOnce(); // what waits is of the type before
    return adopt(type);
}

HRESULT SinkPort::deliver(const StreamFeed &source, IMFSample *sample)
{
    {
        const std::lock_guard<std::mutex> delivery(m_delivery);
        if (feed().get() == &source) {
            m_hasOffers = false;
            return m_sink->ProcessSample(m_handover.lend(sample));
        }
        ++m_wanted; // the sink waits on
    }
    if (const std::shared_ptr<StreamFeed> other = feed())
        other->ask();
    return S_FALSE;
}

HRESULT SinkPort::offer(const StreamFeed &source, IMFSample *sample)
{
    const std::lock_guard<std::mutex> delivery(m_delivery);
    if (feed().get() != &source || !m_started)
        return S_FALSE;
    m_hasOffers = true;
    m_handover.arrive(sample);
    passOn();
    return S_OK;
}

void SinkPort::placeMarker(const StreamFeed &source, MFSTREAMSINK_MARKER_TYPE marker, const PROPVARIANT *value)
{
    const std::lock_guard<std::mutex> delivery(m_delivery);
    if (feed().get() != &source)
        return;
    passOnAtOnce();
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
    case MEStreamSinkStopped: {
        const std::lock_guard<std::mutex> delivery(m_delivery); // nothing is to come after what is dropped here
        m_started = false;
        m_wanted = 0;
        m_handover.dropWaiting();
        break;
    }
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
    advance();
}

void SinkPort::onReturn(const SampleLoans::Term &term)
{
    // Elsewhere: the thread that has let go of the sample may be in the middle of a call of this very port.
    const bool isAwaited = m_handover.comeBack(term) || !m_hasOffers;
    if (isAwaited && m_paced)
        advanceLater(0);
}

void SinkPort::advanceLater(unsigned delay)
{
    const HRESULT hr = runLater(delay, [weak = weak_from_this()] {
        const std::shared_ptr<SinkPort> port = weak.lock();
        if (!port)
            return;
        port->m_recheckIsDue = false;
        port->advance();
    });
    if (FAILED(hr))
        m_recheckIsDue = false;
}

void SinkPort::advance()
{
    {
        const std::lock_guard<std::mutex> delivery(m_delivery);
        passOn();
    }
    if (const std::shared_ptr<StreamFeed> source = feed())
        source->ask();
}

void SinkPort::passOn()
{
    const std::optional<unsigned> delay = m_started ? m_handover.delay() : std::nullopt;
    if (!delay)
        return;
    if (*delay == 0 && takeRequest())
        m_sink->ProcessSample(m_handover.takeWaiting());
    else if (*delay > 0 && !m_recheckIsDue.exchange(true))
        advanceLater(*delay);
}

// Before what may not overtake it: a marker, a type.
void SinkPort::passOnAtOnce()
{
    if (m_started && m_handover.hasWaiting() && takeRequest())
        m_sink->ProcessSample(m_handover.takeWaiting());
    m_handover.dropWaiting();
}

unsigned SinkPort::wanted() const
{
    return m_paced ? std::min(m_wanted.load(), m_handover.room()) : m_wanted.load();
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
