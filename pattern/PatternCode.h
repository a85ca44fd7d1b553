#pragma once

// A number and a time written into the top lines of a picture, to be read back by a program at the far end: which frame
// arrived, and how long after it was sent.
//
// Layout. The code has 160 bits, most significant bit of each field first:
//   bits   0..63   frame number
//   bits  64..127  send time, 100 ns units of the machine's steady clock
//   bits 128..159  CRC-32 (IEEE 802.3, reflected) of the sixteen bytes before it
// Each bit is a block of 8 x 8 pixels, white for 1 and black for 0 (luma 235 and 16, or RGB 255 and 0). The blocks
// stand side by side from the top left corner, in one row when the picture is at least 1280 pixels wide, else in 2
// (from 640), 4 (from 320) or 8 rows (from 160); each row holds the same number of bits. Black and white are neutral,
// so chroma subsampling and colour conversion leave the code as it is; a block is as large as a transform block of the
// usual codecs. Of a field (every second line of a frame) the blocks are 8 x 4 pixels: the reader tries both.

#include "pattern/Picture.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <optional>

namespace pattern
{

struct PatternCode {
    std::uint64_t frame = 0;
    std::uint64_t sendTimeHns = 0; // see steadyNowHns()
};

constexpr int CodeBits = 160;
constexpr int CodeBlock = 8; // pixels and lines
constexpr int CodeMostRows = 8;

// A picture of this size or larger can carry the code.
constexpr int CodeMinWidth = CodeBits / CodeMostRows * CodeBlock;
constexpr int CodeMinHeight = CodeMostRows * CodeBlock;

// Rows of blocks in a picture of this width; 0 when it is too narrow.
constexpr int codeRows(int width)
{
    for (int rows = 1; rows <= CodeMostRows; rows *= 2) {
        if (CodeBits / rows * CodeBlock <= width)
            return rows;
    }
    return 0;
}

// Lines that the code occupies at the top of a frame of this width; 0 when it is too narrow.
constexpr int codeHeight(int width)
{
    return codeRows(width) * CodeBlock;
}

inline std::uint64_t steadyNowHns()
{
    using Hns = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<Hns>(now).count());
}

namespace detail
{

using CodeBytes = std::array<std::uint8_t, CodeBits / 8>;

inline std::uint32_t crc32(const std::uint8_t *bytes, std::size_t count)
{
    std::uint32_t crc = 0xffffffffU;
    for (std::size_t i = 0; i < count; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1U) != 0 ? 0xedb88320U : 0U);
    }
    return ~crc;
}

inline void putBigEndian(std::uint8_t *bytes, std::uint64_t value, int count)
{
    for (int i = 0; i < count; ++i)
        bytes[i] = static_cast<std::uint8_t>(value >> (8 * (count - 1 - i)));
}

inline std::uint64_t getBigEndian(const std::uint8_t *bytes, int count)
{
    std::uint64_t value = 0;
    for (int i = 0; i < count; ++i)
        value = value << 8 | bytes[i];
    return value;
}

// Where a pixel's grey value stands in its line.
inline std::ptrdiff_t greyOffset(PixelLayout layout, int x)
{
    switch (layout) {
    case PixelLayout::UYVY:
        return std::ptrdiff_t{x} * 2 + 1;
    case PixelLayout::YUY2:
        return std::ptrdiff_t{x} * 2;
    case PixelLayout::BGRA:
        return std::ptrdiff_t{x} * 4 + 1; // green
    case PixelLayout::NV12:
        break;
    }
    return x;
}

inline void fillBlockLine(std::uint8_t *line, PixelLayout layout, int x, bool white)
{
    const std::uint8_t luma = white ? 235 : 16;
    const std::uint8_t full = white ? 255 : 0;
    for (int i = x; i < x + CodeBlock; ++i) {
        std::uint8_t *grey = line + greyOffset(layout, i);
        switch (layout) {
        case PixelLayout::UYVY:
            grey[-1] = 128;
            grey[0] = luma;
            break;
        case PixelLayout::YUY2:
            grey[0] = luma;
            grey[1] = 128;
            break;
        case PixelLayout::BGRA:
            std::memset(grey - 1, full, 3);
            grey[2] = 255;
            break;
        case PixelLayout::NV12:
            grey[0] = luma;
            break;
        }
    }
}

// The mean of the middle of a block, so that a blurred edge does no harm.
inline bool isWhiteBlock(const ConstPicture &picture, int x, int y, int blockHeight)
{
    int sum = 0;
    int count = 0;
    for (int line = y + blockHeight / 4; line < y + blockHeight * 3 / 4; ++line) {
        for (int i = x + CodeBlock / 4; i < x + CodeBlock * 3 / 4; ++i, ++count)
            sum += picture.line(line)[greyOffset(picture.layout, i)];
    }
    return sum > count * 126;
}

inline std::optional<PatternCode> readBlocks(const ConstPicture &picture, int blockHeight)
{
    const int rows = codeRows(picture.width);
    if (rows == 0 || picture.height < rows * blockHeight)
        return std::nullopt;

    const int perRow = CodeBits / rows;
    CodeBytes bytes{};
    for (int bit = 0; bit < CodeBits; ++bit) {
        if (isWhiteBlock(picture, bit % perRow * CodeBlock, bit / perRow * blockHeight, blockHeight))
            bytes[static_cast<std::size_t>(bit / 8)] |= static_cast<std::uint8_t>(0x80 >> bit % 8);
    }
    if (getBigEndian(&bytes[16], 4) != crc32(bytes.data(), 16))
        return std::nullopt;
    return PatternCode{getBigEndian(bytes.data(), 8), getBigEndian(&bytes[8], 8)};
}

} // namespace detail

// False, and nothing written, when the picture is too small.
inline bool writeCode(const Picture &picture, const PatternCode &code)
{
    const int rows = codeRows(picture.width);
    if (rows == 0 || picture.height < rows * CodeBlock)
        return false;

    detail::CodeBytes bytes{};
    detail::putBigEndian(bytes.data(), code.frame, 8);
    detail::putBigEndian(&bytes[8], code.sendTimeHns, 8);
    detail::putBigEndian(&bytes[16], detail::crc32(bytes.data(), 16), 4);

    const int perRow = CodeBits / rows;
    for (int y = 0; y < rows * CodeBlock; ++y) {
        for (int i = 0; i < perRow; ++i) {
            const int bit = y / CodeBlock * perRow + i;
            const bool white = (bytes[static_cast<std::size_t>(bit / 8)] & 0x80 >> bit % 8) != 0;
            detail::fillBlockLine(picture.line(y), picture.layout, i * CodeBlock, white);
        }
    }
    return true;
}

// Nothing when the picture carries no code or a damaged one.
inline std::optional<PatternCode> readCode(const ConstPicture &picture)
{
    const auto frame = detail::readBlocks(picture, CodeBlock);
    return frame ? frame : detail::readBlocks(picture, CodeBlock / 2);
}

inline std::optional<PatternCode> readCode(const Picture &picture)
{
    return readCode(readOnly(picture));
}

} // namespace pattern
