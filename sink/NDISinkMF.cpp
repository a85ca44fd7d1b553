#include "sink/NDISinkMF.h"

#include "hostfw/ComException.h"
#include "sink/NDISinkAudioStream.h"
#include "sink/NDISinkVideoStream.h"
#include "sink/SinkChecks.h"

#include <mferror.h>

#include <stdexcept>

namespace
{

constexpr DWORD queuePriority = 5;

} // namespace

NDISinkMF::NDISinkMF(const NDISinkParams &params)
    : CUnknown(L"NDISinkMF", nullptr), m_messageQueue(tvx::MFMessageQueue::Type::Serial, queuePriority)
{
    checkOrThrow(*checkCategory, "createSender(params)", NDISinkMF::createSender(params.name));
    const auto nextIdentifier = [this] { return static_cast<DWORD>(m_streams.size()); };
    if (params.hasVideo)
        m_streams.push_back(std::make_shared<NDISinkVideoStream>(nextIdentifier(), this));
    if (params.hasAudio)
        m_streams.push_back(std::make_shared<NDISinkAudioStream>(nextIdentifier(), this));
}

NDISinkMF::~NDISinkMF()
{
    NDISinkMF::Shutdown();
    NDISinkMF::destroySender();
}

HRESULT NDISinkMF::NonDelegatingQueryInterface(REFIID iid, void **out)
{
    if (IsEqualIID(iid, __uuidof(IMFMediaSink)))
        return GetInterface(static_cast<IMFMediaSink *>(this), out);
    if (IsEqualIID(iid, __uuidof(IMFClockStateSink)))
        return GetInterface(static_cast<IMFClockStateSink *>(this), out);
    return CUnknown::NonDelegatingQueryInterface(iid, out);
}

HRESULT NDISinkMF::GetCharacteristics(DWORD *pdwCharacteristics)
{
    const AutoLock lock(m_lock);
    CHECK_ARGUMENT(pdwCharacteristics);
    *pdwCharacteristics = MEDIASINK_FIXED_STREAMS;
    return S_OK;
}

HRESULT NDISinkMF::AddStreamSink(DWORD /*identifier*/, IMFMediaType * /*type*/, IMFStreamSink ** /*stream*/)
{
    const AutoLock lock(m_lock);
    return MF_E_STREAMSINKS_FIXED;
}

HRESULT NDISinkMF::RemoveStreamSink(DWORD /*identifier*/)
{
    const AutoLock lock(m_lock);
    return MF_E_STREAMSINKS_FIXED;
}

HRESULT NDISinkMF::GetStreamSinkCount(DWORD *pcStreamSinkCount)
{
    const AutoLock lock(m_lock);
    CHECK_ARGUMENT(pcStreamSinkCount);
    *pcStreamSinkCount = static_cast<DWORD>(m_streams.size());
    return S_OK;
}

HRESULT NDISinkMF::GetStreamSinkByIndex(DWORD index, IMFStreamSink **ppStreamSink)
{
    const AutoLock lock(m_lock);
    if (index > m_streams.size())
        return MF_E_INVALIDINDEX;
    CHECK_ARGUMENT(ppStreamSink);
    // Hosts know the place right behind the last stream by this exception, in these words.
    if (index == m_streams.size())
        throw std::out_of_range("invalid vector<T> subscript");
    return m_streams[index]->QueryInterface(__uuidof(IMFStreamSink), reinterpret_cast<void **>(ppStreamSink));
}

HRESULT NDISinkMF::GetStreamSinkById(DWORD identifier, IMFStreamSink **ppStreamSink)
{
    const AutoLock lock(m_lock);
    for (const auto &stream : m_streams) {
        DWORD found = 0;
        if (SUCCEEDED(stream->GetIdentifier(&found)) && found == identifier)
            return stream->QueryInterface(__uuidof(IMFStreamSink), reinterpret_cast<void **>(ppStreamSink));
    }
    return MF_E_INVALIDSTREAMNUMBER;
}

HRESULT NDISinkMF::SetPresentationClock(IMFPresentationClock *clock)
{
    const AutoLock lock(m_lock);
    if (m_presentationClock.IsEqualObject(clock))
        return S_OK;
    if (m_presentationClock)
        m_presentationClock->RemoveClockStateSink(this);
    m_presentationClock = clock;
    if (m_presentationClock)
        m_presentationClock->AddClockStateSink(this);
    for (const auto &stream : m_streams)
        stream->setPresentationClock(clock);
    return S_OK;
}

