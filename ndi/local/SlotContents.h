#pragma once

#include "ndi/local/FrameShape.h"
#include "ndi/local/FrameSlots.h"
#include "ndi/local/Protocol.h"

#include <cstdint>
#include <string_view>

// What a sender writes into a slot: the pixels or samples, packed, and behind them the text of the frame.
//
// Threads: any; a slot is written by the one who acquired it.
namespace localndi
{

// Without a hold, of a slot that is still to be acquired.
SlotPlace placeOf(SlotKind kind, const FrameSlots::Hold &hold, std::int64_t dataSize, std::string_view text);
std::uint64_t slotSize(const SlotPlace &place);

// The two fields of an interlaced frame one behind the other.
void writePixels(std::uint8_t *slot, const VideoShape &shape, std::uint8_t *pixels);
void writeSamples(std::uint8_t *slot, const AudioShape &shape, const float *samples);
void writeText(std::uint8_t *slot, const SlotPlace &place, std::string_view text);

} // namespace localndi
