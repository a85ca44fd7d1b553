#include "tests/ndi/RuntimeFixture.h"

#include <cstdlib>
#include <cstring>
#include <ostream>

using namespace ndi_test;

namespace
{

struct Delivery {
    NDIlib_FourCC_video_type_e sent;
    NDIlib_recv_color_format_e asked;
    NDIlib_FourCC_video_type_e delivered;
};

std::string nameOf(NDIlib_FourCC_video_type_e fourCC)
{
    std::string name;
    for (int shift = 0; shift < 32; shift += 8)
        name += static_cast<char>(static_cast<unsigned>(fourCC) >> shift);
    return name;
}

void PrintTo(const Delivery &delivery, std::ostream *out)
{
    *out << nameOf(delivery.sent) << " to " << static_cast<int>(delivery.asked);
}

constexpr auto UYVY = NDIlib_FourCC_video_type_UYVY;
constexpr auto UYVA = NDIlib_FourCC_video_type_UYVA;
constexpr auto P216 = NDIlib_FourCC_video_type_P216;
constexpr auto PA16 = NDIlib_FourCC_video_type_PA16;
constexpr auto YV12 = NDIlib_FourCC_video_type_YV12;
constexpr auto I420 = NDIlib_FourCC_video_type_I420;
constexpr auto NV12 = NDIlib_FourCC_video_type_NV12;
constexpr auto BGRA = NDIlib_FourCC_video_type_BGRA;
constexpr auto BGRX = NDIlib_FourCC_video_type_BGRX;
constexpr auto RGBA = NDIlib_FourCC_video_type_RGBA;
constexpr auto RGBX = NDIlib_FourCC_video_type_RGBX;
constexpr auto fastest = NDIlib_recv_color_format_fastest;
constexpr auto best = NDIlib_recv_color_format_best;
constexpr auto UYVY_BGRA = NDIlib_recv_color_format_UYVY_BGRA;
constexpr auto UYVY_RGBA = NDIlib_recv_color_format_UYVY_RGBA;
constexpr auto BGRX_BGRA = NDIlib_recv_color_format_BGRX_BGRA;
constexpr auto RGBX_RGBA = NDIlib_recv_color_format_RGBX_RGBA;

constexpr int width = 64;
constexpr int height = 36;

constexpr std::uint8_t luma = 120;
constexpr std::uint8_t chromaU = 100;
constexpr std::uint8_t chromaV = 160;
constexpr std::uint8_t alpha = 77;
// The same colour by ITU-R BT.601, limited range.
constexpr std::uint8_t red = 172;
constexpr std::uint8_t green = 106;
constexpr std::uint8_t blue = 65;

void append(std::vector<std::uint8_t> &bytes, std::initializer_list<std::uint8_t> group, int times)
{
    for (int i = 0; i < times; ++i)
        bytes.insert(bytes.end(), group);
}

// One colour all over, in any layout.
std::vector<std::uint8_t> plainBytes(NDIlib_FourCC_video_type_e fourCC)
{
    constexpr int pixels = width * height;
    std::vector<std::uint8_t> bytes;
    switch (fourCC) {
    case UYVY:
    case UYVA:
        append(bytes, {chromaU, luma, chromaV, luma}, pixels / 2);
        if (fourCC == UYVA)
            append(bytes, {alpha}, pixels);
        break;
    case P216:
    case PA16:
        append(bytes, {0, luma}, pixels);
        append(bytes, {0, chromaU, 0, chromaV}, pixels / 2);
        if (fourCC == PA16)
            append(bytes, {0, alpha}, pixels);
        break;
    case NV12:
        append(bytes, {luma}, pixels);
        append(bytes, {chromaU, chromaV}, pixels / 4);
        break;
    case I420:
        append(bytes, {luma}, pixels);
        append(bytes, {chromaU}, pixels / 4);
        append(bytes, {chromaV}, pixels / 4);
        break;
    case YV12:
        append(bytes, {luma}, pixels);
        append(bytes, {chromaV}, pixels / 4);
        append(bytes, {chromaU}, pixels / 4);
        break;
    case BGRA:
    case BGRX:
        append(bytes, {blue, green, red, alpha}, pixels);
        break;
    default:
        append(bytes, {red, green, blue, alpha}, pixels);
        break;
    }
    return bytes;
}

int strideOf(NDIlib_FourCC_video_type_e fourCC)
{
    switch (fourCC) {
    case NV12:
    case I420:
    case YV12:
        return width;
    case UYVY:
    case UYVA:
    case P216:
    case PA16:
        return width * 2;
    default:
        return width * 4;
    }
}

Picture plainPicture(NDIlib_FourCC_video_type_e fourCC)
{
    auto bytes = plainBytes(fourCC);
    Picture picture(fourCC, width, height, strideOf(fourCC), bytes.size());
    picture.bytes = std::move(bytes);
    picture.frame.p_data = picture.bytes.data();
    return picture;
}

bool isNoAlphaByte(NDIlib_FourCC_video_type_e fourCC, std::size_t position)
{
    return (fourCC == BGRX || fourCC == RGBX) && position % 4 == 3;
}

class Deliveries : public testing::TestWithParam<Delivery>
{
};

class UnchangedDeliveries : public testing::TestWithParam<Delivery>
{
};

} // namespace

