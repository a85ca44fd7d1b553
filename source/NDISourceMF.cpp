#include "source/NDISourceMF.h"

#include "hostfw/ComException.h"
#include "plugin/AsyncOperationInterrupted.h"
#include "plugin/Logging.h"
#include "plugin/NdiGuards.h"
#include "source/NDISourceStreamAudio.h"
#include "source/NDISourceStreamVideo.h"
#include "source/SenderSearch.h"
#include "source/SourceChecks.h"

#include <mfapi.h>
#include <mferror.h>

namespace
{

constexpr DWORD liveSource = MFMEDIASOURCE_IS_LIVE;
constexpr DWORD queuePriority = 5;
constexpr uint32_t captureMilliseconds = 100;
constexpr DWORD videoStreamId = 0;
constexpr DWORD audioStreamId = 1;

double regulatorPeriod()
{
    return static_cast<double>(static_cast<long long>(HnsTime::milliseconds(16))) /
           static_cast<double>(static_cast<long long>(HnsTime::seconds(1)));
}

} // namespace

NDISourceMF::NDISourceMF(HRESULT &hr, const SourceParameters &params)
    : CBaseSource(hr, liveSource), m_params(params), m_messageQueue(tvx::MFMessageQueue::Type::Serial, queuePriority),
      m_regulator(0.025, 0.005, 0.0, regulatorPeriod())
{
    try {
        ReceiverResult receiver;
        createReceiver(receiver, m_params);
        createStreams(receiver);
    } catch (const ComException &exception) {
        qCCritical(sourceCategory, "%s", qPrintable(exception.getMessage()));
        hr = exception.getErrorCode();
    } catch (...) {
        destroyReceiver(); // the destructor of an object that was never made does not run
        throw;
    }
}

NDISourceMF::~NDISourceMF()
{
    destroyReceiver();
    m_audioStream.reset();
    m_videoStream.reset();
}

HRESULT NDISourceMF::Stop()
{
    const AutoLock lock(m_lock);
    if (const HRESULT hr = CBaseSource::Stop(); checkFailed(*checkCategory, "__super::Stop()", hr))
        return hr;
    if (m_videoStream)
        CHECK_HR(m_videoStream->flushRequestManager());
    if (m_audioStream)
        CHECK_HR(m_audioStream->flushRequestManager());
    return S_OK;
}

void NDISourceMF::setTally(const NDIlib_tally_t &tally)
{
    m_tally = tally;
    m_messageQueue.push([reference = self(), this, tally] {
        if (m_receiver)
            NDIlib_recv_set_tally(m_receiver, &tally);
        return S_OK;
    });
}

bool NDISourceMF::hardwareSamples() const
{
    return m_params.hardwareSamples;
}

HRESULT NDISourceMF::captureFrame(NDIlib_frame_type_e wanted)
{
    if (!m_receiver)
        return S_FALSE;
    NDIlib_video_frame_v2_t video;
    NDIlib_audio_frame_v2_t audio;
    NDIlib_metadata_frame_t metadata;
    const NDIlib_frame_type_e captured =
        NDIlib_recv_capture_v2(m_receiver, &video, &audio, &metadata, captureMilliseconds);
    switch (captured) {
    case NDIlib_frame_type_video:
        deliverVideoFrame(video);
        break;
    case NDIlib_frame_type_audio:
        deliverAudioFrame(audio);
        break;
    case NDIlib_frame_type_metadata:
        deliverMetadata(metadata);
        break;
    case NDIlib_frame_type_error:
        loseConnection();
        return MF_E_END_OF_STREAM;
    default:
        break;
    }
    if (captured != wanted)
        postCapture(wanted);
    return S_OK;
}

void NDISourceMF::postCapture(NDIlib_frame_type_e wanted)
{
    // The item carries its reference as a bare pointer, unlike the others: a function that owns a CComPtr does not fit
    // into std::function's own storage, and this one is pushed for frame after frame.
    CComPtr<IMFMediaSource> given = self();
    const HRESULT hr = m_messageQueue.push([this, wanted] {
        CComPtr<IMFMediaSource> reference;
        reference.Attach(this);
        return captureFrame(wanted);
    });
    if (SUCCEEDED(hr))
        given.Detach();
}

HRESULT NDISourceMF::OnStart(IMFAsyncResult *asyncResult)
{
    try {
        const AutoLock lock(m_lock);
        // Whether there is a receiver is asked on the queue: the stop before this start may still be waiting there.
        m_messageQueue.push([reference = self(), this] { return openReceiver(); });
    } catch (const ComException &ex) {
        return reportFailure(ex);
    }
    // Not under the lock, unlike OnStop.
    return CBaseSource::OnStart(asyncResult);
}

HRESULT NDISourceMF::OnStop(IMFAsyncResult *asyncResult)
{
    const AutoLock lock(m_lock);
    m_messageQueue.push([reference = self(), this] {
        destroyReceiver();
        m_clock = FrameClock();
        return S_OK;
    });
    return CBaseSource::OnStop(asyncResult);
}

