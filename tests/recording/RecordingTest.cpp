#include "recording/WavWriter.h"
#include "recording/Y4mWriter.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <vector>

namespace
{

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

constexpr recording::Y4mFormat Format{30000, 1001, recording::Scan::Progressive};

class Recording : public testing::Test
{
protected:
    QString path(const char *name) const { return m_folder.filePath(QLatin1String(name)); }

private:
    QTemporaryDir m_folder;
};

TEST_F(Recording, Y4mHoldsUyvyAsPlanes)
{
    // Two lines of four pixels with four bytes of padding: U Y V Y.
    std::vector<std::uint8_t> pixels = {1, 10, 2, 11, 3, 12, 4, 13, 0xEE, 0xEE, 0xEE, 0xEE,
                                        5, 20, 6, 21, 7, 22, 8, 23, 0xEE, 0xEE, 0xEE, 0xEE};
    const pattern::ConstPicture picture{pixels.data(), 12, 4, 2, pattern::PixelLayout::UYVY};
    {
        recording::Y4mWriter writer(path("a.y4m"));
        writer.write(picture, Format);
        EXPECT_EQ(writer.error(), QString());
    }
    const QByteArray expected = QByteArray("YUV4MPEG2 W4 H2 F30000:1001 Ip A0:0 C422\nFRAME\n") +
                                QByteArray("\x0A\x0B\x0C\x0D\x14\x15\x16\x17", 8) + QByteArray("\x01\x03\x05\x07", 4) +
                                QByteArray("\x02\x04\x06\x08", 4);
    EXPECT_EQ(content(path("a.y4m")), expected);
}

TEST_F(Recording, Y4mHoldsYuy2OfOddWidth)
{
    // Y U Y V and half a group, of which only Y and U are in the line.
    std::vector<std::uint8_t> pixels = {10, 1, 11, 2, 12, 3};
    const pattern::ConstPicture picture{pixels.data(), 6, 3, 1, pattern::PixelLayout::YUY2};
    {
        recording::Y4mWriter writer(path("a.y4m"));
        writer.write(picture, Format);
    }
    EXPECT_TRUE(content(path("a.y4m")).endsWith(QByteArray("FRAME\n\x0A\x0B\x0C\x01\x03\x02\x02", 13)));
}

TEST_F(Recording, Y4mBeginsAnotherFileWhenTheFormatChanges)
{
    std::vector<std::uint8_t> pixels(16, 128);
    {
        recording::Y4mWriter writer(path("a.y4m"));
        writer.write({pixels.data(), 4, 2, 1, pattern::PixelLayout::UYVY}, Format);
        writer.write({pixels.data(), 8, 4, 2, pattern::PixelLayout::UYVY}, Format);
    }
    EXPECT_TRUE(content(path("a.y4m")).startsWith("YUV4MPEG2 W2 H1 "));
    EXPECT_TRUE(content(path("a-2.y4m")).startsWith("YUV4MPEG2 W4 H2 "));
}

TEST_F(Recording, Y4mBeginsAnotherFileWhenTheRateOrTheFieldsChange)
{
    std::vector<std::uint8_t> pixels(4, 128);
    const pattern::ConstPicture picture{pixels.data(), 4, 2, 1, pattern::PixelLayout::UYVY};
    {
        recording::Y4mWriter writer(path("a.y4m"));
        writer.write(picture, Format);
        writer.write(picture, {25, 1, recording::Scan::Progressive});
        writer.write(picture, {25, 1, recording::Scan::UpperFieldFirst});
    }
    EXPECT_TRUE(content(path("a-2.y4m")).startsWith("YUV4MPEG2 W2 H1 F25:1 Ip "));
    EXPECT_TRUE(content(path("a-3.y4m")).startsWith("YUV4MPEG2 W2 H1 F25:1 It "));
}

TEST_F(Recording, Y4mSaysThatItTakesNoRgb)
{
    std::vector<std::uint8_t> pixels(8, 128);
    recording::Y4mWriter writer(path("a.y4m"));
    writer.write({pixels.data(), 8, 2, 1, pattern::PixelLayout::BGRA}, Format);
    EXPECT_TRUE(writer.error().contains(QLatin1String("RGB")));
}

TEST_F(Recording, Y4mSaysThatItsFileCannotBeMade)
{
    std::vector<std::uint8_t> pixels(8, 128);
    recording::Y4mWriter writer(path("no/such/folder/a.y4m"));
    writer.write({pixels.data(), 4, 2, 1, pattern::PixelLayout::UYVY}, Format);
    EXPECT_NE(writer.error(), QString());
}

TEST_F(Recording, WavHoldsFloatsAndItsLengths)
{
    const std::vector<float> sound = {0.5F, -0.5F, 1.0F, -1.0F};
    {
        recording::WavWriter writer(path("a.wav"));
        writer.write(sound.data(), 2, 48000, 2);
    }
    const QByteArray expected =
        QByteArray("RIFF\x42\0\0\0WAVEfmt \x12\0\0\0\x03\0\x02\0\x80\xBB\0\0\0\xDC\x05\0\x08\0\x20\0\0\0"
                   "fact\x04\0\0\0\x02\0\0\0data\x10\0\0\0",
                   58) +
        QByteArray(reinterpret_cast<const char *>(sound.data()), 16);
    EXPECT_EQ(content(path("a.wav")).toHex(' '), expected.toHex(' '));
}

TEST_F(Recording, WavBeginsAnotherFileWhenTheFormatChanges)
{
    const std::vector<float> sound(8, 0.25F);
    {
        recording::WavWriter writer(path("a.wav"));
        writer.write(sound.data(), 4, 48000, 2);
        writer.write(sound.data(), 8, 44100, 1);
    }
    EXPECT_EQ(content(path("a.wav")).size(), 58 + 32);
    EXPECT_EQ(content(path("a-2.wav")).size(), 58 + 32);
    EXPECT_EQ(content(path("a-2.wav")).mid(22, 2), QByteArray("\x01\0", 2));
}

} // namespace