HRESULT NDISinkMF::GetPresentationClock(IMFPresentationClock **ppPresentationClock)
{
    const AutoLock lock(m_lock);
    CHECK_ARGUMENT(ppPresentationClock);
    return m_presentationClock.CopyTo(ppPresentationClock);
}

HRESULT NDISinkMF::Shutdown()
{
    const AutoLock lock(m_lock);
    if (m_shutDown)
        return MF_E_SHUTDOWN;
    for (const auto &stream : m_streams)
        stream->Shutdown();
    NDISinkMF::SetPresentationClock(nullptr);
    m_shutDown = true;
    return S_OK;
}

HRESULT NDISinkMF::createSender(const QString &name)
{
    const AutoLock lock(m_lock);
    const QByteArray utf8 = name.toUtf8();
    NDIlib_send_create_t settings;
    settings.p_ndi_name = utf8.constData();
    settings.p_groups = nullptr;
    settings.clock_video = true;
    settings.clock_audio = true;
    m_sender.reset(NDIlib_send_create(&settings));
    if (!m_sender)
        throw ComException(E_FAIL, QStringLiteral("Failed to create NDI sender"));
    return S_OK;
}

HRESULT NDISinkMF::destroySender()
{
    const AutoLock lock(m_lock);
    if (!m_sender)
        return S_FALSE;
    flush();
    m_sender.reset();
    return S_OK;
}

HRESULT NDISinkMF::OnClockStart(MFTIME hnsSystemTime, LONGLONG llClockStartOffset)
{
    const AutoLock lock(m_lock);
    for (const auto &stream : m_streams)
        CHECK_HR(stream->Start(hnsSystemTime, llClockStartOffset));
    return S_OK;
}

HRESULT NDISinkMF::OnClockStop(MFTIME /*hnsSystemTime*/)
{
    const AutoLock lock(m_lock);
    for (const auto &stream : m_streams)
        CHECK_HR(stream->Stop());
    return S_OK;
}

HRESULT NDISinkMF::OnClockPause(MFTIME /*hnsSystemTime*/)
{
    const AutoLock lock(m_lock);
    return E_NOTIMPL;
}

HRESULT NDISinkMF::OnClockRestart(MFTIME /*hnsSystemTime*/)
{
    const AutoLock lock(m_lock);
    return E_NOTIMPL;
}

HRESULT NDISinkMF::OnClockSetRate(MFTIME /*hnsSystemTime*/, float /*rate*/)
{
    const AutoLock lock(m_lock);
    return E_NOTIMPL;
}

void NDISinkMF::sendMetadata(const QByteArray &text)
{
    // The bytes themselves are copied: the caller's array may refer to memory that is not its own.
    m_messageQueue.push(
        [reference = CComPtr<IMFMediaSink>(this), this, copy = QByteArray(text.constData(), text.size())]() mutable {
            if (!m_sender)
                return S_OK;
            NDIlib_metadata_frame_t frame; // length 0: the text's own
            frame.p_data = copy.data();
            NDIlib_send_send_metadata(m_sender.get(), &frame);
            return S_OK;
        });
}

HRESULT NDISinkMF::push(const std::function<HRESULT()> &job) const
{
    return m_messageQueue.push(job);
}

void NDISinkMF::sendVideo(const NDIlib_video_frame_v2_t &frame)
{
    const AutoLock lock(m_lock);
    if (m_sender)
        NDIlib_send_send_video_v2(m_sender.get(), &frame);
}

void NDISinkMF::sendAudio(const NDIlib_audio_frame_v2_t &frame)
{
    const AutoLock lock(m_lock);
    if (m_sender)
        NDIlib_send_send_audio_v2(m_sender.get(), &frame);
}

HRESULT NDISinkMF::flush()
{
    const AutoLock lock(m_lock);
    if (!m_sender)
        return HRESULT_FROM_WIN32(ERROR_INVALID_STATE);
    NDIlib_send_send_video_async_v2(m_sender.get(), nullptr);
    return S_OK;
}
