#pragma once

#include "hostfw/ComPtr.h"
#include "hostfw/HnsTime.h"

#include "Processing.NDI.Interface.h"

#include <QtCore/QObject>

#include <windows.h>

#include <mfobjects.h>

// The attribute (a UINT32 of 1) of a probed media type one of whose frames carried metadata.
extern const GUID NDI_MT_HAS_FRAME_METADATA;

// Finds out what a connected receiver delivers: captures until it has met a video and an audio frame, or until a time
// that counts from the first frame has passed, and keeps the media type of each kind that it met.
//
// A run blocks its thread, 10 s for each capture and without bound before the first frame, so a probe lives on a thread
// of its own, where doProbe is called through the event loop; whoever made the probe frees it there or after that
// thread has ended. Nothing is locked: results are read when the run is over. Nobody else captures from the receiver
// meanwhile, which stays its owner's.
class NDIProbe : public QObject
{
    Q_OBJECT

public:
    explicit NDIProbe(NDIlib_recv_instance_t receiver);

    // Forgets what was found and runs once more. status() is S_FALSE until the run is over.
    void reprobe(HnsTime howLong);

    // S_OK before the first run and after one that ended well, also when only one of the kinds was met.
    HRESULT status() const { return m_status; }
    // Null as long as no frame of the kind was met.
    CComPtr<IMFMediaType> videoType() const { return m_videoType; }
    CComPtr<IMFMediaType> audioType() const { return m_audioType; }

Q_SIGNALS:
    // With S_OK at the end of a run. A run that fails says nothing but its status().
    void finished(HRESULT status);

private Q_SLOTS:
    // One run on the calling thread. Types that were found before stay.
    void doProbe(HnsTime howLong);

private:
    void captureUntilFound(const HnsTime &howLong);
    // One capture; whether it brought a video or an audio frame. Throws ComException when the connection is lost.
    bool captureOnce();
    void meetVideo(const NDIlib_video_frame_v2_t &frame);
    void meetAudio(const NDIlib_audio_frame_v2_t &frame);
    void meetMetadata(const NDIlib_metadata_frame_t &frame);

    const NDIlib_recv_instance_t m_receiver; // not owned
    CComPtr<IMFMediaType> m_videoType;
    CComPtr<IMFMediaType> m_audioType;
    HRESULT m_status = S_OK;
};