void NDISourceMF::createReceiver(ReceiverResult &result, const SourceParameters &params)
{
    if (m_receiver) {
        result = {E_FAIL, {}, {}};
        return;
    }
    const NDIlib_recv_instance_t reciever = connectToSender(params);
    THROW_POINTER(reciever);
    m_receiver = reciever;
    const NDIlib_tally_t tally = m_tally;
    NDIlib_recv_set_tally(m_receiver, &tally);
    m_clock.startTime = HnsTime::systemTime();
    result = {S_OK, {}, {}};
}

HRESULT NDISourceMF::openReceiver()
{
    DWORD characteristics = 0;
    if (GetCharacteristics(&characteristics) == MF_E_SHUTDOWN)
        return S_OK; // the shutdown's work is done already: nobody would destroy this receiver
    try {
        ReceiverResult discarded;
        createReceiver(discarded, m_params);
    } catch (const ComException &ex) {
        return reportFailure(ex);
    } catch (const AsyncOperationInterrupted &) {
        // Nobody waits for this source any more.
    }
    return S_OK;
}

HRESULT NDISourceMF::reportFailure(const ComException &ex)
{
    const HRESULT hr = m_pEventGenerator->QueueEvent(MEError, GUID_NULL, ex.getErrorCode(), nullptr);
    if (checkFailed(*checkCategory, "m_pEventGenerator->QueueEvent( MEError, GUID_NULL, ex.getErrorCode(), nullptr)",
                    hr))
        return hr;
    return ex.getErrorCode();
}

void NDISourceMF::destroyReceiver()
{
    if (!m_receiver)
        return;
    NDIlib_recv_destroy(m_receiver);
    m_receiver = nullptr;
}

void NDISourceMF::createStreams(const ReceiverResult &receiver)
{
    const auto giveType = [](NDISourceStream &stream, const CComPtr<IMFMediaType> &type) {
        stream.setMediaType(type ? type : stream.createDefaultMediaType());
    };
    std::list<std::shared_ptr<tvx::ISourceStream>> streams;
    if (m_params.hasVideo) {
        m_videoStream = std::make_shared<NDISourceStreamVideo>(this, videoStreamId, &m_messageQueue);
        giveType(*m_videoStream, receiver.videoType);
        m_videoStream->setReferenceTime(m_params.delay);
        streams.push_back(m_videoStream);
    }
    if (m_params.hasAudio) {
        m_audioStream = std::make_shared<NDISourceStreamAudio>(this, audioStreamId, &m_messageQueue);
        giveType(*m_audioStream, receiver.audioType);
        m_audioStream->setReferenceTime(m_params.delay);
        streams.push_back(m_audioStream);
    }
    if (streams.empty())
        throw ComException(E_FAIL, QStringLiteral("No NDI streams found"));
    THROW_HR(CBaseSource::Initialize(streams));
    if (m_videoStream) {
        CComPtr<IMFAttributes> attributes;
        if (SUCCEEDED(GetSourceAttributes(&attributes)))
            attributes->SetUINT32(MF_SA_D3D11_AWARE, TRUE);
    }
}

// A sender without timecodes is timed by its arrival; every other keeps the distances of its own timecodes.
template <typename Frame>
void NDISourceMF::rebaseTimecode(Frame &frame, const char *label)
{
    const int64_t elapsed = HnsTime::systemTime() - m_clock.startTime;
    if (m_clock.origin == 0)
        m_clock.origin = wrappingDifference(frame.timecode, elapsed);
    if (frame.timecode == 0)
        frame.timecode = elapsed;
    const int64_t sinceOrigin = wrappingDifference(frame.timecode, m_clock.origin);
    qCDebug(sourceCategory, "%s frame read: %lldms (%lldms)", label, HnsTime(sinceOrigin).toMilliseconds(),
            HnsTime(frame.timecode).toMilliseconds());
    frame.timecode = wrappingSum(sinceOrigin, m_params.delay);
}

void NDISourceMF::deliverVideoFrame(NDIlib_video_frame_v2_t &frame)
{
    const NdiFrameGuard<NDIlib_video_frame_v2_t> guard(m_receiver, frame, NDIlib_recv_free_video_v2);
    rebaseTimecode(frame, "Video");
    if (m_videoStream)
        m_videoStream->processFrame(frame, &m_clock);
}

void NDISourceMF::deliverAudioFrame(NDIlib_audio_frame_v2_t &frame)
{
    const NdiFrameGuard<NDIlib_audio_frame_v2_t> guard(m_receiver, frame, NDIlib_recv_free_audio_v2);
    rebaseTimecode(frame, "Audio");
    if (m_audioStream)
        m_audioStream->processFrame(frame, &m_clock);
}

void NDISourceMF::deliverMetadata(const NDIlib_metadata_frame_t &frame)
{
    const NdiFrameGuard<NDIlib_metadata_frame_t> guard(m_receiver, frame, NDIlib_recv_free_metadata);
    Q_EMIT metadataRecieved(QByteArray(frame.p_data));
}

void NDISourceMF::loseConnection()
{
    qCInfo(sourceCategory, "Connection lost");
    if (m_videoStream)
        m_videoStream->notifyConnectionLost();
    if (m_audioStream)
        m_audioStream->notifyConnectionLost();
}

CComPtr<IMFMediaSource> NDISourceMF::self()
{
    return {static_cast<IMFMediaSource *>(this)};
}
