#pragma once

#include "hostfw/BaseSourceStream.h"
#include "hostfw/HnsTime.h"
#include "hostfw/MessageQueue.h"

class NDISourceMF;

// What the video and the audio stream of the source have in common: the request manager, the current media type, and
// the rule that stamps samples.
//
// Made and owned by the source. Frames arrive on the source's message queue; the framework calls the rest on its own
// threads. The current type is replaced without a lock: the framework sets types while no frames flow.
class NDISourceStream : public CBaseSourceStream
{
public:
    // `source` is not referenced: it outlives its streams. The queue is copied.
    NDISourceStream(NDISourceMF *source, DWORD streamId, const tvx::MFMessageQueue *queue);

    HRESULT Stop() override;
    std::list<CComPtr<IMFMediaType>> GetMediaTypes() const override;
    HRESULT setMediaType(IMFMediaType *type) override;
    // What the stream announces before any frame has arrived.
    virtual CComPtr<IMFMediaType> createDefaultMediaType() const = 0;

    // Forgets requests and samples. E_POINTER without a request manager, like the next.
    HRESULT flushRequestManager();
    // No frame comes any more.
    HRESULT notifyConnectionLost();
    void setReferenceTime(const HnsTime &time);

protected:
    HRESULT OnSeek(const PROPVARIANT &position) override;

    // Sends a type change down the stream, behind the samples that are queued. MF_E_INVALIDMEDIATYPE for null.
    HRESULT pushMediaTypeChange(IMFMediaType *newType);
    // Sets the sample's time and duration (100 ns units). A timecode that is not later than the last sample's time is
    // replaced by one that continues evenly from it.
    HRESULT stampSample(IMFSample *sample, LONGLONG timecode, LONGLONG duration);

    NDISourceMF *const m_source;
    CComPtr<IMFMediaType> m_mediaType;

private:
    const tvx::MFMessageQueue m_messageQueue;
    HnsTime m_referenceTime;
    LONGLONG m_lastSampleTime = 0; // 0: none stamped yet
    HnsTime m_timeOrigin;
};
