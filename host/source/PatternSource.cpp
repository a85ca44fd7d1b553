#include "host/source/PatternSource.h"

#include "host/pipeline/ComFactory.h"
#include "host/source/PatternAudioStream.h"
#include "host/source/PatternVideoStream.h"

namespace host
{

namespace
{

// Of a pattern that ends, or takes no time, each frame counts.
bool isLive(const PatternSettings &settings)
{
    return settings.paced && settings.frames == 0;
}

} // namespace

PatternSource::PatternSource(HRESULT &hr, const PatternSettings &settings)
    : CBaseSource(hr, isLive(settings) ? MFMEDIASOURCE_IS_LIVE : 0),
      m_pace(std::make_shared<PatternPace>(settings.paced))
{
}

HRESULT PatternSource::create(const PatternSettings &settings, IMFMediaSource **source)
{
    HRESULT hr = S_OK;
    const CComPtr<PatternSource> made = createObject<PatternSource>(hr, settings);
    if (!made)
        return E_OUTOFMEMORY;
    if (FAILED(hr))
        return hr;
    // Not in the constructor: the streams take references.
    hr = made->addStreams(settings);
    if (FAILED(hr))
        return hr;
    *source = made.p;
    (*source)->AddRef();
    return S_OK;
}

HRESULT PatternSource::addStreams(const PatternSettings &settings)
{
    std::list<std::shared_ptr<tvx::ISourceStream>> streams = {
        std::make_shared<PatternVideoStream>(this, settings, m_pace),
        std::make_shared<PatternAudioStream>(this, settings, m_pace)};
    return Initialize(streams);
}

HRESULT PatternSource::OnStart(IMFAsyncResult *result)
{
    m_pace->start();
    return CBaseSource::OnStart(result);
}

HRESULT PatternSource::OnStop(IMFAsyncResult *result)
{
    m_pace->stop();
    return CBaseSource::OnStop(result);
}

} // namespace host
