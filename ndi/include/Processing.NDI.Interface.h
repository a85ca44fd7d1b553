#pragma once

// The C interface of the NDI runtime, as far as this project calls it.
//
// Layouts are those of the 64-bit runtime: natural alignment, field order is memory order, `bool` is one byte,
// enumerations are 32-bit signed. Strings are NUL-terminated UTF-8. All times are in 100 ns units.
// Ownership: a captured frame belongs to the receiver until it is given back with the matching
// NDIlib_recv_free_* call; a frame handed to a synchronous send belongs to the caller again when the call returns.
// Threads: every function may be called from any thread; one finder is used by one thread at a time.

#include <cstddef>
#include <cstdint>

extern "C" {

typedef struct NDIlib_find_instance_type *NDIlib_find_instance_t;
typedef struct NDIlib_recv_instance_type *NDIlib_recv_instance_t;
typedef struct NDIlib_send_instance_type *NDIlib_send_instance_t;

typedef enum NDIlib_frame_type_e : int32_t {
    NDIlib_frame_type_none = 0,
    NDIlib_frame_type_video = 1,
    NDIlib_frame_type_audio = 2,
    NDIlib_frame_type_metadata = 3,
    NDIlib_frame_type_error = 4,
    NDIlib_frame_type_status_change = 100
} NDIlib_frame_type_e;

typedef enum NDIlib_frame_format_type_e : int32_t {
    NDIlib_frame_format_type_interleaved = 0,
    NDIlib_frame_format_type_progressive = 1,
    NDIlib_frame_format_type_field_0 = 2,
    NDIlib_frame_format_type_field_1 = 3
} NDIlib_frame_format_type_e;

typedef enum NDIlib_recv_color_format_e : int32_t {
    NDIlib_recv_color_format_BGRX_BGRA = 0,
    NDIlib_recv_color_format_UYVY_BGRA = 1,
    NDIlib_recv_color_format_RGBX_RGBA = 2,
    NDIlib_recv_color_format_UYVY_RGBA = 3,
    NDIlib_recv_color_format_fastest = 100,
    NDIlib_recv_color_format_best = 101
} NDIlib_recv_color_format_e;

typedef enum NDIlib_recv_bandwidth_e : int32_t {
    NDIlib_recv_bandwidth_metadata_only = -10,
    NDIlib_recv_bandwidth_audio_only = 10,
    NDIlib_recv_bandwidth_lowest = 0,
    NDIlib_recv_bandwidth_highest = 100
} NDIlib_recv_bandwidth_e;

} // extern "C"

// The four characters of a pixel layout in memory order (little-endian).
constexpr int32_t NDIlib_fourCC(char c0, char c1, char c2, char c3)
{
    return static_cast<int32_t>(
        static_cast<uint32_t>(static_cast<uint8_t>(c0)) | static_cast<uint32_t>(static_cast<uint8_t>(c1)) << 8 |
        static_cast<uint32_t>(static_cast<uint8_t>(c2)) << 16 | static_cast<uint32_t>(static_cast<uint8_t>(c3)) << 24);
}

typedef enum NDIlib_FourCC_video_type_e : int32_t {
    NDIlib_FourCC_video_type_UYVY = NDIlib_fourCC('U', 'Y', 'V', 'Y'),
    NDIlib_FourCC_video_type_UYVA = NDIlib_fourCC('U', 'Y', 'V', 'A'),
    NDIlib_FourCC_video_type_P216 = NDIlib_fourCC('P', '2', '1', '6'),
    NDIlib_FourCC_video_type_PA16 = NDIlib_fourCC('P', 'A', '1', '6'),
    NDIlib_FourCC_video_type_YV12 = NDIlib_fourCC('Y', 'V', '1', '2'),
    NDIlib_FourCC_video_type_I420 = NDIlib_fourCC('I', '4', '2', '0'),
    NDIlib_FourCC_video_type_NV12 = NDIlib_fourCC('N', 'V', '1', '2'),
    NDIlib_FourCC_video_type_BGRA = NDIlib_fourCC('B', 'G', 'R', 'A'),
    NDIlib_FourCC_video_type_BGRX = NDIlib_fourCC('B', 'G', 'R', 'X'),
    NDIlib_FourCC_video_type_RGBA = NDIlib_fourCC('R', 'G', 'B', 'A'),
    NDIlib_FourCC_video_type_RGBX = NDIlib_fourCC('R', 'G', 'B', 'X')
} NDIlib_FourCC_video_type_e;

