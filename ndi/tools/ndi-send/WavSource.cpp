#include "ndi/tools/ndi-send/WavSource.h"

#include <algorithm>

namespace ndisend
{

WavSource::WavSource(const Options &options)
    : m_input(QStringLiteral("audio"), options.audioFile), m_reader(m_input.stream()), m_loop(options.loop)
{
}

AudioFormat WavSource::format() const
{
    return {m_reader.format().sampleRate, m_reader.format().channels};
}

bool WavSource::render(std::int64_t, int count, bool, float *planar)
{
    int done = m_reader.read(count, planar, count);
    while (done < count && m_loop && m_reader.rewind()) {
        const int more = m_reader.read(count - done, planar + done, count);
        if (more == 0)
            break; // a file without samples
        done += more;
    }
    for (int channel = 0; channel < m_reader.format().channels; ++channel)
        std::fill(planar + std::ptrdiff_t{channel} * count + done, planar + std::ptrdiff_t{channel + 1} * count, 0.0F);
    return done > 0;
}

} // namespace ndisend
