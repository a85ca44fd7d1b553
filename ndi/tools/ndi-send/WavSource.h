#pragma once

// A wav file or pipe as a source.

#include "ndi/tools/ndi-send/Input.h"
#include "ndi/tools/ndi-send/Options.h"
#include "ndi/tools/ndi-send/Sources.h"
#include "ndi/tools/ndi-send/WavReader.h"

namespace ndisend
{

class WavSource : public AudioSource
{
public:
    // Opens the file and reads as far as its samples.
    explicit WavSource(const Options &options);

    AudioFormat format() const override;
    bool render(std::int64_t first, int count, bool beep, float *planar) override;

private:
    Input m_input;
    WavReader m_reader;
    bool m_loop;
};

} // namespace ndisend