// A timecode that the sender is asked to make itself, and the value of a timestamp that is not known.
constexpr int64_t NDIlib_send_timecode_synthesize = INT64_MAX;
constexpr int64_t NDIlib_recv_timestamp_undefined = INT64_MAX;

// The constructors give every record the interface's default values; the records stay standard-layout.

struct NDIlib_source_t {
    const char *p_ndi_name = nullptr;
    const char *p_url_address = nullptr;
};

struct NDIlib_find_create_t {
    bool show_local_sources = true;
    const char *p_groups = nullptr;
    const char *p_extra_ips = nullptr;
};

struct NDIlib_recv_create_t {
    NDIlib_source_t source_to_connect_to;
    NDIlib_recv_color_format_e color_format = NDIlib_recv_color_format_UYVY_BGRA;
    NDIlib_recv_bandwidth_e bandwidth = NDIlib_recv_bandwidth_highest;
    bool allow_video_fields = true;
};

struct NDIlib_send_create_t {
    const char *p_ndi_name = nullptr;
    const char *p_groups = nullptr;
    bool clock_video = true;
    bool clock_audio = true;
};

struct NDIlib_video_frame_v2_t {
    int xres = 0; // pixels
    int yres = 0; // lines
    NDIlib_FourCC_video_type_e FourCC = NDIlib_FourCC_video_type_UYVY;
    int frame_rate_N = 30000;
    int frame_rate_D = 1001;
    float picture_aspect_ratio = 0.0F; // 0: xres / yres
    NDIlib_frame_format_type_e frame_format_type = NDIlib_frame_format_type_progressive;
    int64_t timecode = NDIlib_send_timecode_synthesize;
    uint8_t *p_data = nullptr;
    int line_stride_in_bytes = 0;
    const char *p_metadata = nullptr;
    int64_t timestamp = 0; // since 1970, set by the runtime
};

// Planar 32-bit float audio: channel c begins at p_data + c * channel_stride_in_bytes.
struct NDIlib_audio_frame_v2_t {
    int sample_rate = 48000; // Hz
    int no_channels = 2;
    int no_samples = 0; // per channel
    int64_t timecode = NDIlib_send_timecode_synthesize;
    float *p_data = nullptr;
    int channel_stride_in_bytes = 0;
    const char *p_metadata = nullptr;
    int64_t timestamp = 0;
};

struct NDIlib_audio_frame_interleaved_32f_t {
    int sample_rate = 48000;
    int no_channels = 2;
    int no_samples = 0;
    int64_t timecode = NDIlib_send_timecode_synthesize;
    float *p_data = nullptr;
};

struct NDIlib_metadata_frame_t {
    int length = 0; // bytes with the terminating zero; 0 at a sender: the string's own length
    int64_t timecode = NDIlib_send_timecode_synthesize;
    char *p_data = nullptr;
};

struct NDIlib_tally_t {
    bool on_program = false;
    bool on_preview = false;
};

#define NDI_INTERFACE_PIN(record, field, at) static_assert(offsetof(record, field) == (at), #record "." #field)

static_assert(sizeof(void *) != 8 || sizeof(NDIlib_source_t) == 16, "NDIlib_source_t");
static_assert(sizeof(NDIlib_find_create_t) == 24, "NDIlib_find_create_t");
static_assert(sizeof(NDIlib_recv_create_t) == 32, "NDIlib_recv_create_t");
static_assert(sizeof(NDIlib_send_create_t) == 24, "NDIlib_send_create_t");
static_assert(sizeof(NDIlib_video_frame_v2_t) == 72, "NDIlib_video_frame_v2_t");
static_assert(sizeof(NDIlib_audio_frame_v2_t) == 56, "NDIlib_audio_frame_v2_t");
static_assert(sizeof(NDIlib_audio_frame_interleaved_32f_t) == 32, "NDIlib_audio_frame_interleaved_32f_t");
static_assert(sizeof(NDIlib_metadata_frame_t) == 24, "NDIlib_metadata_frame_t");
static_assert(sizeof(NDIlib_tally_t) == 2, "NDIlib_tally_t");

