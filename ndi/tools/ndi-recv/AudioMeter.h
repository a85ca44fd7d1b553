#pragma once

// What the sound of a sender tells: how much, and what is missing. Used by one thread.

#include "ndi/tools/ndi-recv/GapCounter.h"
#include "pattern/BeepFinder.h"
#include "pattern/SyncMeter.h"

#include <Processing.NDI.Interface.h>

#include <cstdint>
#include <optional>

namespace ndirecv
{

struct AudioFormat {
    int sampleRate = 0; // Hz
    int channels = 0;

    bool operator==(const AudioFormat &other) const
    {
        return sampleRate == other.sampleRate && channels == other.channels;
    }
};

struct AudioFigures {
    std::int64_t frames = 0;
    std::int64_t samples = 0; // per channel
    std::optional<AudioFormat> format;
    std::int64_t formatChanges = 0; // without the first format
    std::int64_t withMetadata = 0;
    std::int64_t gaps = 0;
    std::int64_t lostSamples = 0; // per channel, by timecode
    std::int64_t restarts = 0;
};

struct AudioNews {
    bool isNewFormat = false;
    std::int64_t lostSamples = 0; // before this frame
};

class AudioMeter
{
public:
    explicit AudioMeter(pattern::SyncMeter &sync) : m_sync(sync) {}

    // `arrival` on the clock of pattern::steadyNowHns().
    AudioNews add(const NDIlib_audio_frame_v2_t &frame, std::int64_t arrival);
    // The next frame follows on none.
    void connectionLost();

    const AudioFigures &figures() const { return m_figures; }

private:
    bool noteFormat(const AudioFormat &format);
    // The samples that are missing before the frame; nothing when the sender began anew.
    std::optional<std::int64_t> noteStep(const NDIlib_audio_frame_v2_t &frame);
    void findBeep(const NDIlib_audio_frame_v2_t &frame, std::int64_t arrival);

    pattern::SyncMeter &m_sync;
    AudioFigures m_figures;
    std::optional<std::int64_t> m_lastTimecode;
    std::int64_t m_lastDuration = 0; // 100 ns
    std::optional<pattern::BeepFinder> m_beeps;
    std::int64_t m_sampleCount = 0; // that m_beeps has had
};

} // namespace ndirecv
