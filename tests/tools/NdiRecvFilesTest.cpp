// What ndi-recv keeps and writes, on frames that are made here.

#include "ndi/tools/ndi-recv/BackgroundRecording.h"
#include "ndi/tools/ndi-recv/Recordings.h"
#include "ndi/tools/ndi-recv/Summary.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryDir>

#include <gmock/gmock.h>

#include <future>
#include <numeric>
#include <string>
#include <vector>

using namespace ndirecv;

namespace
{

using Bytes = std::vector<std::uint8_t>;

NDIlib_video_frame_v2_t frameOf(Bytes &bytes, NDIlib_FourCC_video_type_e fourCC, int width, int height, int stride)
{
    NDIlib_video_frame_v2_t frame;
    frame.FourCC = fourCC;
    frame.xres = width;
    frame.yres = height;
    frame.p_data = bytes.data();
    frame.line_stride_in_bytes = stride;
    return frame;
}

Bytes countingBytes(std::size_t count, int first = 0)
{
    Bytes bytes(count);
    std::iota(bytes.begin(), bytes.end(), static_cast<std::uint8_t>(first));
    return bytes;
}

TEST(NdiRecvPictureStore, KeepsLinesWithoutTheirPadding)
{
    Bytes bytes = {1, 2, 3, 4, 0xEE, 0xEE, 5, 6, 7, 8, 0xEE, 0xEE};
    PictureStore store;
    const SharedPicture picture = store.add(frameOf(bytes, NDIlib_FourCC_video_type_UYVY, 2, 2, 6));
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->bytes, (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_FALSE(picture->isInterlaced);
}

TEST(NdiRecvPictureStore, KeepsEveryPlaneOfFormatsWithSeveral)
{
    Bytes alpha = countingBytes(2 * 2 * 3);
    Bytes deep = countingBytes(2 * 2 * 6);
    PictureStore store;
    EXPECT_EQ(store.add(frameOf(alpha, NDIlib_FourCC_video_type_UYVA, 2, 2, 4))->bytes, alpha);
    EXPECT_EQ(store.add(frameOf(deep, NDIlib_FourCC_video_type_PA16, 2, 2, 4))->bytes, deep);
}

TEST(NdiRecvPictureStore, WeavesTwoFieldsOfEveryPlane)
{
    // UYVA of two pixels: two lines of 4 bytes, then two of alpha of 2 bytes.
    Bytes upper = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    Bytes lower = {21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32};
    auto frame = frameOf(upper, NDIlib_FourCC_video_type_UYVA, 2, 2, 4);
    frame.frame_format_type = NDIlib_frame_format_type_field_0;
    PictureStore store;
    EXPECT_FALSE(store.add(frame));
    frame.frame_format_type = NDIlib_frame_format_type_field_1;
    frame.p_data = lower.data();
    const SharedPicture picture = store.add(frame);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->height, 4);
    EXPECT_TRUE(picture->isInterlaced);
    EXPECT_EQ(picture->bytes,
              (Bytes{1, 2, 3, 4, 21, 22, 23, 24, 5, 6, 7, 8, 25, 26, 27, 28, 9, 10, 29, 30, 11, 12, 31, 32}));
}

TEST(NdiRecvPictureStore, KeepsNoLowerFieldWithoutItsUpperOne)
{
    Bytes bytes = countingBytes(8);
    auto upper = frameOf(bytes, NDIlib_FourCC_video_type_UYVY, 2, 2, 4);
    upper.frame_format_type = NDIlib_frame_format_type_field_0;
    auto lower = upper;
    lower.frame_format_type = NDIlib_frame_format_type_field_1;
    PictureStore store;
    EXPECT_FALSE(store.add(lower));
    store.add(upper);
    store.forget();
    EXPECT_FALSE(store.add(lower));
    store.add(upper);
    EXPECT_TRUE(store.add(lower));
    EXPECT_FALSE(store.add(lower));
}

TEST(NdiRecvPictureStore, UsesMemoryAgainButNotThatOfAPictureInUse)
{
    Bytes first = countingBytes(8);
    Bytes second = countingBytes(8, 50);
    PictureStore store;
    const SharedPicture kept = store.add(frameOf(first, NDIlib_FourCC_video_type_UYVY, 2, 2, 4));
    const StoredPicture *dropped = store.add(frameOf(second, NDIlib_FourCC_video_type_UYVY, 2, 2, 4)).get();
    const SharedPicture again = store.add(frameOf(second, NDIlib_FourCC_video_type_UYVY, 2, 2, 4));
    EXPECT_EQ(again.get(), dropped);
    EXPECT_EQ(kept->bytes, first);
    EXPECT_EQ(again->bytes, second);
}

TEST(NdiRecvPictureStore, LetsAPictureOutliveIt)
{
    Bytes bytes = countingBytes(8);
    SharedPicture picture;
    {
        PictureStore store;
        picture = store.add(frameOf(bytes, NDIlib_FourCC_video_type_UYVY, 2, 2, 4));
    }
    EXPECT_EQ(picture->bytes, bytes);
}

// A disk that gets on when it is told to.
struct Disk {
    std::promise<void> start;
    std::shared_future<void> started = start.get_future().share();
    std::promise<void> firstWrite;
    std::vector<int> written;
};
Disk *g_disk = nullptr;

constexpr int LostInTheEnd = 1000;

class SlowWriter
{
public:
    explicit SlowWriter(const QString &) {}
    QString error() const { return m_error; }
    void write(int record)
    {
        if (g_disk->written.empty())
            g_disk->firstWrite.set_value();
        g_disk->started.wait();
        g_disk->written.push_back(record);
        if (record < 0)
            m_error = QStringLiteral("full");
    }
    void finish()
    {
        if (!g_disk->written.empty() && g_disk->written.back() == LostInTheEnd)
            m_error = QStringLiteral("lost");
    }

private:
    QString m_error;
};

class NdiRecvBackgroundRecording : public testing::Test
{
protected:
    NdiRecvBackgroundRecording() { g_disk = &m_disk; }

