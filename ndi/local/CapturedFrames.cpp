#include "ndi/local/CapturedFrames.h"

#include "ndi/local/Conversion.h"
#include "ndi/local/EvenSteps.h"
#include "ndi/local/FrameShape.h"
#include "ndi/local/TimecodeClock.h"

#include <algorithm>
#include <utility>

namespace localndi
{
namespace
{

constexpr std::size_t maximumSpare = 4; // buffers

// Puts the two fields of a slot back together.
void weave(const VideoShape &shape, std::uint8_t *slot, const Picture &frame)
{
    const int height = shape.height / 2;
    for (int field = 0; field < 2; ++field)
        copyPicture(packedPictureAt(*shape.layout, slot + field * shape.packedSize() / 2, shape.width, height),
                    fieldOf(frame, field));
}

// Of the second field against the first.
std::int64_t halfFrameHns(const VideoAnnouncement &video)
{
    return ticksOf(video.rateD, video.rateN, hnsPerSecond) / 2;
}

NDIlib_video_frame_v2_t describe(const QueuedFrame &queued, const Picture &picture)
{
    const auto &video = queued.video;
    NDIlib_video_frame_v2_t frame;
    frame.xres = picture.width;
    frame.yres = picture.height;
    frame.FourCC = static_cast<NDIlib_FourCC_video_type_e>(picture.layout->fourCC);
    frame.frame_rate_N = video.rateN;
    frame.frame_rate_D = video.rateD;
    frame.picture_aspect_ratio = video.aspect;
    frame.frame_format_type = static_cast<NDIlib_frame_format_type_e>(video.format);
    frame.timecode = video.timecode;
    frame.timestamp = video.timestamp;
    frame.p_data = picture.planes[0].data;
    frame.line_stride_in_bytes = static_cast<int>(picture.planes[0].stride);
    frame.p_metadata = queued.slot->metadata();
    if (queued.part == QueuedFrame::Part::Field0)
        frame.frame_format_type = NDIlib_frame_format_type_field_0;
    if (queued.part == QueuedFrame::Part::Field1) {
        frame.frame_format_type = NDIlib_frame_format_type_field_1;
        frame.timecode = wrappingSum(video.timecode, halfFrameHns(video));
        frame.p_metadata = nullptr;
    }
    return frame;
}

} // namespace

NDIlib_video_frame_v2_t CapturedFrames::addVideo(const QueuedFrame &frame)
{
    const auto shape = *shapeOf(frame.video);
    const auto &target = deliveredLayout(m_colorFormat, *shape.layout);
    const bool isWoven = shape.isFieldPair && frame.part == QueuedFrame::Part::Whole;
    const bool isHalf = shape.isFieldPair && !isWoven;
    const int height = isHalf ? shape.height / 2 : shape.height;
    auto *data = frame.slot->data();
    if (frame.part == QueuedFrame::Part::Field1)
        data += shape.packedSize() / 2;
    Picture picture = packedPictureAt(*shape.layout, data, shape.width, height);
    Held held{frame.slot, {}, nullptr};
    if (isWoven) {
        held.buffer = takeBuffer(shape.layout->packedSize(shape.width, height));
        picture = packedPictureAt(*shape.layout, held.buffer.data()->bytes, shape.width, height);
        weave(shape, data, picture);
    }
    if (&target != shape.layout) {
        auto buffer = takeBuffer(target.packedSize(shape.width, height));
        const auto converted = packedPictureAt(target, buffer.data()->bytes, shape.width, height);
        convertPicture(picture, converted);
        picture = converted;
        std::swap(held.buffer, buffer);
        giveBack(std::move(buffer));
    }
    if (held.buffer.empty()) // else the application has a picture of its own
        frame.slot->lend();
    hold(picture.planes[0].data, std::move(held));
    return describe(frame, picture);
}

NDIlib_audio_frame_v2_t CapturedFrames::addAudio(QueuedFrame queued)
{
    const auto &audio = queued.audio;
    NDIlib_audio_frame_v2_t frame;
    frame.sample_rate = audio.sampleRate;
    frame.no_channels = audio.channels;
    frame.no_samples = audio.samples;
    frame.timecode = audio.timecode;
    frame.timestamp = audio.timestamp;
    frame.p_data = reinterpret_cast<float *>(queued.slot->data());
    frame.channel_stride_in_bytes = audio.samples * static_cast<int>(sizeof(float));
    frame.p_metadata = queued.slot->metadata();
    queued.slot->lend();
    hold(frame.p_data, {std::move(queued.slot), {}, nullptr});
    return frame;
}

NDIlib_metadata_frame_t CapturedFrames::addMetadata(QueuedFrame queued)
{
    auto text = std::make_unique<std::string>(std::move(queued.text));
    NDIlib_metadata_frame_t frame;
    frame.length = static_cast<int>(text->size() + 1);
    frame.timecode = queued.timecode;
    frame.p_data = text->data();
    hold(frame.p_data, {nullptr, {}, std::move(text)});
    return frame;
}

void CapturedFrames::free(const void *data)
{
    Held freed; // let go of outside the lock
    {
        const std::lock_guard lock(m_lock);
        const auto found = m_held.find(data);
        if (found == m_held.end())
            return;
        freed = std::move(found->second);
        m_held.erase(found);
    }
    giveBack(std::move(freed.buffer));
}

// A spare one of the size, else a new one.
CapturedFrames::Buffer CapturedFrames::takeBuffer(std::int64_t size)
{
    const auto blocks = (static_cast<std::size_t>(size) + sizeof(Block) - 1) / sizeof(Block);
    const std::lock_guard lock(m_lock);
    const auto found = std::find_if(m_spare.begin(), m_spare.end(),
                                    [blocks](const Buffer &buffer) { return buffer.size() == blocks; });
    if (found == m_spare.end())
        return Buffer(blocks);
    Buffer buffer = std::move(*found);
    m_spare.erase(found);
    return buffer;
}

void CapturedFrames::giveBack(Buffer buffer)
{
    if (buffer.empty())
        return;
    const std::lock_guard lock(m_lock);
    m_spare.insert(m_spare.begin(), std::move(buffer));
    if (m_spare.size() > maximumSpare)
        m_spare.pop_back(); // of a size that was not asked for lately
}

void CapturedFrames::hold(const void *data, Held held)
{
    const std::lock_guard lock(m_lock);
    m_held[data] = std::move(held);
}

} // namespace localndi
