#pragma once

#include "ndi/include/Processing.NDI.Interface.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

// What the tests of the NDI runtime share: owners for its handles, and frames to send.

namespace ndi_test
{

constexpr std::chrono::seconds patience{30}; // for what is expected to happen
constexpr std::uint32_t patienceMs = 30000;
constexpr std::uint32_t moment = 150; // ms, to see that something does not happen

struct FinderDeleter {
    void operator()(NDIlib_find_instance_t finder) const { NDIlib_find_destroy(finder); }
};
struct SenderDeleter {
    void operator()(NDIlib_send_instance_t sender) const { NDIlib_send_destroy(sender); }
};
struct ReceiverDeleter {
    void operator()(NDIlib_recv_instance_t receiver) const { NDIlib_recv_destroy(receiver); }
};
using Finder = std::unique_ptr<std::remove_pointer_t<NDIlib_find_instance_t>, FinderDeleter>;
using Sender = std::unique_ptr<std::remove_pointer_t<NDIlib_send_instance_t>, SenderDeleter>;
using Receiver = std::unique_ptr<std::remove_pointer_t<NDIlib_recv_instance_t>, ReceiverDeleter>;

struct Source {
    std::string name;
    std::string address;
};

// A name that no other sender of this machine has.
std::string uniqueName(const std::string &stem = "Test");
// ` (name)` ends the listed name of a sender.
bool isListedAs(const Source &source, const std::string &name);

Finder makeFinder(const char *groups = nullptr);
Sender makeSender(const std::string &name, bool clockVideo = false, bool clockAudio = false,
                  const char *groups = nullptr);
Receiver makeReceiver(const Source &source, NDIlib_recv_color_format_e colorFormat = NDIlib_recv_color_format_fastest,
                      bool allowFields = true, NDIlib_recv_bandwidth_e bandwidth = NDIlib_recv_bandwidth_highest);

std::vector<Source> currentSources(const Finder &finder);
// Waits until the sender is listed; an empty source when it never is.
Source waitForSource(const Finder &finder, const std::string &name);
bool waitUntilGone(const Finder &finder, const std::string &name, std::chrono::milliseconds within);
Source findSource(const std::string &name);

template <typename Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds within = patience);

// A connected pair.
struct Pair {
    explicit Pair(NDIlib_recv_color_format_e colorFormat = NDIlib_recv_color_format_fastest, bool allowFields = true,
                  NDIlib_recv_bandwidth_e bandwidth = NDIlib_recv_bandwidth_highest);

    std::string name;
    Sender sender;
    Source source;
    Receiver receiver;
};

// Frames that give themselves back.
class Video
{
public:
    explicit Video(const Receiver &receiver, std::uint32_t timeout = patienceMs);
    ~Video();
    Video(const Video &) = delete;
    Video &operator=(const Video &) = delete;
    explicit operator bool() const { return m_arrived; }
    const NDIlib_video_frame_v2_t *operator->() const { return &m_frame; }

private:
    NDIlib_recv_instance_t m_receiver;
    NDIlib_video_frame_v2_t m_frame;
    bool m_arrived;
};

class Audio
{
public:
    explicit Audio(const Receiver &receiver, std::uint32_t timeout = patienceMs);
    ~Audio();
    Audio(const Audio &) = delete;
    Audio &operator=(const Audio &) = delete;
    explicit operator bool() const { return m_arrived; }
    const NDIlib_audio_frame_v2_t *operator->() const { return &m_frame; }

private:
    NDIlib_recv_instance_t m_receiver;
    NDIlib_audio_frame_v2_t m_frame;
    bool m_arrived;
};

struct Metadata {
    std::string text;
    int length = 0;
    std::int64_t timecode = 0;
};
std::optional<Metadata> captureMetadata(const Receiver &receiver, std::uint32_t timeout = patienceMs);

// A picture in memory of its own, of pseudo-random bytes.
struct Picture {
    Picture(NDIlib_FourCC_video_type_e fourCC, int width, int height, int stride, std::size_t bytes);

    std::vector<std::uint8_t> bytes;
    NDIlib_video_frame_v2_t frame;
};
Picture uyvyPicture(int width = 64, int height = 36, int stride = 0);

struct Sound {
    Sound(int channels, int samples, int strideSamples = 0);

    std::vector<float> values;
    NDIlib_audio_frame_v2_t frame;
};

void sendMetadata(const Sender &sender, const std::string &text);

template <typename Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds within)
{
    const auto deadline = std::chrono::steady_clock::now() + within;
    // The runtime offers no event for every condition; a finder's wait paces the look.
    const Finder pace = makeFinder("no such group");
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        NDIlib_find_wait_for_sources(pace.get(), 5);
    }
    return true;
}

} // namespace ndi_test
