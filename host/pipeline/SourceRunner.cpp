#include "host/pipeline/SourceRunner.h"

#include "host/pipeline/EventValue.h"

#include <mferror.h>

namespace host
{

SourceRunner::SourceRunner(IMFMediaSource *source, IMFPresentationDescriptor *descriptor, Callbacks callbacks)
    : m_source(source), m_descriptor(descriptor), m_callbacks(std::move(callbacks))
{
}

SourceRunner::~SourceRunner() = default;

void SourceRunner::addFeed(DWORD streamId, std::shared_ptr<StreamFeed> feed)
{
    m_feeds.emplace(streamId, std::move(feed));
}

HRESULT SourceRunner::start()
{
    HRESULT hr = selectStreams();
    if (FAILED(hr))
        return hr;
    const std::weak_ptr<SourceRunner> weak = weak_from_this();
    hr = m_pump.start(m_source, [weak](MediaEventType type, IMFMediaEvent *event) {
        if (const std::shared_ptr<SourceRunner> runner = weak.lock())
            runner->onEvent(type, event);
    });
    if (FAILED(hr))
        return hr;
    PROPVARIANT position;
    PropVariantInit(&position); // VT_EMPTY: where the source stands
    hr = m_source->Start(m_descriptor, &GUID_NULL, &position);
    m_started = SUCCEEDED(hr);
    return hr;
}

void SourceRunner::shutdown()
{
    m_pump.stop();
    for (const auto &[id, feed] : m_feeds)
        feed->close();
    m_source->Shutdown(); // stops a source that runs
}

bool SourceRunner::hasDelivered() const
{
    for (const auto &[id, feed] : m_feeds) {
        if (feed->delivered() > 0)
            return true;
    }
    return false;
}

HRESULT SourceRunner::selectStreams()
{
    DWORD count = 0;
    HRESULT hr = m_descriptor->GetStreamDescriptorCount(&count);
    for (DWORD index = 0; SUCCEEDED(hr) && index < count; ++index) {
        CComPtr<IMFStreamDescriptor> stream;
        BOOL selected = FALSE;
        DWORD id = 0;
        hr = m_descriptor->GetStreamDescriptorByIndex(index, &selected, &stream);
        if (FAILED(hr))
            return hr;
        hr = stream->GetStreamIdentifier(&id);
        if (FAILED(hr))
            return hr;
        hr = m_feeds.count(id) ? m_descriptor->SelectStream(index) : m_descriptor->DeselectStream(index);
    }
    return hr;
}

void SourceRunner::onEvent(MediaEventType type, IMFMediaEvent *event)
{
    HRESULT status = S_OK;
    event->GetStatus(&status);
    if (FAILED(status) || type == MEError)
        return m_callbacks.failed(FAILED(status) ? status : E_FAIL);
    if (type == MENewStream || type == MEUpdatedStream)
        return onStream(event);
    if (type == MEEndOfPresentation)
        m_callbacks.ended();
}

void SourceRunner::onStream(IMFMediaEvent *event)
{
    const CComPtr<IMFMediaStream> stream = eventObject<IMFMediaStream>(event);
    CComPtr<IMFStreamDescriptor> descriptor;
    DWORD id = 0;
    if (!stream || FAILED(stream->GetStreamDescriptor(&descriptor)) || FAILED(descriptor->GetStreamIdentifier(&id)))
        return m_callbacks.failed(E_UNEXPECTED);
    const auto found = m_feeds.find(id);
    if (found == m_feeds.end())
        return;
    const HRESULT hr = found->second->open(stream);
    if (FAILED(hr))
        m_callbacks.failed(hr);
}

} // namespace host
