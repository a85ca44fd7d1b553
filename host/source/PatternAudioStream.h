#pragma once

#include "host/source/PatternStream.h"

#include "hostfw/SamplePool.h"
#include "pattern/TestTone.h"

#include <memory>
#include <vector>

namespace host
{

// The test tone, one buffer per frame of the picture, interleaved 32-bit float.
class PatternAudioStream final : public PatternStream
{
public:
    PatternAudioStream(tvx::ISource *source, const PatternSettings &settings, std::shared_ptr<PatternPace> pace);

protected:
    CComPtr<IMFMediaType> createType() const override;
    HRESULT makeSample(std::int64_t frame, IMFSample **sample) override;

private:
    const pattern::TestTone m_tone;
    const std::unique_ptr<tvx::ISamplePoolFlexible> m_pool;
    std::vector<float> m_channel; // one channel's samples
};

} // namespace host
