#include "bench/EndlessRuntime.h"

#include "bench/PictureSizes.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::int64_t FrameDuration = 166667; // 100 ns units

struct Endless {
    std::array<std::vector<std::uint8_t>, bench::EndlessPictures> pictures;
    NDIlib_video_frame_v2_t frame;
    std::int64_t count = 0;
    Clock::duration period{0};
    Clock::time_point due;
    Clock::time_point captured;
};

Endless g_endless;
NDIlib_source_t g_source{bench::EndlessName, bench::EndlessAddress};

struct Sent {
    std::mutex mutex;
    std::condition_variable grown;
    // Guarded by the mutex.
    std::uint64_t frames = 0;
    Clock::time_point last;
};

Sent g_sent;

void countSentFrame()
{
    const Clock::time_point now = Clock::now();
    {
        const std::lock_guard<std::mutex> guard(g_sent.mutex);
        ++g_sent.frames;
        g_sent.last = now;
    }
    g_sent.grown.notify_one();
}

template <class Handle>
Handle handle()
{
    return reinterpret_cast<Handle>(&g_endless);
}

} // namespace

namespace bench
{

void setEndlessVideo(NDIlib_FourCC_video_type_e fourCC, int width, int height, std::int64_t pace)
{
    const bool alpha = fourCC == NDIlib_FourCC_video_type_BGRA;
    const int stride = width * (alpha ? 4 : 2);
    for (auto &picture : g_endless.pictures)
        picture = noise(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height));
    g_endless.frame.FourCC = fourCC;
    g_endless.frame.xres = width;
    g_endless.frame.yres = height;
    g_endless.frame.frame_rate_N = 60;
    g_endless.frame.frame_rate_D = 1;
    g_endless.frame.line_stride_in_bytes = stride;
    g_endless.period = pace == 0 ? Clock::duration(0) : Clock::duration(std::chrono::seconds(1)) / pace;
    g_endless.due = Clock::now();
}

const std::uint8_t *endlessPicture(std::int64_t index)
{
    return g_endless.pictures[static_cast<std::size_t>(index % EndlessPictures)].data();
}

Clock::time_point lastCapture()
{
    return g_endless.captured;
}

Clock::time_point waitForSentFrames(std::uint64_t count)
{
    std::unique_lock<std::mutex> lock(g_sent.mutex);
    g_sent.grown.wait(lock, [count] { return g_sent.frames >= count; });
    return g_sent.last;
}

std::uint64_t sentFrames()
{
    const std::lock_guard<std::mutex> guard(g_sent.mutex);
    return g_sent.frames;
}

} // namespace bench

extern "C" {

bool NDIlib_initialize()
{
    return true;
}

void NDIlib_destroy() {}

const char *NDIlib_version()
{
    return "endless";
}

NDIlib_find_instance_t NDIlib_find_create_v2(const NDIlib_find_create_t *)
{
    return handle<NDIlib_find_instance_t>();
}

void NDIlib_find_destroy(NDIlib_find_instance_t) {}

bool NDIlib_find_wait_for_sources(NDIlib_find_instance_t, uint32_t timeout)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(timeout));
    return false;
}

const NDIlib_source_t *NDIlib_find_get_current_sources(NDIlib_find_instance_t, uint32_t *count)
{
    *count = 1;
    return &g_source;
}

NDIlib_recv_instance_t NDIlib_recv_create_v2(const NDIlib_recv_create_t *)
{
    return handle<NDIlib_recv_instance_t>();
}

void NDIlib_recv_destroy(NDIlib_recv_instance_t) {}

NDIlib_frame_type_e NDIlib_recv_capture_v2(NDIlib_recv_instance_t, NDIlib_video_frame_v2_t *video,
                                           NDIlib_audio_frame_v2_t *, NDIlib_metadata_frame_t *, uint32_t)
{
    const std::int64_t index = g_endless.count++;
    *video = g_endless.frame;
    video->p_data = g_endless.pictures[static_cast<std::size_t>(index % bench::EndlessPictures)].data();
    video->timecode = index * FrameDuration;
    g_endless.due += g_endless.period;
    if (g_endless.period.count() != 0)
        std::this_thread::sleep_until(g_endless.due);
    g_endless.captured = Clock::now();
    return NDIlib_frame_type_video;
}

void NDIlib_recv_free_video_v2(NDIlib_recv_instance_t, const NDIlib_video_frame_v2_t *) {}
void NDIlib_recv_free_audio_v2(NDIlib_recv_instance_t, const NDIlib_audio_frame_v2_t *) {}
void NDIlib_recv_free_metadata(NDIlib_recv_instance_t, const NDIlib_metadata_frame_t *) {}

bool NDIlib_recv_set_tally(NDIlib_recv_instance_t, const NDIlib_tally_t *)
{
    return true;
}

int NDIlib_recv_get_no_connections(NDIlib_recv_instance_t)
{
    return 1;
}

NDIlib_send_instance_t NDIlib_send_create(const NDIlib_send_create_t *)
{
    return handle<NDIlib_send_instance_t>();
}

void NDIlib_send_destroy(NDIlib_send_instance_t) {}

void NDIlib_send_send_video_v2(NDIlib_send_instance_t, const NDIlib_video_frame_v2_t *)
{
    countSentFrame();
}

void NDIlib_send_send_video_async_v2(NDIlib_send_instance_t, const NDIlib_video_frame_v2_t *) {}

void NDIlib_send_send_audio_v2(NDIlib_send_instance_t, const NDIlib_audio_frame_v2_t *)
{
    countSentFrame();
}

void NDIlib_send_send_metadata(NDIlib_send_instance_t, const NDIlib_metadata_frame_t *) {}

bool NDIlib_send_get_tally(NDIlib_send_instance_t, NDIlib_tally_t *, uint32_t)
{
    return false;
}

int NDIlib_send_get_no_connections(NDIlib_send_instance_t, uint32_t)
{
    return 0;
}

void NDIlib_util_audio_to_interleaved_32f_v2(const NDIlib_audio_frame_v2_t *, NDIlib_audio_frame_interleaved_32f_t *) {}
void NDIlib_util_audio_from_interleaved_32f_v2(const NDIlib_audio_frame_interleaved_32f_t *, NDIlib_audio_frame_v2_t *)
{
}

} // extern "C"
