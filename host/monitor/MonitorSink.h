#pragma once

#include "host/monitor/MonitorStream.h"

#include "hostfw/CUnknown.h"
#include "hostfw/ComPtr.h"
#include "hostfw/MessageQueue.h"

#include <mfidl.h>

#include <memory>
#include <mutex>
#include <vector>

namespace host
{

// The monitor's media sink: one stream per consumer, fixed from the start, numbered from 0. Its streams live as long as
// it does. Thread-safe; its clock starts and stops it.
class MonitorSink final : public IMFMediaSink, public IMFClockStateSink, public CUnknown
{
public:
    explicit MonitorSink(const std::vector<std::shared_ptr<SampleConsumer>> &consumers);
    ~MonitorSink() override;

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override;

    // IMFMediaSink
    HRESULT STDMETHODCALLTYPE GetCharacteristics(DWORD *characteristics) override;
    HRESULT STDMETHODCALLTYPE AddStreamSink(DWORD id, IMFMediaType *type, IMFStreamSink **stream) override;
    HRESULT STDMETHODCALLTYPE RemoveStreamSink(DWORD id) override;
    HRESULT STDMETHODCALLTYPE GetStreamSinkCount(DWORD *count) override;
    HRESULT STDMETHODCALLTYPE GetStreamSinkByIndex(DWORD index, IMFStreamSink **stream) override;
    HRESULT STDMETHODCALLTYPE GetStreamSinkById(DWORD id, IMFStreamSink **stream) override;
    HRESULT STDMETHODCALLTYPE SetPresentationClock(IMFPresentationClock *clock) override;
    HRESULT STDMETHODCALLTYPE GetPresentationClock(IMFPresentationClock **clock) override;
    HRESULT STDMETHODCALLTYPE Shutdown() override;

    // IMFClockStateSink
    HRESULT STDMETHODCALLTYPE OnClockStart(MFTIME systemTime, LONGLONG startOffset) override;
    HRESULT STDMETHODCALLTYPE OnClockStop(MFTIME systemTime) override;
    HRESULT STDMETHODCALLTYPE OnClockPause(MFTIME systemTime) override;
    HRESULT STDMETHODCALLTYPE OnClockRestart(MFTIME systemTime) override;
    HRESULT STDMETHODCALLTYPE OnClockSetRate(MFTIME systemTime, float rate) override;

private:
    HRESULT forEachStream(HRESULT (MonitorStream::*operation)());

    std::vector<std::unique_ptr<MonitorStream>> m_streams; // fixed
    std::mutex m_lock;                                     // guards what follows
    CComPtr<IMFPresentationClock> m_clock;
    bool m_shutDown = false;
};

} // namespace host
