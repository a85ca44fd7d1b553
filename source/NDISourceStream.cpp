#include "source/NDISourceStream.h"

#include "source/FrameClock.h"
#include "source/NDISourceMF.h"
#include "source/SourceChecks.h"

#include <mferror.h>

#include <cstdint>

NDISourceStream::NDISourceStream(NDISourceMF *source, DWORD streamId, const tvx::MFMessageQueue *queue)
    : CBaseSourceStream(source, streamId,
                        std::shared_ptr<tvx::ISampleRequestManager>(
                            tvx::createBufferingSampleRequestManager(this, HnsTime(INT64_MAX), nullptr, queue))),
      m_source(source), m_messageQueue(*queue)
{
}

HRESULT NDISourceStream::Stop()
{
    // Behind everything that is queued for the stream, so that the first sample after a restart keeps its own time.
    m_messageQueue.push([reference = CComPtr<IMFMediaStream>(this), this] {
        m_lastSampleTime = 0;
        m_timeOrigin = 0;
        return S_OK;
    });
    return CBaseSourceStream::Stop();
}

std::list<CComPtr<IMFMediaType>> NDISourceStream::GetMediaTypes() const
{
    return {m_mediaType};
}

HRESULT NDISourceStream::setMediaType(IMFMediaType *type)
{
    if (m_mediaType != type)
        m_mediaType = type;
    return S_OK;
}

HRESULT NDISourceStream::flushRequestManager()
{
    return m_requestManager ? m_requestManager->Flush() : E_POINTER;
}

HRESULT NDISourceStream::notifyConnectionLost()
{
    return m_requestManager ? m_requestManager->PushEndOfData() : E_POINTER;
}

void NDISourceStream::setReferenceTime(const HnsTime &time)
{
    m_referenceTime = time;
}

HRESULT NDISourceStream::OnSeek(const PROPVARIANT & /*position*/)
{
    return E_NOTIMPL;
}

HRESULT NDISourceStream::pushMediaTypeChange(IMFMediaType *newType)
{
    if (checkFailed(*checkCategory, "newType", newType))
        return MF_E_INVALIDMEDIATYPE;
    CHECK_HR(m_requestManager->PushMediaTypeChange(newType));
    return S_OK;
}

HRESULT NDISourceStream::stampSample(IMFSample *sample, LONGLONG timecode, LONGLONG duration)
{
    if (m_lastSampleTime != 0 && timecode <= m_lastSampleTime)
        timecode = wrappingSum(m_lastSampleTime, duration);
    CHECK_HR(sample->SetSampleTime(timecode));
    CHECK_HR(sample->SetSampleDuration(duration));
    m_lastSampleTime = timecode;
    return S_OK;
}