NDI_INTERFACE_PIN(NDIlib_source_t, p_ndi_name, 0);
NDI_INTERFACE_PIN(NDIlib_source_t, p_url_address, 8);
NDI_INTERFACE_PIN(NDIlib_find_create_t, show_local_sources, 0);
NDI_INTERFACE_PIN(NDIlib_find_create_t, p_groups, 8);
NDI_INTERFACE_PIN(NDIlib_find_create_t, p_extra_ips, 16);
NDI_INTERFACE_PIN(NDIlib_recv_create_t, source_to_connect_to, 0);
NDI_INTERFACE_PIN(NDIlib_recv_create_t, color_format, 16);
NDI_INTERFACE_PIN(NDIlib_recv_create_t, bandwidth, 20);
NDI_INTERFACE_PIN(NDIlib_recv_create_t, allow_video_fields, 24);
NDI_INTERFACE_PIN(NDIlib_send_create_t, p_ndi_name, 0);
NDI_INTERFACE_PIN(NDIlib_send_create_t, p_groups, 8);
NDI_INTERFACE_PIN(NDIlib_send_create_t, clock_video, 16);
NDI_INTERFACE_PIN(NDIlib_send_create_t, clock_audio, 17);
NDI_INTERFACE_PIN(NDIlib_video_frame_v2_t, xres, 0);
NDI_INTERFACE_PIN(NDIlib_video_frame_v2_t, yres, 4);
NDI_INTERFACE_PIN(NDIlib_video_frame_v2_t, FourCC, 8);
NDI_INTERFACE_PIN(NDIlib_video_frame_v2_t, frame_rate_N, 12);
NDI_INTERFACE_PIN(NDIlib_video_frame_v2_t, frame_rate_D, 16);
NDI_INTERFACE_PIN(NDIlib_video_frame_v2_t, picture_aspect_ratio, 20);
NDI_INTERFACE_PIN(NDIlib_video_frame_v2_t, frame_format_type, 24);
NDI_INTERFACE_PIN(NDIlib_video_frame_v2_t, timecode, 32);
NDI_INTERFACE_PIN(NDIlib_video_frame_v2_t, p_data, 40);
NDI_INTERFACE_PIN(NDIlib_video_frame_v2_t, line_stride_in_bytes, 48);
NDI_INTERFACE_PIN(NDIlib_video_frame_v2_t, p_metadata, 56);
NDI_INTERFACE_PIN(NDIlib_video_frame_v2_t, timestamp, 64);
NDI_INTERFACE_PIN(NDIlib_audio_frame_v2_t, sample_rate, 0);
NDI_INTERFACE_PIN(NDIlib_audio_frame_v2_t, no_channels, 4);
NDI_INTERFACE_PIN(NDIlib_audio_frame_v2_t, no_samples, 8);
NDI_INTERFACE_PIN(NDIlib_audio_frame_v2_t, timecode, 16);
NDI_INTERFACE_PIN(NDIlib_audio_frame_v2_t, p_data, 24);
NDI_INTERFACE_PIN(NDIlib_audio_frame_v2_t, channel_stride_in_bytes, 32);
NDI_INTERFACE_PIN(NDIlib_audio_frame_v2_t, p_metadata, 40);
NDI_INTERFACE_PIN(NDIlib_audio_frame_v2_t, timestamp, 48);
NDI_INTERFACE_PIN(NDIlib_audio_frame_interleaved_32f_t, sample_rate, 0);
NDI_INTERFACE_PIN(NDIlib_audio_frame_interleaved_32f_t, no_channels, 4);
NDI_INTERFACE_PIN(NDIlib_audio_frame_interleaved_32f_t, no_samples, 8);
NDI_INTERFACE_PIN(NDIlib_audio_frame_interleaved_32f_t, timecode, 16);
NDI_INTERFACE_PIN(NDIlib_audio_frame_interleaved_32f_t, p_data, 24);
NDI_INTERFACE_PIN(NDIlib_metadata_frame_t, length, 0);
NDI_INTERFACE_PIN(NDIlib_metadata_frame_t, timecode, 8);
NDI_INTERFACE_PIN(NDIlib_metadata_frame_t, p_data, 16);
NDI_INTERFACE_PIN(NDIlib_tally_t, on_program, 0);
NDI_INTERFACE_PIN(NDIlib_tally_t, on_preview, 1);

#undef NDI_INTERFACE_PIN

// The runtime's own build defines NDI_RUNTIME_API to export these symbols.
#ifndef NDI_RUNTIME_API
#define NDI_RUNTIME_API
#endif

