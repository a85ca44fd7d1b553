#pragma once

// A media sink that says what it is, and a stream sink of it that keeps samples until a test lets them go.

#include "tests/host/CountingStreams.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

class FakeMediaSink : public IMFMediaSink, public CUnknown
{
public:
    explicit FakeMediaSink(DWORD characteristics)
        : CUnknown(L"FakeMediaSink", nullptr), m_characteristics(characteristics)
    {
    }

    DECLARE_IUNKNOWN
    STDMETHODIMP GetCharacteristics(DWORD *characteristics) override
    {
        return *characteristics = m_characteristics, S_OK;
    }
    STDMETHODIMP AddStreamSink(DWORD, IMFMediaType *, IMFStreamSink **) override { return E_NOTIMPL; }
    STDMETHODIMP RemoveStreamSink(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP GetStreamSinkCount(DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP GetStreamSinkByIndex(DWORD, IMFStreamSink **) override { return E_NOTIMPL; }
    STDMETHODIMP GetStreamSinkById(DWORD, IMFStreamSink **) override { return E_NOTIMPL; }
    STDMETHODIMP SetPresentationClock(IMFPresentationClock *) override { return S_OK; }
    STDMETHODIMP GetPresentationClock(IMFPresentationClock **) override { return E_NOTIMPL; }
    STDMETHODIMP Shutdown() override { return S_OK; }

private:
    const DWORD m_characteristics;
};

// Keeps what it is given until it is told to let it go, and the order of all calls.
class HoldingSink final : public EventSource<IMFStreamSink>
{
public:
    explicit HoldingSink(CComPtr<IMFMediaSink> sink) : m_sink(std::move(sink)) {}

    STDMETHODIMP NonDelegatingQueryInterface(REFIID iid, void **out) override
    {
        return IsEqualIID(iid, __uuidof(IMFStreamSink))
                   ? GetInterface(static_cast<IMFStreamSink *>(this), out)
                   : EventSource<IMFStreamSink>::NonDelegatingQueryInterface(iid, out);
    }
    STDMETHODIMP GetMediaSink(IMFMediaSink **sink) override { return m_sink.CopyTo(sink); }
    STDMETHODIMP GetIdentifier(DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP GetMediaTypeHandler(IMFMediaTypeHandler **handler) override
    {
        *handler = host::createObject<NotingHandler>(*this).Detach();
        return S_OK;
    }
    STDMETHODIMP ProcessSample(IMFSample *sample) override
    {
        LONGLONG time = -1;
        sample->GetSampleTime(&time);
        const std::lock_guard<std::mutex> guard(m_lock);
        m_log.push_back("sample " + std::to_string(time));
        m_held.emplace_back(sample);
        return S_OK;
    }
    STDMETHODIMP PlaceMarker(MFSTREAMSINK_MARKER_TYPE, const PROPVARIANT *, const PROPVARIANT *) override
    {
        return note("marker"), S_OK;
    }
    STDMETHODIMP Flush() override { return S_OK; }

    // "sample 3" (its time), "marker", "type".
    std::vector<std::string> log() const
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_log;
    }
    std::size_t held() const
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_held.size();
    }
    std::vector<CComPtr<IMFSample>> samples() const
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_held;
    }
    // Lets the oldest so many go.
    void release(std::size_t count)
    {
        std::vector<CComPtr<IMFSample>> released; // without the lock
        const std::lock_guard<std::mutex> guard(m_lock);
        const auto end = m_held.begin() + static_cast<std::ptrdiff_t>(std::min(count, m_held.size()));
        released.assign(m_held.begin(), end);
        m_held.erase(m_held.begin(), end);
    }

private:
    class NotingHandler : public WillingHandler
    {
    public:
        explicit NotingHandler(HoldingSink &sink) : m_sink(sink) {}
        STDMETHODIMP SetCurrentMediaType(IMFMediaType *) override { return m_sink.note("type"), S_OK; }

    private:
        HoldingSink &m_sink;
    };

    void note(const char *text)
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_log.emplace_back(text);
    }

    const CComPtr<IMFMediaSink> m_sink;
    mutable std::mutex m_lock; // guards what follows
    std::vector<std::string> m_log;
    std::vector<CComPtr<IMFSample>> m_held;
};
