#include "host/source/PatternStream.h"

#include "pattern/FrameRate.h"

#include <mferror.h>

namespace host
{

PatternStream::PatternStream(tvx::ISource *source, DWORD id, const PatternSettings &settings,
                             std::shared_ptr<PatternPace> pace, const tvx::MFMessageQueue &queue)
    : CBaseSourceStream(source, id,
                        std::shared_ptr<tvx::ISampleRequestManager>(
                            tvx::createBufferingSampleRequestManager(this, HnsTime(INT64_MAX), nullptr, &queue))),
      m_settings(settings), m_pace(std::move(pace))
{
}

HRESULT PatternStream::RequestFrame()
{
    if (m_settings.frames > 0 && m_next >= m_settings.frames) {
        m_requestManager->PushEndOfData();
        return S_FALSE;
    }
    // What a slow consumer has missed is gone.
    while (m_pace->lateness(frameStart(m_next)) > PatternPace::Patience)
        ++m_next;
    if (!m_pace->waitFor(frameStart(m_next)))
        return S_FALSE;
    CComPtr<IMFSample> sample;
    HRESULT hr = makeSample(m_next, &sample);
    if (FAILED(hr))
        return hr;
    sample->SetSampleTime(frameStart(m_next));
    sample->SetSampleDuration(frameStart(m_next + 1) - frameStart(m_next));
    ++m_next;
    hr = m_requestManager->PushSample(sample);
    return hr == MF_E_SHUTDOWN ? S_FALSE : hr; // the source went while the frame was made
}

HRESULT PatternStream::Start(const PROPVARIANT &position)
{
    m_next = 0;
    return CBaseSourceStream::Start(position);
}

std::list<CComPtr<IMFMediaType>> PatternStream::GetMediaTypes() const
{
    return {createType()};
}

HRESULT PatternStream::setMediaType(IMFMediaType *)
{
    return S_OK; // there is only the one
}

LONGLONG PatternStream::frameStart(std::int64_t frame) const
{
    const pattern::FrameRate rate{m_settings.rateNumerator, m_settings.rateDenominator};
    return rate.frameStart(frame, pattern::HnsPerSecond);
}

} // namespace host
