#pragma once

#include "hostfw/CUnknown.h"
#include "hostfw/ComPtr.h"
#include "hostfw/CriticalSection.h"
#include "hostfw/MessageQueue.h"
#include "plugin/NdiGuards.h"
#include "sink/NDISinkParams.h"

#include "Processing.NDI.Interface.h"

#include <QtCore/QByteArray>

#include <mfidl.h>

#include <functional>
#include <memory>
#include <vector>

class NDISinkStream;

// One NDI sender as a media sink, with a video stream sink and an audio stream sink as far as they are wanted.
//
// Made on a thread of Qt's pool. The media session drives it through its presentation clock and its streams, from
// threads of Media Foundation; the node hands in metadata. Everything is sent on the message queue's thread, one job
// after another, and every job holds a reference to the sink: the sender goes after the last of them, on whatever
// thread that is. Sending is synchronous and paced by the sender's own clocks, so the queue's thread waits there.
//
// Lock order: the sink's lock before a stream's. A stream never takes the sink's lock while it holds its own.
class NDISinkMF : public IMFMediaSink, public IMFClockStateSink, public CUnknown
{
public:
    // Throws ComException when there is no sender to be had.
    explicit NDISinkMF(const NDISinkParams &params);
    ~NDISinkMF() override;

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override;

    // IMFMediaSink
    HRESULT STDMETHODCALLTYPE GetCharacteristics(DWORD *pdwCharacteristics) override;
    HRESULT STDMETHODCALLTYPE AddStreamSink(DWORD identifier, IMFMediaType *type, IMFStreamSink **stream) override;
    HRESULT STDMETHODCALLTYPE RemoveStreamSink(DWORD identifier) override;
    HRESULT STDMETHODCALLTYPE GetStreamSinkCount(DWORD *pcStreamSinkCount) override;
    // MF_E_INVALIDINDEX beyond the number of streams; at that number itself std::out_of_range leaves the call.
    HRESULT STDMETHODCALLTYPE GetStreamSinkByIndex(DWORD index, IMFStreamSink **ppStreamSink) override;
    HRESULT STDMETHODCALLTYPE GetStreamSinkById(DWORD identifier, IMFStreamSink **ppStreamSink) override;
    HRESULT STDMETHODCALLTYPE SetPresentationClock(IMFPresentationClock *clock) override;
    // S_OK with a null clock when none is set.
    HRESULT STDMETHODCALLTYPE GetPresentationClock(IMFPresentationClock **ppPresentationClock) override;
    // The sender stays.
    HRESULT STDMETHODCALLTYPE Shutdown() override;

    virtual HRESULT createSender(const QString &name);
    // S_FALSE when there is none.
    virtual HRESULT destroySender();

    // IMFClockStateSink: the sink starts and stops; it neither pauses nor changes its rate.
    HRESULT STDMETHODCALLTYPE OnClockStart(MFTIME hnsSystemTime, LONGLONG llClockStartOffset) override;
    HRESULT STDMETHODCALLTYPE OnClockStop(MFTIME hnsSystemTime) override;
    HRESULT STDMETHODCALLTYPE OnClockPause(MFTIME hnsSystemTime) override;
    HRESULT STDMETHODCALLTYPE OnClockRestart(MFTIME hnsSystemTime) override;
    HRESULT STDMETHODCALLTYPE OnClockSetRate(MFTIME hnsSystemTime, float rate) override;

    // Sends the text as a metadata frame, on the queue. Called by the node.
    void sendMetadata(const QByteArray &text);

    // The stream sinks' side.
    // Runs the job on the queue's thread.
    HRESULT push(const std::function<HRESULT()> &job) const;
    // Send under the sink's lock; a frame without a sender is dropped.
    void sendVideo(const NDIlib_video_frame_v2_t &frame);
    void sendAudio(const NDIlib_audio_frame_v2_t &frame);
    // Makes the sender let go of a frame that it may still hold.
    HRESULT flush();

private:
    // Taken by every operation of the two interfaces. Guards what follows and every use of the sender but that of the
    // metadata job.
    CriticalSection m_lock;
    bool m_shutDown = false;
    CComPtr<IMFPresentationClock> m_presentationClock;
    std::vector<std::shared_ptr<NDISinkStream>> m_streams; // as they are made, video first
    const tvx::MFMessageQueue m_messageQueue;
    NdiSender m_sender;
};
