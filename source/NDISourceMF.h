#pragma once

#include "hostfw/BaseSource.h"
#include "hostfw/MessageQueue.h"
#include "hostfw/PIDRegulator.h"
#include "source/FrameClock.h"
#include "source/SourceParameters.h"

#include "Processing.NDI.Interface.h"

#include <QtCore/QByteArray>
#include <QtCore/QObject>

#include <atomic>
#include <memory>

class ComException;
class NDISourceStreamAudio;
class NDISourceStreamVideo;

// One sender as a live media source, with a video stream (0) and an audio stream (1) as far as they are wanted.
//
// Construction runs on a thread of Qt's pool and blocks until the sender is found. Afterwards everything that touches
// the receiver or the frame clock runs on the message queue, item by item; each item holds a reference to the source,
// so the source outlives its queued work. Reading is driven by the streams' demand: captureFrame() goes on posting
// itself until it has met a frame of the wanted kind, and delivers all others on the way.
class NDISourceMF : public QObject, public CBaseSource
{
    Q_OBJECT

public:
    // Reports every ComException through `hr`; the object is then of no use. AsyncOperationInterrupted passes through.
    NDISourceMF(HRESULT &hr, const SourceParameters &params);
    ~NDISourceMF() override;

    DECLARE_IUNKNOWN

    HRESULT STDMETHODCALLTYPE Stop() override;

    // Sends the tally to the sender, now if there is a receiver, else with the next one. Called by the node.
    void setTally(const NDIlib_tally_t &tally);
    // Reads the next frame, 100 ms at most. S_FALSE without a receiver; MF_E_END_OF_STREAM when the connection is lost.
    HRESULT captureFrame(NDIlib_frame_type_e wanted);
    bool hardwareSamples() const;

Q_SIGNALS:
    void sessionRecreationRequested();
    // The text of one metadata frame. The name is spelt as the node has always known it.
    void metadataRecieved(QByteArray);

protected:
    HRESULT OnStart(IMFAsyncResult *asyncResult) override;
    HRESULT OnStop(IMFAsyncResult *asyncResult) override;

private:
    struct ReceiverResult {
        HRESULT hr = S_OK;
        CComPtr<IMFMediaType> videoType;
        CComPtr<IMFMediaType> audioType;
    };

    void createReceiver(ReceiverResult &result, const SourceParameters &params);
    // On the queue: makes the receiver that a stop has destroyed. A failure becomes an MEError event.
    HRESULT openReceiver();
    void destroyReceiver();
    HRESULT reportFailure(const ComException &ex);
    void postCapture(NDIlib_frame_type_e wanted);
    void createStreams(const ReceiverResult &receiver);
    template <typename Frame>
    void rebaseTimecode(Frame &frame, const char *label);
    void deliverVideoFrame(NDIlib_video_frame_v2_t &frame);
    void deliverAudioFrame(NDIlib_audio_frame_v2_t &frame);
    void deliverMetadata(const NDIlib_metadata_frame_t &frame);
    void loseConnection();
    CComPtr<IMFMediaSource> self();

    const SourceParameters m_params;
    tvx::MFMessageQueue m_messageQueue;
    std::shared_ptr<NDISourceStreamVideo> m_videoStream;
    std::shared_ptr<NDISourceStreamAudio> m_audioStream;
    NDIlib_recv_instance_t m_receiver = nullptr;
    // Written on the node's thread, read on the queue.
    std::atomic<NDIlib_tally_t> m_tally{NDIlib_tally_t()};
    FrameClock m_clock;
    PIDRegulator m_regulator;
};
