#pragma once

// What a stream sink is given: types and samples.

#include "hostfw/ComPtr.h"

#include <windows.h>

#include <mfobjects.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace bench
{

struct Format {
    const GUID &subtype;
    int pixelBytes;
};

// 60 pictures a second.
CComPtr<IMFMediaType> pictureType(const Format &format, UINT32 width, UINT32 height);
constexpr UINT32 SampleRate = 48000;
constexpr UINT32 Channels = 2;
constexpr std::size_t SoundBytes = 4 * Channels * std::size_t{1602}; // a frame of 29.97

CComPtr<IMFMediaType> soundType();

CComPtr<IMFSample> sampleOf(const std::vector<std::uint8_t> &bytes);

} // namespace bench
