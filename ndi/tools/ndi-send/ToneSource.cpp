#include "ndi/tools/ndi-send/ToneSource.h"

namespace ndisend
{

bool ToneSource::render(std::int64_t first, int count, bool beep, float *planar)
{
    for (int channel = 0; channel < m_format.channels; ++channel)
        m_tone.render(channel, first, count, beep, planar + std::ptrdiff_t{channel} * count);
    return true;
}

} // namespace ndisend
