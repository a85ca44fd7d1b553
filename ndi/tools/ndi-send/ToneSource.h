#pragma once

// The test tone as a source.

#include "ndi/tools/ndi-send/Sources.h"
#include "pattern/TestTone.h"

namespace ndisend
{

class ToneSource : public AudioSource
{
public:
    explicit ToneSource(const AudioFormat &format) : m_format(format), m_tone(format.sampleRate) {}

    AudioFormat format() const override { return m_format; }
    bool render(std::int64_t first, int count, bool beep, float *planar) override;

private:
    AudioFormat m_format;
    pattern::TestTone m_tone;
};

} // namespace ndisend
