// A named pipe that nobody reads stands in for a disk that does not get on: to open it for writing takes until somebody
// does.

#include "host/monitor/AudioConsumer.h"
#include "host/monitor/VideoConsumer.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <mfapi.h>

#include <gtest/gtest.h>

#ifdef Q_OS_UNIX

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <thread>

namespace
{

constexpr int Width = 4;
constexpr int Height = 2;
constexpr DWORD Bytes = Width * Height * 2;

CComPtr<IMFMediaType> videoType()
{
    CComPtr<IMFMediaType> type;
    MFCreateMediaType(&type);
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    type->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_UYVY);
    type->SetUINT64(MF_MT_FRAME_SIZE, static_cast<UINT64>(Width) << 32 | static_cast<UINT32>(Height));
    type->SetUINT64(MF_MT_FRAME_RATE, static_cast<UINT64>(25) << 32 | 1);
    return type;
}

CComPtr<IMFMediaType> audioType()
{
    CComPtr<IMFMediaType> type;
    MFCreateMediaType(&type);
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Audio);
    type->SetGUID(MF_MT_SUBTYPE, MFAudioFormat_Float);
    type->SetUINT32(MF_MT_AUDIO_NUM_CHANNELS, 2);
    type->SetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND, 48000);
    return type;
}

// Zeros: one picture, or two frames of sound.
CComPtr<IMFSample> emptySample()
{
    CComPtr<IMFSample> sample;
    CComPtr<IMFMediaBuffer> buffer;
    MFCreateSample(&sample);
    MFCreateMemoryBuffer(Bytes, &buffer);
    buffer->SetCurrentLength(Bytes);
    sample->AddBuffer(buffer);
    return sample;
}

class SlowDisk : public testing::Test
{
protected:
    SlowDisk() { mkfifo(QFile::encodeName(m_path).constData(), S_IRUSR | S_IWUSR); }

    // Has the consumer record to the pipe and take a sample; how many samples its figures show while it is stuck.
    template <typename Consumer>
    std::uint64_t samplesShownWhileStuck(Consumer &consumer)
    {
        consumer.record(m_path);
        std::thread writer([&] { consumer.sample(emptySample(), 0); });
        std::future<std::uint64_t> shown = std::async(std::launch::async, [&] {
            std::uint64_t samples = 0;
            while (!m_freed && samples == 0) {
                samples = consumer.figures().stream.samples;
                std::this_thread::yield();
            }
            return m_freed ? 0 : samples;
        });
        shown.wait_for(std::chrono::seconds(10));
        m_freed = true;
        const int reader = open(QFile::encodeName(m_path).constData(), O_RDONLY | O_NONBLOCK);
        writer.join();
        consumer.record(QString());
        m_start.resize(4);
        m_start.resize(static_cast<int>(std::max<ssize_t>(read(reader, m_start.data(), 4), 0)));
        close(reader);
        return shown.get();
    }
    // What reached the pipe after all.
    const QByteArray &start() const { return m_start; }

private:
    const QTemporaryDir m_folder;
    const QString m_path = m_folder.filePath("pipe");
    std::atomic<bool> m_freed{false};
    QByteArray m_start;
};

TEST_F(SlowDisk, KeepsNobodyFromTheFiguresOfVideo)
{
    host::VideoConsumer consumer;
    consumer.typeChanged(videoType());
    EXPECT_EQ(samplesShownWhileStuck(consumer), 1U);
    EXPECT_EQ(start(), "YUV4");
}

TEST_F(SlowDisk, KeepsNobodyFromTheFiguresOfSound)
{
    host::AudioConsumer consumer;
    consumer.typeChanged(audioType());
    EXPECT_EQ(samplesShownWhileStuck(consumer), 1U);
    EXPECT_EQ(start(), "RIFF");
}

} // namespace

#endif
