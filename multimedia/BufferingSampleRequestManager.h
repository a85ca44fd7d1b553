#pragma once

#include "hostfw/ComPtr.h"
#include "hostfw/ISource.h"
#include "hostfw/SampleRequestManager.h"
#include "multimedia/RingBuffer.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <variant>
#include <vector>

namespace tvx
{

// The state that the manager shares with the frame requests it has under way, which may outlive it.
//
// Threads: any. Deliveries are made by one thread at a time (m_delivering), so their order is that of the entries; the
// stream is called without m_mutex held, but for the questions about its state. Frame requests are started by one
// thread at a time too (m_requestingFrames), which also starts those that others ask for meanwhile. Whoever calls keeps
// the stream alive, and so does every frame request that is under way.
class SampleRequests : public std::enable_shared_from_this<SampleRequests>
{
public:
    SampleRequests(ISourceStream *stream, const HnsTime &limit, const MFMessageQueue *deliveryQueue,
                   const MFMessageQueue *requestQueue);
    ~SampleRequests();

    HRESULT request(IUnknown *token);
    HRESULT pushSample(IMFSample *sample);
    HRESULT pushMediaTypeChange(IMFMediaType *type);
    HRESULT pushGap(LONGLONG time);
    HRESULT pushEndOfData();
    HRESULT flush();
    void shutdown();

private:
    class FrameRequest;

    struct TypeChange {
        CComPtr<IMFMediaType> type;
    };
    struct Gap {
        LONGLONG time;
    };
    struct EndOfData {
    };
    using Entry = std::variant<CComPtr<IMFSample>, TypeChange, Gap, EndOfData>;

    // These need m_mutex held.
    bool isAccepting() const;
    void dropBeyondLimit();
    bool isEndWaiting() const;
    bool isDeliverable(const Entry &first) const;
    bool takeDeliverable(Entry &entry, CComPtr<IUnknown> &token);

    void deliver();
    void deliverAll();
    static void deliverOne(ISourceStream *stream, const Entry &entry, IUnknown *token);
    // Starts as many frame requests as there are sample requests that want one.
    void requestFrames();
    void startFrameRequest(FrameRequest &frameRequest);
    void frameRequestEnded(std::unique_ptr<FrameRequest> frameRequest, HRESULT result);

    const HnsTime m_limit;
    std::optional<MFMessageQueue> m_deliveryQueue;
    std::optional<MFMessageQueue> m_requestQueue;

    std::mutex m_mutex; // guards everything below; taken before the stream's own lock
    ISourceStream *m_stream;
    RingBuffer<CComPtr<IUnknown>> m_requests;
    RingBuffer<Entry> m_entries;
    size_t m_waitingSamples = 0;
    size_t m_frameRequests = 0; // under way
    // Frame requests that brought nothing since the last sample request: as many sample requests wait without one.
    size_t m_refusedFrameRequests = 0;
    std::vector<std::unique_ptr<FrameRequest>> m_idleFrameRequests; // for reuse
    bool m_requestingFrames = false;
    bool m_delivering = false;
    bool m_ended = false;
    std::atomic<unsigned> m_flushes{0}; // so many there were; read without m_mutex too
};

} // namespace tvx
