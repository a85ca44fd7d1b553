#pragma once

#include "host/source/PatternPace.h"
#include "host/source/PatternSettings.h"

#include "hostfw/BaseSource.h"

#include <memory>

namespace host
{

// A live source of the test picture (stream 0) and the test tone (stream 1).
class PatternSource : public CBaseSource
{
public:
    static HRESULT create(const PatternSettings &settings, IMFMediaSource **source);
    // For create().
    PatternSource(HRESULT &hr, const PatternSettings &settings);

    DECLARE_IUNKNOWN

protected:
    HRESULT OnStart(IMFAsyncResult *result) override;
    HRESULT OnStop(IMFAsyncResult *result) override;

private:
    HRESULT addStreams(const PatternSettings &settings);

    const std::shared_ptr<PatternPace> m_pace;
};

} // namespace host
