#include "recording/PictureImage.h"

#include <algorithm>

namespace recording
{

namespace
{

// Coefficients of one standard in 1/65536.
struct Matrix {
    int redV;
    int greenU;
    int greenV;
    int blueU;
};
constexpr Matrix Bt601 = {104597, 25675, 53279, 132201};
constexpr Matrix Bt709 = {117489, 13975, 34925, 138438};
constexpr int LumaScale = 76309;

QRgb toRgb(const Matrix &matrix, int y, int u, int v)
{
    const int luma = (y - 16) * LumaScale + 32768;
    const int cb = u - 128;
    const int cr = v - 128;
    const auto clip = [](int value) { return std::clamp(value >> 16, 0, 255); };
    return qRgb(clip(luma + matrix.redV * cr), clip(luma - matrix.greenU * cb - matrix.greenV * cr),
                clip(luma + matrix.blueU * cb));
}

// Where luma and chroma of pixel x stand in a line; chroma in the line of its own plane for NV12.
struct Offsets {
    int luma;
    int u;
    int v;
};
Offsets offsetsOf(pattern::PixelLayout layout, int x)
{
    const int pair = x / 2 * 4;
    if (layout == pattern::PixelLayout::UYVY)
        return {x * 2 + 1, pair, pair + 2};
    if (layout == pattern::PixelLayout::YUY2)
        return {x * 2, pair + 1, pair + 3};
    return {x, x / 2 * 2, x / 2 * 2 + 1};
}

} // namespace

QImage toImage(const pattern::ConstPicture &picture, Alpha alpha)
{
    const bool keepsAlpha = picture.layout == pattern::PixelLayout::BGRA && alpha == Alpha::Kept;
    QImage image(picture.width, picture.height, keepsAlpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    if (image.isNull())
        return image;
    const Matrix &matrix = picture.height >= 720 ? Bt709 : Bt601;
    for (int y = 0; y < picture.height; ++y) {
        const std::uint8_t *const line = picture.line(y);
        auto *const out = reinterpret_cast<QRgb *>(image.scanLine(y));
        if (picture.layout == pattern::PixelLayout::BGRA) {
            for (int x = 0; x < picture.width; ++x) {
                const std::uint8_t *const pixel = line + static_cast<std::ptrdiff_t>(x) * 4;
                out[x] = qRgba(pixel[2], pixel[1], pixel[0], keepsAlpha ? pixel[3] : 255);
            }
            continue;
        }
        const bool planar = picture.layout == pattern::PixelLayout::NV12;
        const std::uint8_t *const chroma = planar ? picture.line(picture.height + y / 2) : line;
        for (int x = 0; x < picture.width; ++x) {
            const Offsets at = offsetsOf(picture.layout, x);
            // Half a group ends a line of odd width: it has U and V for one pixel all the same, if the buffer does.
            const int lastV = planar || at.v < picture.width * 2 ? at.v : at.v - 4;
            out[x] = toRgb(matrix, line[at.luma], chroma[at.u], chroma[std::max(lastV, 0)]);
        }
    }
    return image;
}

} // namespace recording
