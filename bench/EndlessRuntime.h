#pragma once

// An NDI runtime inside the benchmark. One sender is received whose next frame is there already or comes at a live
// pace; frames take turns in a few pictures, as a receiver's queue does. What is sent goes nowhere and takes no time.
// Nothing is allocated or copied.

#include <Processing.NDI.Interface.h>

#include <chrono>
#include <cstdint>

namespace bench
{

constexpr char EndlessName[] = "BENCH (Endless)";
constexpr char EndlessAddress[] = "127.0.0.1:5961";
constexpr int EndlessPictures = 3;

// What the sender sends from now on, that many frames a second, or 0: always one more. Not while a receiver captures.
void setEndlessVideo(NDIlib_FourCC_video_type_e fourCC, int width, int height, std::int64_t pace);

// One of the pictures that the frames take turns in.
const std::uint8_t *endlessPicture(std::int64_t index);

// When the receiver was given its last frame. Not while it captures.
std::chrono::steady_clock::time_point lastCapture();

// Waits until so many frames of picture and sound have been sent since the program began, and tells when the last of
// them came.
std::chrono::steady_clock::time_point waitForSentFrames(std::uint64_t count);
std::uint64_t sentFrames();

} // namespace bench
