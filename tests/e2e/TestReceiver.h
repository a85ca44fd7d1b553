#pragma once

// A receiver of one sender, straight over the runtime's interface, which keeps what came last as it came.

#include <Processing.NDI.Interface.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct ReceivedPicture {
    NDIlib_video_frame_v2_t header; // its pointers are no longer valid
    QByteArray bytes;               // lines packed
    QByteArray metadata;
    std::int64_t arrival = 0; // see pattern::steadyNowHns()
};

struct ReceivedSound {
    NDIlib_audio_frame_v2_t header; // its pointers are no longer valid
    std::vector<float> samples;     // interleaved
    QByteArray metadata;
    std::int64_t arrival = 0; // see pattern::steadyNowHns()
};

// Finds its sender, connects once and receives on a thread of its own, from its making to its end. Thread-safe.
class TestReceiver
{
public:
    // `sender`: the whole name in the brackets. Keeps that many pictures and pieces of sound.
    explicit TestReceiver(const QString &sender, std::size_t kept = 20,
                          NDIlib_recv_color_format_e colors = NDIlib_recv_color_format_UYVY_BGRA);
    TestReceiver(const TestReceiver &) = delete;
    TestReceiver &operator=(const TestReceiver &) = delete;
    ~TestReceiver();

    // All that came, those included that are no longer kept.
    std::size_t pictureCount() const;
    std::size_t soundCount() const;
    // What is kept, oldest first.
    std::deque<ReceivedPicture> pictures() const;
    std::deque<ReceivedSound> sound() const;
    // The same, and keeps none of them.
    std::deque<ReceivedPicture> takePictures();
    std::deque<ReceivedSound> takeSound();
    // What came last, if it is kept.
    ReceivedPicture newestPicture() const;
    ReceivedSound newestSound() const;
    // Texts beside the frames, without those of the runtime itself, oldest first.
    std::vector<QByteArray> metadata() const;
    // Times that the sender was not there any more.
    int losses() const { return m_losses; }

private:
    void run(const std::string &listedName, NDIlib_recv_color_format_e colors);
    NDIlib_recv_instance_t connect(const std::string &listedName, NDIlib_recv_color_format_e colors) const;
    void keep(const NDIlib_video_frame_v2_t &frame);
    void keep(const NDIlib_audio_frame_v2_t &frame);
    void keep(const NDIlib_metadata_frame_t &frame);

    const std::size_t m_kept;
    std::atomic<bool> m_ended{false};
    std::atomic<int> m_losses{0};
    mutable std::mutex m_lock; // guards what follows
    std::deque<ReceivedPicture> m_pictures;
    std::deque<ReceivedSound> m_sound;
    std::vector<QByteArray> m_metadata;
    std::size_t m_pictureCount = 0;
    std::size_t m_soundCount = 0;
    std::thread m_thread;
};