    Disk m_disk;
};

TEST_F(NdiRecvBackgroundRecording, TakesRecordsWhileTheDiskStandsStillAndLeavesOutWhatIsTooMuch)
{
    BackgroundRecording<SlowWriter, int> recording(QStringLiteral("x"), 30);
    EXPECT_TRUE(recording.write(1, 10));
    ASSERT_EQ(m_disk.firstWrite.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_TRUE(recording.write(2, 10));
    EXPECT_TRUE(recording.write(3, 10));
    EXPECT_FALSE(recording.write(4, 10));
    EXPECT_EQ(recording.leftOut(), 1);
    m_disk.start.set_value();
    recording.finish();
    EXPECT_EQ(m_disk.written, (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(recording.error(), QString());
}

TEST_F(NdiRecvBackgroundRecording, TakesARecordThatIsLargerThanTheLimitWhenNothingWaits)
{
    m_disk.start.set_value();
    BackgroundRecording<SlowWriter, int> recording(QStringLiteral("x"), 30);
    EXPECT_TRUE(recording.write(1, 100));
    recording.finish();
    EXPECT_EQ(m_disk.written, (std::vector<int>{1}));
}

TEST_F(NdiRecvBackgroundRecording, TellsTheWritersError)
{
    m_disk.start.set_value();
    BackgroundRecording<SlowWriter, int> recording(QStringLiteral("x"), 30);
    recording.write(-1, 1);
    recording.finish();
    EXPECT_EQ(recording.error(), QStringLiteral("full"));
}

TEST_F(NdiRecvBackgroundRecording, TellsWhatGoesWrongWhenTheFileIsClosed)
{
    m_disk.start.set_value();
    BackgroundRecording<SlowWriter, int> recording(QStringLiteral("x"), 30);
    recording.write(LostInTheEnd, 1);
    recording.finish();
    EXPECT_EQ(recording.error(), QStringLiteral("lost"));
}

// Less than what is gathered before it goes to the disk.
TEST(NdiRecvWriters, TellThatTheDiskWasFullInTheEnd)
{
    const QString full = QStringLiteral("/dev/full");
    if (!QFile::exists(full))
        GTEST_SKIP() << "there is no such device";
    SoundWriter sound(full);
    sound.write({48000, 1, std::vector<float>(10)});
    sound.finish();
    EXPECT_NE(sound.error(), QString());

    const auto picture = std::make_shared<StoredPicture>();
    picture->width = 2;
    picture->height = 2;
    picture->bytes.resize(8);
    RawWriter raw(full);
    raw.write(picture);
    raw.finish();
    EXPECT_NE(raw.error(), QString());
    VideoWriter video(full);
    video.write(picture);
    video.finish();
    EXPECT_NE(video.error(), QString());
}

class NdiRecvRecordings : public testing::Test
{
protected:
    QString path(const char *name) const { return m_folder.filePath(QLatin1String(name)); }
    QByteArray content(const char *name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private:
    const QTemporaryDir m_folder;
};

TEST_F(NdiRecvRecordings, RefuseRgbAsY4mOnceAndNameWhatTakesIt)
{
    Options options;
    options.videoFile = path("a.y4m");
    Recordings recordings(options);
    Bytes bytes = countingBytes(16);
    recordings.addVideo(frameOf(bytes, NDIlib_FourCC_video_type_BGRX, 2, 2, 8));
    recordings.addVideo(frameOf(bytes, NDIlib_FourCC_video_type_BGRX, 2, 2, 8));
    recordings.finish();
    const auto errors = recordings.takeErrors();
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_THAT(errors.front().toStdString(),
                testing::AllOf(testing::HasSubstr("--record-video: "), testing::HasSubstr("BGRX"),
                               testing::HasSubstr("--record-raw")));
    EXPECT_TRUE(recordings.takeErrors().empty());
}

TEST_F(NdiRecvRecordings, BeginAnotherRawFileWhenTheFormatChanges)
{
    Options options;
    options.rawFile = path("a.raw");
    Recordings recordings(options);
    Bytes bytes = countingBytes(32);
    for (int i = 0; i < 2; ++i)
        recordings.addVideo(frameOf(bytes, NDIlib_FourCC_video_type_UYVY, 2, 2, 4));
    recordings.addVideo(frameOf(bytes, NDIlib_FourCC_video_type_BGRA, 4, 2, 16));
    recordings.finish();
    const QByteArray counting(reinterpret_cast<const char *>(bytes.data()), 32);
    EXPECT_EQ(content("a.raw"), counting.left(8) + counting.left(8));
    EXPECT_EQ(content("a-2.raw"), counting);
}

TEST_F(NdiRecvRecordings, WriteEveryTextWithItsKindAndTimecode)
{
    Options options;
    options.metadataFile = path("a.txt");
    Recordings recordings(options);
    Bytes bytes = countingBytes(8);
    auto video = frameOf(bytes, NDIlib_FourCC_video_type_UYVY, 2, 2, 4);
    video.timecode = 16'998'877'665'544'333; // more than a double holds
    video.p_metadata = "<v a=\"1\"/>\n";
    recordings.addVideo(video);
    video.p_metadata = nullptr;
    recordings.addVideo(video);
    std::string text = "\xc3\xa4";
    NDIlib_metadata_frame_t metadata;
    metadata.p_data = text.data();
    metadata.timecode = 0;
    recordings.addMetadata(metadata);
    recordings.finish();
    EXPECT_EQ(content("a.txt").toStdString(),
              "{\"kind\":\"video\",\"text\":\"<v a=\\\"1\\\"/>\\n\",\"timecode\":\"16998877665544333\"}\n"
              "{\"kind\":\"metadata\",\"text\":\"\xc3\xa4\",\"timecode\":\"0\"}\n");
}

TEST_F(NdiRecvRecordings, SayThatThereIsNoPictureForTheSnapshot)
{
    Options options;
    options.snapshotFile = path("a.png");
    Recordings recordings(options);
    recordings.finish();
    const auto errors = recordings.takeErrors();
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_THAT(errors.front().toStdString(), testing::HasSubstr("--snapshot: "));
}

Summary everything()
{
    Summary summary;
    summary.name = QString::fromUtf8("HOST (B\xc3\xbchne)");
    summary.ended = QStringLiteral("limit");
    summary.video.frames = 598;
    summary.video.rate = 59.94;
    summary.video.format = VideoFormat{1920, 1080, NDIlib_FourCC_video_type_UYVY, 60000, 1001, Fields::Progressive};
    summary.video.formatChanges = 1;
    summary.video.firstFrame = 7;
    summary.video.lastFrame = 605;
    summary.video.latency.add(1.2);
    summary.audio.frames = 300;
    summary.audio.format = AudioFormat{48000, 2};
    summary.audio.formatChanges = 2;
    return summary;
}

TEST(NdiRecvSummary, IsALineOfText)
{
    Summary summary = everything();
    EXPECT_EQ(summary.toText(),
              "received 598 video frames (59.9 fps, 1920x1080 UYVY), 300 audio frames (48000 Hz, 2 ch), "
              "0 gaps, latency 1.2 ms median");
    summary.video.gaps = 1;
    summary.video.lost = 3;
    summary.avOffset = -20.04;
    EXPECT_THAT(summary.toText(),
                testing::EndsWith("1 gaps (3 frames lost), latency 1.2 ms median, picture -20.0 ms behind the sound"));
    EXPECT_EQ(Summary().toText(), "received 0 video frames, 0 audio frames, 0 gaps");
}

TEST(NdiRecvSummary, SaysEverythingInJson)
{
    Summary summary = everything();
    summary.errors = {QStringLiteral("broken")};
    const QJsonObject json = QJsonDocument::fromJson(summary.toJson()).object();
    EXPECT_EQ(json["name"].toString(), summary.name);
    EXPECT_EQ(json["videoFrames"].toInt(), 598);
    EXPECT_EQ(json["width"].toInt(), 1920);
    EXPECT_EQ(json["subtype"].toString(), "UYVY");
    EXPECT_EQ(json["fields"].toString(), "progressive");
    EXPECT_EQ(json["firstFrame"].toInt(), 7);
    EXPECT_EQ(json["lastFrame"].toInt(), 605);
    EXPECT_NEAR(json["latencyMs"]["median"].toDouble(), 1.2, 0.06);
    EXPECT_EQ(json["formatChanges"].toInt(), 3);
    EXPECT_EQ(json["sampleRate"].toInt(), 48000);
    EXPECT_TRUE(json["avOffsetMs"].isNull());
    EXPECT_EQ(json["errors"].toArray(), QJsonArray{"broken"});
}

TEST(NdiRecvSummary, HasAKeyForEverythingEvenWhenNothingCame)
{
    const QJsonObject json = QJsonDocument::fromJson(Summary().toJson()).object();
    for (const char *key : {"name", "videoFrames", "audioFrames", "audioSamples", "metadataFrames", "fps", "gaps",
                            "lostFrames", "repeatedFrames", "formatChanges", "reconnects", "ended"})
        EXPECT_FALSE(json[key].isNull() || json[key].isUndefined()) << key;
    for (const char *key :
         {"width", "height", "subtype", "sampleRate", "channels", "latencyMs", "avOffsetMs", "firstFrame", "lastFrame"})
        EXPECT_TRUE(json[key].isNull()) << key;
}

} // namespace