TEST_P(Deliveries, ArriveInTheLayoutAskedFor)
{
    const auto &delivery = GetParam();
    const Pair pair(delivery.asked);
    auto picture = plainPicture(delivery.sent);
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    const Video video(pair.receiver);
    ASSERT_TRUE(video);
    ASSERT_EQ(nameOf(video->FourCC), nameOf(delivery.delivered));
    ASSERT_EQ(video->line_stride_in_bytes, strideOf(delivery.delivered));
    const auto expected = plainBytes(delivery.delivered);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (!isNoAlphaByte(delivery.delivered, i)) {
            ASSERT_LE(std::abs(video->p_data[i] - expected[i]), 3) << "at byte " << i;
        }
    }
}

TEST_P(UnchangedDeliveries, ArriveByteForByte)
{
    const auto &delivery = GetParam();
    const Pair pair(delivery.asked);
    const auto size = plainBytes(delivery.sent).size();
    Picture picture(delivery.sent, width, height, strideOf(delivery.sent), size);
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    const Video video(pair.receiver);
    ASSERT_TRUE(video);
    EXPECT_EQ(std::memcmp(video->p_data, picture.bytes.data(), size), 0);
}

INSTANTIATE_TEST_SUITE_P(
    VideoFormats, Deliveries,
    testing::Values(Delivery{UYVY, fastest, UYVY}, Delivery{BGRX, fastest, UYVY}, Delivery{RGBX, fastest, UYVY},
                    Delivery{NV12, fastest, UYVY}, Delivery{I420, fastest, UYVY}, Delivery{YV12, fastest, UYVY},
                    Delivery{P216, fastest, UYVY}, Delivery{BGRA, fastest, UYVA}, Delivery{RGBA, fastest, UYVA},
                    Delivery{UYVA, fastest, UYVA}, Delivery{PA16, fastest, UYVA}, Delivery{UYVY, best, UYVY},
                    Delivery{BGRA, best, UYVA}, Delivery{UYVY, UYVY_BGRA, UYVY}, Delivery{BGRX, UYVY_BGRA, UYVY},
                    Delivery{BGRA, UYVY_BGRA, BGRA}, Delivery{RGBA, UYVY_BGRA, BGRA}, Delivery{UYVA, UYVY_BGRA, BGRA},
                    Delivery{PA16, UYVY_BGRA, BGRA}, Delivery{UYVY, BGRX_BGRA, BGRX}, Delivery{NV12, BGRX_BGRA, BGRX},
                    Delivery{RGBX, BGRX_BGRA, BGRX}, Delivery{BGRX, BGRX_BGRA, BGRX}, Delivery{BGRA, BGRX_BGRA, BGRA},
                    Delivery{UYVY, RGBX_RGBA, RGBX}, Delivery{I420, RGBX_RGBA, RGBX}, Delivery{BGRX, RGBX_RGBA, RGBX},
                    Delivery{UYVA, RGBX_RGBA, RGBA}, Delivery{BGRA, UYVY_RGBA, RGBA}, Delivery{RGBA, UYVY_RGBA, RGBA},
                    Delivery{UYVY, UYVY_RGBA, UYVY}));

INSTANTIATE_TEST_SUITE_P(VideoFormats, UnchangedDeliveries,
                         testing::Values(Delivery{UYVY, fastest, UYVY}, Delivery{UYVA, fastest, UYVA},
                                         Delivery{UYVY, best, UYVY}, Delivery{UYVY, UYVY_BGRA, UYVY},
                                         Delivery{BGRA, UYVY_BGRA, BGRA}, Delivery{BGRX, BGRX_BGRA, BGRX},
                                         Delivery{BGRA, BGRX_BGRA, BGRA}, Delivery{RGBA, UYVY_RGBA, RGBA},
                                         Delivery{UYVY, UYVY_RGBA, UYVY}));