extern "C" {

NDI_RUNTIME_API bool NDIlib_initialize();
NDI_RUNTIME_API void NDIlib_destroy();
NDI_RUNTIME_API const char *NDIlib_version();

NDI_RUNTIME_API NDIlib_find_instance_t NDIlib_find_create_v2(const NDIlib_find_create_t *settings);
NDI_RUNTIME_API void NDIlib_find_destroy(NDIlib_find_instance_t finder);
// True when the list of senders changed since the last call; waits for that at most timeout_ms milliseconds.
NDI_RUNTIME_API bool NDIlib_find_wait_for_sources(NDIlib_find_instance_t finder, uint32_t timeout_ms);
// The array belongs to the finder and is valid until the next call on it; not null when *count is 0.
NDI_RUNTIME_API const NDIlib_source_t *NDIlib_find_get_current_sources(NDIlib_find_instance_t finder, uint32_t *count);

NDI_RUNTIME_API NDIlib_recv_instance_t NDIlib_recv_create_v2(const NDIlib_recv_create_t *settings);
NDI_RUNTIME_API void NDIlib_recv_destroy(NDIlib_recv_instance_t receiver);
// A null frame pointer means that this kind is not wanted.
NDI_RUNTIME_API NDIlib_frame_type_e NDIlib_recv_capture_v2(NDIlib_recv_instance_t receiver,
                                                           NDIlib_video_frame_v2_t *video,
                                                           NDIlib_audio_frame_v2_t *audio,
                                                           NDIlib_metadata_frame_t *metadata, uint32_t timeout_ms);
NDI_RUNTIME_API void NDIlib_recv_free_video_v2(NDIlib_recv_instance_t receiver, const NDIlib_video_frame_v2_t *frame);
NDI_RUNTIME_API void NDIlib_recv_free_audio_v2(NDIlib_recv_instance_t receiver, const NDIlib_audio_frame_v2_t *frame);
NDI_RUNTIME_API void NDIlib_recv_free_metadata(NDIlib_recv_instance_t receiver, const NDIlib_metadata_frame_t *frame);
NDI_RUNTIME_API bool NDIlib_recv_set_tally(NDIlib_recv_instance_t receiver, const NDIlib_tally_t *tally);
NDI_RUNTIME_API int NDIlib_recv_get_no_connections(NDIlib_recv_instance_t receiver);

NDI_RUNTIME_API NDIlib_send_instance_t NDIlib_send_create(const NDIlib_send_create_t *settings);
NDI_RUNTIME_API void NDIlib_send_destroy(NDIlib_send_instance_t sender);
NDI_RUNTIME_API void NDIlib_send_send_video_v2(NDIlib_send_instance_t sender, const NDIlib_video_frame_v2_t *frame);
// The frame's memory stays in use until the next video send; a null frame waits until none is held.
NDI_RUNTIME_API void NDIlib_send_send_video_async_v2(NDIlib_send_instance_t sender,
                                                     const NDIlib_video_frame_v2_t *frame);
NDI_RUNTIME_API void NDIlib_send_send_audio_v2(NDIlib_send_instance_t sender, const NDIlib_audio_frame_v2_t *frame);
NDI_RUNTIME_API void NDIlib_send_send_metadata(NDIlib_send_instance_t sender, const NDIlib_metadata_frame_t *frame);
// True when the tally changed; waits for that at most timeout_ms milliseconds.
NDI_RUNTIME_API bool NDIlib_send_get_tally(NDIlib_send_instance_t sender, NDIlib_tally_t *tally, uint32_t timeout_ms);
// The number of connected receivers; waits at most timeout_ms milliseconds for the first.
NDI_RUNTIME_API int NDIlib_send_get_no_connections(NDIlib_send_instance_t sender, uint32_t timeout_ms);

NDI_RUNTIME_API void NDIlib_util_audio_to_interleaved_32f_v2(const NDIlib_audio_frame_v2_t *source,
                                                             NDIlib_audio_frame_interleaved_32f_t *destination);
// Uses the destination's channel_stride_in_bytes as it finds it.
NDI_RUNTIME_API void NDIlib_util_audio_from_interleaved_32f_v2(const NDIlib_audio_frame_interleaved_32f_t *source,
                                                               NDIlib_audio_frame_v2_t *destination);

} // extern "C"
