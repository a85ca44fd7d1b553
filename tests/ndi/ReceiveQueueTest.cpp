#include "tests/ndi/RuntimeFixture.h"

#include <numeric>

using namespace ndi_test;

namespace
{

class ReceiveQueue : public testing::Test
{
protected:
    void sendVideo(std::int64_t first, std::int64_t last)
    {
        for (m_picture.frame.timecode = first; m_picture.frame.timecode <= last; ++m_picture.frame.timecode)
            NDIlib_send_send_video_v2(m_pair.sender.get(), &m_picture.frame);
        settle();
    }

    void sendAudio(std::int64_t first, std::int64_t last)
    {
        for (m_sound.frame.timecode = first; m_sound.frame.timecode <= last; ++m_sound.frame.timecode)
            NDIlib_send_send_audio_v2(m_pair.sender.get(), &m_sound.frame);
        settle();
    }

    // The timecodes of what is there at once.
    std::vector<std::int64_t> queuedVideo() const
    {
        std::vector<std::int64_t> timecodes;
        for (;;) {
            const Video video(m_pair.receiver, 0);
            if (!video)
                return timecodes;
            timecodes.push_back(video->timecode);
        }
    }

    std::vector<std::int64_t> queuedAudio() const
    {
        std::vector<std::int64_t> timecodes;
        for (;;) {
            const Audio audio(m_pair.receiver, 0);
            if (!audio)
                return timecodes;
            timecodes.push_back(audio->timecode);
        }
    }

    static std::vector<std::int64_t> from(std::int64_t first, std::size_t count)
    {
        std::vector<std::int64_t> numbers(count);
        std::iota(numbers.begin(), numbers.end(), first);
        return numbers;
    }

    const Pair m_pair;
    Picture m_picture = uyvyPicture(64, 36);
    Sound m_sound{2, 160};

private:
    // Nothing is on its way afterwards: what the receiver gives back goes before its tally, and the next frame that
    // waits for it at the sender before the echo. No more than nine wait.
    void settle()
    {
        sendMetadata(m_pair.sender, "<all sent/>");
        waitForText("<all sent/>");
        for (int i = 0; i < 10; ++i) {
            m_onProgram = !m_onProgram;
            const NDIlib_tally_t tally{m_onProgram, false};
            NDIlib_recv_set_tally(m_pair.receiver.get(), &tally);
            waitForText(m_onProgram ? "on_program=\"true\"" : "on_program=\"false\"");
        }
    }

    void waitForText(const std::string &part) const
    {
        std::optional<Metadata> metadata;
        do {
            metadata = captureMetadata(m_pair.receiver);
            ASSERT_TRUE(metadata) << part;
        } while (metadata->text.find(part) == std::string::npos);
    }

    bool m_onProgram = false;
};

} // namespace

TEST_F(ReceiveQueue, KeepsTheNewestNineVideoFramesForWhoDoesNotCapture)
{
    sendVideo(1, 200);
    EXPECT_EQ(from(192, 9), queuedVideo());
    sendVideo(201, 205);
    EXPECT_EQ(from(201, 5), queuedVideo());
}

TEST_F(ReceiveQueue, KeepsTheNewestNineAudioFramesForWhoDoesNotCapture)
{
    sendAudio(1, 200);
    EXPECT_EQ(from(192, 9), queuedAudio());
    sendAudio(201, 205);
    EXPECT_EQ(from(201, 5), queuedAudio());
}

TEST_F(ReceiveQueue, KeepsNineOfEachKind)
{
    sendAudio(1, 20);
    sendVideo(1, 20);
    EXPECT_EQ(from(12, 9), queuedAudio());
    EXPECT_EQ(from(12, 9), queuedVideo());
}

TEST_F(ReceiveQueue, CountsFieldsAndKeepsThemInPairs)
{
    m_picture.frame.frame_format_type = NDIlib_frame_format_type_interleaved;
    m_picture.frame.frame_rate_N = 5'000'000; // two ticks a frame, one a field
    m_picture.frame.frame_rate_D = 1;
    sendVideo(1, 20);
    EXPECT_EQ((std::vector<std::int64_t>{17, 18, 18, 19, 19, 20, 20, 21}), queuedVideo());
}

TEST_F(ReceiveQueue, HasNoMoreThanNineForWhoHeldManyFramesMeanwhile)
{
    std::vector<std::unique_ptr<Video>> held;
    for (const std::size_t count : {8U, 12U, 17U}) {
        while (held.size() < count) {
            sendVideo(0, 0);
            held.push_back(std::make_unique<Video>(m_pair.receiver));
            ASSERT_TRUE(*held.back()) << held.size();
        }
        sendVideo(1, 100);
        EXPECT_EQ(from(101 - static_cast<std::int64_t>(17 - count), 17 - count), queuedVideo()) << count;
    }
    held.clear();
    sendVideo(101, 103);
    EXPECT_EQ(from(101, 3), queuedVideo());
}