namespace
{

Picture interlacedPicture()
{
    auto picture = uyvyPicture(width, height, 160);
    picture.frame.frame_format_type = NDIlib_frame_format_type_interleaved;
    picture.frame.frame_rate_N = 25;
    picture.frame.frame_rate_D = 1;
    picture.frame.timecode = 1000;
    picture.frame.p_metadata = "<first/>";
    return picture;
}

void expectField(const Video &video, const Picture &picture, int field)
{
    ASSERT_TRUE(video);
    EXPECT_EQ(video->yres, height / 2);
    ASSERT_EQ(video->line_stride_in_bytes, width * 2);
    EXPECT_FLOAT_EQ(video->picture_aspect_ratio, 64.0F / 36.0F);
    for (int line = 0; line < height / 2; ++line)
        EXPECT_EQ(
            std::memcmp(video->p_data + line * width * 2, picture.bytes.data() + (2 * line + field) * 160, width * 2),
            0)
            << line;
}

} // namespace

TEST(Fields, AnInterleavedFrameArrivesAsItsTwoFields)
{
    const Pair pair;
    auto picture = interlacedPicture();
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    const Video first(pair.receiver);
    expectField(first, picture, 0);
    EXPECT_EQ(first->frame_format_type, NDIlib_frame_format_type_field_0);
    EXPECT_EQ(first->timecode, 1000);
    EXPECT_STREQ(first->p_metadata, "<first/>");
    const Video second(pair.receiver);
    expectField(second, picture, 1);
    EXPECT_EQ(second->frame_format_type, NDIlib_frame_format_type_field_1);
    EXPECT_EQ(second->timecode, 1000 + 200000);
    EXPECT_EQ(second->p_metadata, nullptr);
}

TEST(Fields, AnInterleavedFrameArrivesWholeWhenFieldsAreNotAllowed)
{
    const Pair pair(fastest, false);
    auto picture = interlacedPicture();
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    const Video video(pair.receiver);
    ASSERT_TRUE(video);
    EXPECT_EQ(video->frame_format_type, NDIlib_frame_format_type_interleaved);
    ASSERT_EQ(video->yres, height);
    for (int line = 0; line < height; ++line)
        EXPECT_EQ(std::memcmp(video->p_data + line * width * 2, picture.bytes.data() + line * 160, width * 2), 0);
    EXPECT_FALSE(Video(pair.receiver, 0));
}

TEST(Fields, InterleavedFramesAreConvertedFieldByFieldAndWhole)
{
    auto picture = plainPicture(NV12);
    picture.frame.frame_format_type = NDIlib_frame_format_type_interleaved;
    for (const bool allowFields : {true, false}) {
        const Pair pair(fastest, allowFields);
        NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
        for (int i = 0; i < (allowFields ? 2 : 1); ++i) {
            const Video video(pair.receiver);
            ASSERT_TRUE(video);
            EXPECT_EQ(video->yres, allowFields ? height / 2 : height);
            const auto expected = plainBytes(UYVY);
            EXPECT_EQ(std::memcmp(video->p_data, expected.data(), static_cast<std::size_t>(video->yres) * width * 2),
                      0);
        }
    }
}

TEST(Fields, InterleavedFramesWithOddPlanesArrive)
{
    const Pair pair;
    for (const int lines : {2, 3, 5, 6, 7, 486}) {
        auto bytes = std::vector<std::uint8_t>(static_cast<std::size_t>(width * (lines + (lines + 1) / 2)), luma);
        NDIlib_video_frame_v2_t frame;
        frame.FourCC = NV12;
        frame.xres = width;
        frame.yres = lines;
        frame.line_stride_in_bytes = width;
        frame.frame_format_type = NDIlib_frame_format_type_interleaved;
        frame.p_data = bytes.data();
        NDIlib_send_send_video_v2(pair.sender.get(), &frame);
        for (int field = 0; field < 2; ++field) {
            const Video video(pair.receiver);
            ASSERT_TRUE(video) << lines;
            EXPECT_EQ(video->yres, lines / 2);
        }
    }
}

TEST(Fields, FieldsSentAsSuchArriveAsSuch)
{
    const Pair pair;
    for (const auto format : {NDIlib_frame_format_type_field_0, NDIlib_frame_format_type_field_1}) {
        auto picture = uyvyPicture(width, height / 2);
        picture.frame.frame_format_type = format;
        picture.frame.timecode = 5;
        NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
        const Video video(pair.receiver);
        ASSERT_TRUE(video);
        EXPECT_EQ(video->frame_format_type, format);
        EXPECT_EQ(video->yres, height / 2);
        EXPECT_EQ(video->timecode, 5);
        EXPECT_EQ(std::memcmp(video->p_data, picture.bytes.data(), picture.bytes.size()), 0);
    }
}
