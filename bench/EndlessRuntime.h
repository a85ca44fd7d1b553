#pragma once

// An NDI runtime inside the benchmark. One sender is received whose next frame is always there already, so that what is
// measured is the way from the captured frame on; frames take turns in a few pictures, as a receiver's queue does. What
// is sent goes nowhere and takes no time. Nothing is allocated or copied.

#include <Processing.NDI.Interface.h>

#include <cstdint>

namespace bench
{

constexpr char EndlessName[] = "BENCH (Endless)";
constexpr char EndlessAddress[] = "127.0.0.1:5961";
constexpr int EndlessPictures = 3;

// What the sender sends from now on. Not while a receiver captures.
void setEndlessVideo(NDIlib_FourCC_video_type_e fourCC, int width, int height);

// One of the pictures that the frames take turns in.
const std::uint8_t *endlessPicture(std::int64_t index);

// Waits until so many frames of picture and sound have been sent since the program began.
void waitForSentFrames(std::uint64_t count);
std::uint64_t sentFrames();

} // namespace bench
