#pragma once

#include "hostfw/BaseSource.h"
#include "hostfw/BaseSourceStream.h"
#include "tests/multimedia/FakeStream.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>

inline void callOnce(std::function<void()> &hook)
{
    const std::function<void()> function = std::exchange(hook, nullptr);
    if (function)
        function();
}

// The buffering request manager, with a hook where a request comes in.
class HookedManager : public tvx::ISampleRequestManager
{
public:
    HookedManager(tvx::ISourceStream *stream, std::function<void()> &beforeRequest)
        : m_beforeRequest(beforeRequest),
          m_manager(tvx::createBufferingSampleRequestManager(stream, INT64_MAX, nullptr, nullptr))
    {
    }

    HRESULT RequestSample(IUnknown *token) override
    {
        callOnce(m_beforeRequest);
        return m_manager->RequestSample(token);
    }
    HRESULT PushSample(IMFSample *sample) override { return m_manager->PushSample(sample); }
    HRESULT PushMediaTypeChange(IMFMediaType *type) override { return m_manager->PushMediaTypeChange(type); }
    HRESULT PushGap(LONGLONG time) override { return m_manager->PushGap(time); }
    HRESULT PushEndOfData() override { return m_manager->PushEndOfData(); }
    HRESULT Flush() override { return m_manager->Flush(); }
    void Shutdown() override { m_manager->Shutdown(); }

private:
    std::function<void()> &m_beforeRequest;
    const std::unique_ptr<tvx::ISampleRequestManager> m_manager;
};

class SmallStream : public CBaseSourceStream
{
public:
    SmallStream(tvx::ISource *source, DWORD identifier)
        : CBaseSourceStream(source, identifier, std::make_shared<HookedManager>(this, beforeRequest))
    {
        for (CComPtr<IMFMediaType> &type : m_types) {
            type = makeMediaType();
            type->SetGUID(MF_MT_MAJOR_TYPE, identifier == 0 ? MFMediaType_Video : MFMediaType_Audio);
        }
        m_types.front()->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_UYVY);
        m_types.back()->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_NV12);
    }

    HRESULT RequestFrame() override { return S_FALSE; }
    HRESULT DeliverSample(IMFSample *sample, IUnknown *token) override
    {
        callOnce(beforeDelivery);
        return CBaseSourceStream::DeliverSample(sample, token);
    }
    HRESULT NotifyGap(LONGLONG time) override
    {
        callOnce(beforeDelivery);
        return CBaseSourceStream::NotifyGap(time);
    }
    HRESULT NotifyEndOfStream() override
    {
        callOnce(beforeDelivery);
        return CBaseSourceStream::NotifyEndOfStream();
    }
    tvx::ISampleRequestManager &manager() { return *m_requestManager; }
    CD3D11DeviceManager *deviceManager() { return GetD3DManager(); }
    IMFMediaType *otherType() const { return m_types.back(); }
    std::list<GUID> formats() const { return GetSupportedFormats(); }

    // Called once: when the request manager has taken out what it delivers, and between the stream's check of a request
    // and the request manager's.
    std::function<void()> beforeDelivery;
    std::function<void()> beforeRequest;

    std::vector<IMFMediaType *> chosen;
    HRESULT seekResult = E_NOTIMPL;
    std::atomic<int> selections{0};
    std::atomic<int> deselections{0};

protected:
    HRESULT OnSeek(const PROPVARIANT &) override { return seekResult; }
    std::list<CComPtr<IMFMediaType>> GetMediaTypes() const override { return m_types; }
    HRESULT setMediaType(IMFMediaType *type) override
    {
        chosen.push_back(type);
        return S_OK;
    }
    HRESULT OnSelected() override
    {
        ++selections;
        return S_OK;
    }
    HRESULT OnDeselected() override
    {
        ++deselections;
        return S_OK;
    }

private:
    std::list<CComPtr<IMFMediaType>> m_types{2};
};

class SmallSource : public CBaseSource
{
public:
    explicit SmallSource(HRESULT &hr) : CBaseSource(hr, MFMEDIASOURCE_IS_LIVE), watched(std::make_shared<int>()) {}

    DECLARE_IUNKNOWN

    // With a reference of the caller's on the source.
    HRESULT addStreams()
    {
        streams = {std::make_shared<SmallStream>(this, 0), std::make_shared<SmallStream>(this, 1)};
        std::list<std::shared_ptr<tvx::ISourceStream>> list(streams.begin(), streams.end());
        return Initialize(list);
    }
    HRESULT addNothing()
    {
        std::list<std::shared_ptr<tvx::ISourceStream>> none;
        return Initialize(none);
    }

    std::vector<std::shared_ptr<SmallStream>> streams;
    const std::shared_ptr<int> watched; // gone with the source
};

using Events = std::vector<MediaEventType>;

// The next event. Blocks until there is one; a test that waits in vain ends by its time limit.
inline CComPtr<IMFMediaEvent> nextEvent(IMFMediaEventGenerator *generator)
{
    CComPtr<IMFMediaEvent> event;
    EXPECT_EQ(generator->GetEvent(0, &event), S_OK);
    return event;
}

inline MediaEventType typeOf(IMFMediaEvent *event)
{
    MediaEventType type = MEUnknown;
    if (event)
        event->GetType(&type);
    return type;
}

// All events up to and with the one of that type.
inline Events eventsUntil(IMFMediaEventGenerator *generator, MediaEventType last)
{
    Events events;
    do
        events.push_back(typeOf(nextEvent(generator)));
    while (events.back() != last && events.back() != MEUnknown);
    return events;
}

inline Events eventsThere(IMFMediaEventGenerator *generator)
{
    Events events;
    CComPtr<IMFMediaEvent> event;
    while (generator->GetEvent(MF_EVENT_FLAG_NO_WAIT, &event) == S_OK) {
        events.push_back(typeOf(event));
        event.Release();
    }
    return events;
}

class BaseSource : public testing::Test
{
protected:
    BaseSource()
    {
        HRESULT hr = E_FAIL;
        m_source = new SmallSource(hr);
        EXPECT_EQ(hr, S_OK);
        EXPECT_EQ(m_source->addStreams(), S_OK);
        PropVariantInit(&m_here);
        EXPECT_EQ(m_source->CreatePresentationDescriptor(&m_descriptor), S_OK);
    }
    ~BaseSource() override
    {
        if (m_source)
            m_source->Shutdown();
    }

    SmallStream &video() { return *m_source->streams[0]; }
    SmallStream &audio() { return *m_source->streams[1]; }
    void start()
    {
        ASSERT_EQ(m_source->Start(m_descriptor, nullptr, &m_here), S_OK);
        eventsUntil(m_source, MESourceStarted);
        eventsThere(&video());
        eventsThere(&audio());
    }
    static PROPVARIANT at(LONGLONG time)
    {
        PROPVARIANT position;
        PropVariantInit(&position);
        position.vt = VT_I8;
        position.hVal.QuadPart = time;
        return position;
    }

    CComPtr<SmallSource> m_source;
    CComPtr<IMFPresentationDescriptor> m_descriptor;
    PROPVARIANT m_here;
};
