#include "ndi/tools/ndi-send/UyvyConverter.h"

#include <gtest/gtest.h>

#include <vector>

using namespace ndisend;

namespace
{

using Bytes = std::vector<std::uint8_t>;

Bytes convert(int width, int height, Chroma chroma, bool interlaced, const Bytes &planes)
{
    Y4mHeader header;
    header.width = width;
    header.height = height;
    header.chroma = chroma;
    header.interlaced = interlaced;
    EXPECT_EQ(planes.size(), header.frameBytes());
    UyvyConverter converter(header);
    Bytes out(static_cast<std::size_t>(converter.stride() * height) + 1, 77);
    converter.convert(planes, out.data());
    EXPECT_EQ(out.back(), 77) << "written past the end";
    out.pop_back();
    return out;
}

TEST(UyvyConverter, KeepsEverySampleOf422)
{
    EXPECT_EQ(convert(2, 2, Chroma::Yuv422, false, {1, 2, 3, 4, 50, 51, 60, 61}), (Bytes{50, 1, 60, 2, 51, 3, 61, 4}));
}

TEST(UyvyConverter, GivesBothLinesOfAPairTheChromaOf420)
{
    EXPECT_EQ(convert(2, 2, Chroma::Yuv420, false, {1, 2, 3, 4, 50, 60}), (Bytes{50, 1, 60, 2, 50, 3, 60, 4}));
}

TEST(UyvyConverter, GivesBothLinesOfAFieldsPairTheChromaOfInterlaced420)
{
    // The upper field has lines 0 and 2, the lower 1 and 3.
    EXPECT_EQ(convert(2, 4, Chroma::Yuv420, true, {1, 2, 3, 4, 5, 6, 7, 8, 50, 51, 60, 61}),
              (Bytes{50, 1, 60, 2, 51, 3, 61, 4, 50, 5, 60, 6, 51, 7, 61, 8}));
}

TEST(UyvyConverter, TakesTheMeanOfTwoChromaSamplesOf444)
{
    EXPECT_EQ(convert(2, 2, Chroma::Yuv444, false, {1, 2, 3, 4, 50, 52, 80, 84, 60, 62, 90, 94}),
              (Bytes{51, 1, 61, 2, 82, 3, 92, 4}));
}

TEST(UyvyConverter, LeavesOutTheLastColumnOfAnOddWidth)
{
    EXPECT_EQ(convert(3, 1, Chroma::Yuv422, false, {1, 2, 3, 50, 51, 60, 61}), (Bytes{50, 1, 60, 2}));
}

TEST(UyvyConverter, StaysInsideItsMemoryForSmallAndOddSizes)
{
    for (const Chroma chroma : {Chroma::Yuv420, Chroma::Yuv422, Chroma::Yuv444}) {
        for (int width = 2; width < 40; ++width) {
            for (int height = 1; height < 8; ++height) {
                Y4mHeader header;
                header.width = width;
                header.height = height;
                header.chroma = chroma;
                for (const bool interlaced : {false, true}) {
                    const Bytes out = convert(width, height, chroma, interlaced, Bytes(header.frameBytes(), 9));
                    EXPECT_TRUE(out == Bytes(out.size(), 9)) << width << 'x' << height;
                }
            }
        }
    }
}

} // namespace
