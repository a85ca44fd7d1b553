#pragma once

#include <windows.h>

#include <cstdint>

namespace host
{

// What a test pattern source delivers.
struct PatternSettings {
    GUID subtype = {}; // UYVY, YUY2, RGB32 or ARGB32
    int width = 1280;  // even
    int height = 720;
    int rateNumerator = 25;
    int rateDenominator = 1;
    int sampleRate = 48000; // Hz
    int channels = 2;
    // Frames as time goes by; false: as fast as they are taken.
    bool paced = true;
    // Frames until the end; 0: none.
    std::int64_t frames = 0;
};

} // namespace host
