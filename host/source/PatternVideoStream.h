#pragma once

#include "host/source/PatternStream.h"

#include "hostfw/SamplePool.h"
#include "pattern/TestPicture.h"

#include <memory>

namespace host
{

// The moving test picture, with the frame number and the time it was made in its top lines.
class PatternVideoStream final : public PatternStream
{
public:
    PatternVideoStream(tvx::ISource *source, const PatternSettings &settings, std::shared_ptr<PatternPace> pace);

protected:
    CComPtr<IMFMediaType> createType() const override;
    HRESULT makeSample(std::int64_t frame, IMFSample **sample) override;

private:
    HRESULT createSample(IMFSample **sample) const;

    pattern::TestPicture m_picture;
    const std::unique_ptr<tvx::ISamplePoolFixed> m_pool;
};

} // namespace host
