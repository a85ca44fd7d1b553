#include "tests/ndi/RuntimeFixture.h"

using namespace ndi_test;

namespace
{

// Receivers that join one after the other, so that each captures and keeps frames of its own, and one that frees all.
class HeldSlots : public testing::Test
{
protected:
    static constexpr int hoarderCount = 4;

    void addHoarder()
    {
        m_hoarders.push_back(makeReceiver(m_pair.source));
        const int count = static_cast<int>(m_hoarders.size()) + 1;
        m_allConnected = waitUntil([&] { return NDIlib_send_get_no_connections(m_pair.sender.get(), 0) == count; });
    }

    bool videoPasses(std::int64_t timecode)
    {
        m_picture.frame.timecode = timecode;
        NDIlib_send_send_video_v2(m_pair.sender.get(), &m_picture.frame);
        const Video video(m_pair.receiver);
        return video && video->timecode == timecode;
    }

    bool audioPasses(std::int64_t timecode)
    {
        m_sound.frame.timecode = timecode;
        NDIlib_send_send_audio_v2(m_pair.sender.get(), &m_sound.frame);
        const Audio audio(m_pair.receiver);
        return audio && audio->timecode == timecode;
    }

    // Captured, and not given back before the receiver goes.
    bool keepsVideo()
    {
        NDIlib_video_frame_v2_t frame;
        return NDIlib_recv_capture_v2(m_hoarders.back().get(), &frame, nullptr, nullptr, patienceMs) ==
               NDIlib_frame_type_video;
    }

    bool keepsAudio()
    {
        NDIlib_audio_frame_v2_t frame;
        return NDIlib_recv_capture_v2(m_hoarders.back().get(), nullptr, &frame, nullptr, patienceMs) ==
               NDIlib_frame_type_audio;
    }

    const Pair m_pair;
    std::vector<Receiver> m_hoarders;
    bool m_allConnected = false;
    Picture m_picture = uyvyPicture();
    Sound m_sound{2, 160};
};

} // namespace

TEST_F(HeldSlots, OfVideoAreTakenBackWhenReceiversThatNeverFreeHoldThemAll)
{
    for (int hoarder = 0; hoarder < hoarderCount - 1; ++hoarder) {
        addHoarder();
        ASSERT_TRUE(m_allConnected);
        for (int i = 0; i < 17; ++i) {
            ASSERT_TRUE(videoPasses(i)) << hoarder << ", " << i;
            ASSERT_TRUE(keepsVideo());
        }
    }
    addHoarder(); // the slots end with this one's
    ASSERT_TRUE(m_allConnected);
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(videoPasses(i)) << i;
        ASSERT_TRUE(i >= 17 || keepsVideo()) << i;
    }
}

TEST_F(HeldSlots, OfAudioAreTakenBackWhenReceiversThatNeverFreeHoldThemAll)
{
    for (int hoarder = 0; hoarder < 4; ++hoarder) {
        addHoarder();
        ASSERT_TRUE(m_allConnected);
        for (int i = 0; i < 64; ++i) {
            ASSERT_TRUE(audioPasses(i)) << hoarder << ", " << i;
            ASSERT_TRUE(keepsAudio());
        }
    }
    for (int i = 0; i < 200; ++i)
        ASSERT_TRUE(audioPasses(i)) << i;
}
