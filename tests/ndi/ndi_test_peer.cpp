// The other process of a test: ndi_test_peer send|hoard|leave NAME [ADDRESS]. Runs until it is killed, or for a minute.

#include "ndi/include/Processing.NDI.Interface.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace
{

bool isTimeLeft()
{
    static const auto begin = std::chrono::steady_clock::now();
    return std::chrono::steady_clock::now() - begin < std::chrono::minutes(1);
}

int failed(const char *what)
{
    std::fprintf(stderr, "ndi_test_peer: %s\n", what);
    return 1;
}

NDIlib_send_instance_t makeSender(const char *name)
{
    NDIlib_send_create_t settings;
    settings.p_ndi_name = name;
    return NDIlib_send_create(&settings);
}

NDIlib_recv_instance_t makeReceiver(const char *name, const char *address)
{
    NDIlib_recv_create_t settings;
    settings.source_to_connect_to.p_ndi_name = name;
    settings.source_to_connect_to.p_url_address = address;
    settings.color_format = NDIlib_recv_color_format_fastest;
    return NDIlib_recv_create_v2(&settings);
}

// The n-th frame is filled with n and carries it as its timecode.
int sendForever(const char *name)
{
    const auto sender = makeSender(name);
    if (sender == nullptr)
        return failed("no sender");
    std::vector<std::uint8_t> pixels(320 * 180 * 2);
    NDIlib_video_frame_v2_t frame;
    frame.xres = 320;
    frame.yres = 180;
    frame.line_stride_in_bytes = 640;
    frame.frame_rate_N = 100;
    frame.frame_rate_D = 1;
    frame.p_data = pixels.data();
    for (int count = 0; isTimeLeft(); ++count) {
        std::memset(pixels.data(), count & 255, pixels.size());
        frame.timecode = count;
        NDIlib_send_send_video_v2(sender, &frame);
    }
    return 0;
}

int hoardForever(const char *name, const char *address)
{
    const auto receiver = makeReceiver(name, address);
    if (receiver == nullptr)
        return failed("no receiver");
    while (isTimeLeft()) {
        NDIlib_video_frame_v2_t frame;
        NDIlib_recv_capture_v2(receiver, &frame, nullptr, nullptr, 100);
    }
    return 0;
}

bool connectTo(NDIlib_find_instance_t finder, const std::string &ending)
{
    std::uint32_t count = 0;
    const auto *sources = NDIlib_find_get_current_sources(finder, &count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::string listed = sources[i].p_ndi_name;
        if (listed.size() > ending.size() && listed.substr(listed.size() - ending.size()) == ending)
            return makeReceiver(sources[i].p_ndi_name, sources[i].p_url_address) != nullptr;
    }
    return false;
}

int leave(const char *name)
{
    const NDIlib_find_create_t everything;
    const auto finder = NDIlib_find_create_v2(&everything);
    const auto sender = makeSender(name);
    while (!connectTo(finder, " (" + std::string(name) + ")") && isTimeLeft())
        NDIlib_find_wait_for_sources(finder, 1000);
    return NDIlib_send_get_no_connections(sender, 10000) == 1 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    const std::string role = argc > 2 ? argv[1] : "";
    if (role == "send")
        return sendForever(argv[2]);
    if (role == "hoard" && argc > 3)
        return hoardForever(argv[2], argv[3]);
    if (role == "leave")
        return leave(argv[2]);
    return 2;
}
