#pragma once

// A sender of pictures and sound whose every byte follows from a frame number that the frame itself carries, so that a
// receiver can tell what each byte has to be.

#include "pattern/FrameRate.h"

#include <Processing.NDI.Interface.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

struct SenderFormat {
    int width = 320;
    int height = 180;
    int padding = 0; // bytes between two lines of the sender's picture
    NDIlib_FourCC_video_type_e fourCC = NDIlib_FourCC_video_type_UYVY;
    int rate = 50; // frames in so many seconds
    int seconds = 1;
    int channels = 2;
    int sampleRate = 48000;

    // Where a frame begins, in units of which a second has so many.
    long long frameStart(quint32 frame, long long unitsPerSecond) const
    {
        return pattern::FrameRate{rate, seconds}.frameStart(frame, unitsPerSecond);
    }
};

// A name that no other test, process or run uses at the same time.
QString uniqueName(const char *purpose);

// The bytes of that frame, lines packed; the first four hold the number.
QByteArray frameBytes(const SenderFormat &format, quint32 frame);
// The samples of that frame, interleaved; the first of channel 0 tells the number.
std::vector<float> frameSound(const SenderFormat &format, quint32 frame);
quint32 frameNumber(const QByteArray &bytes);
quint32 frameNumber(const std::vector<float> &sound);

// Publishes frames from a thread of its own, at their rate, from its making to its end.
class TestSender
{
public:
    TestSender(const QString &name, const SenderFormat &format);
    TestSender(const TestSender &) = delete;
    TestSender &operator=(const TestSender &) = delete;
    ~TestSender();

    // From the next frame on.
    void setFormat(const SenderFormat &format);
    void setFrameMetadata(const std::string &text);
    // To all who are connected.
    void sendMetadata(const std::string &text);
    int connections() const { return NDIlib_send_get_no_connections(m_sender, 0); }
    NDIlib_tally_t tally() const;
    // The number of the frame that is sent now.
    quint32 frame() const { return m_frame; }

private:
    struct State;
    void run();

    NDIlib_send_instance_t m_sender;
    std::unique_ptr<State> m_state;
    std::atomic<bool> m_ended{false};
    std::atomic<quint32> m_frame{0};
    std::thread m_thread;
};
