#pragma once

// What the publisher takes its frames from. A source is used by one thread, the publisher's.

#include "pattern/FrameRate.h"
#include "pattern/Picture.h"

#include <Processing.NDI.Interface.h>

#include <cstdint>

namespace ndisend
{

struct VideoFormat {
    int width = 0;  // pixels
    int height = 0; // lines
    NDIlib_FourCC_video_type_e fourCC = NDIlib_FourCC_video_type_UYVY;
    pattern::FrameRate rate;
    bool interlaced = false;
    float aspect = 0.0F; // of the picture as shown; 0: width / height
};

class VideoSource
{
public:
    virtual ~VideoSource() = default;

    virtual VideoFormat format() const = 0;

    // Reads or draws a frame, in the time before it is due; frames are asked for one after the other. False when there
    // is none left. Throws a Failure when the input is damaged.
    virtual bool prepare(std::int64_t frame) = 0;

    // The prepared frame, when it is due. Its memory stays as it is until the second prepare() from now, as the one
    // before may still be on its way while the next is prepared.
    virtual pattern::Picture finish() = 0;
};

struct AudioFormat {
    int sampleRate = 0; // Hz
    int channels = 0;
};

class AudioSource
{
public:
    virtual ~AudioSource() = default;

    virtual AudioFormat format() const = 0;

    // Samples first .. first + count - 1 of every channel, asked for without a gap; channel c goes to planar +
    // c * count. What lies after the end is silence; false when nothing is left at all.
    virtual bool render(std::int64_t first, int count, bool beep, float *planar) = 0;
};

} // namespace ndisend
