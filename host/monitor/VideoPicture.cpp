#include "host/monitor/VideoPicture.h"

#include "hostfw/VideoFormats.h"

#include <mfapi.h>

#include <algorithm>
#include <cstdlib>

namespace host
{

namespace
{

struct SubtypeRow {
    const GUID *subtype;
    const char *name;
    pattern::PixelLayout layout;
};

const SubtypeRow Subtypes[] = {
    {&MFVideoFormat_UYVY, "UYVY", pattern::PixelLayout::UYVY},
    {&MFVideoFormat_YUY2, "YUY2", pattern::PixelLayout::YUY2},
    {&MFVideoFormat_NV12, "NV12", pattern::PixelLayout::NV12},
    {&MFVideoFormat_RGB32, "RGB32", pattern::PixelLayout::BGRA},
    {&MFVideoFormat_ARGB32, "ARGB32", pattern::PixelLayout::BGRA},
};

const SubtypeRow *rowOf(const GUID &subtype)
{
    const auto *const row = std::find_if(std::begin(Subtypes), std::end(Subtypes), [&subtype](const SubtypeRow &known) {
        return IsEqualGUID(*known.subtype, subtype);
    });
    return row == std::end(Subtypes) ? nullptr : row;
}

int lineBytes(pattern::PixelLayout layout, int width)
{
    switch (layout) {
    case pattern::PixelLayout::UYVY:
    case pattern::PixelLayout::YUY2:
        return width * 2;
    case pattern::PixelLayout::BGRA:
        return width * 4;
    case pattern::PixelLayout::NV12:
        break;
    }
    return width;
}

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

std::optional<VideoFormat> videoFormat(IMFMediaType *type)
{
    VideoFormat format;
    UINT32 width = 0;
    UINT32 height = 0;
    if (!type || FAILED(type->GetGUID(MF_MT_SUBTYPE, &format.subtype)) ||
        FAILED(MFGetAttributeSize(type, MF_MT_FRAME_SIZE, &width, &height)) || width == 0 || height == 0)
        return std::nullopt;
    format.width = static_cast<int>(width);
    format.height = static_cast<int>(height);
    MFGetAttributeRatio(type, MF_MT_FRAME_RATE, &format.rateNumerator, &format.rateDenominator);
    format.interlaceMode = MFGetAttributeUINT32(type, MF_MT_INTERLACE_MODE, 0);
    return format;
}

QString subtypeName(const GUID &subtype)
{
    if (const SubtypeRow *const row = rowOf(subtype))
        return QLatin1String(row->name);
    if (IsEqualGUID(subtype, MFAudioFormat_Float))
        return QStringLiteral("Float");
    QString text;
    for (int shift = 0; shift < 32; shift += 8) {
        const char letter = static_cast<char>(subtype.Data1 >> shift & 0xFF);
        if (letter < 0x20 || letter > 0x7E)
            return QString::number(subtype.Data1);
        text += QLatin1Char(letter);
    }
    return text;
}

bool isReadable(const GUID &subtype)
{
    return rowOf(subtype) != nullptr;
}

SamplePicture::SamplePicture(IMFSample *sample, const VideoFormat &format)
{
    const SubtypeRow *const row = rowOf(format.subtype);
    CComPtr<IMFMediaBuffer> buffer;
    DWORD length = 0;
    if (!row || FAILED(sample->ConvertToContiguousBuffer(&buffer)) || FAILED(buffer->GetCurrentLength(&length)))
        return;
    const int packed = lineBytes(row->layout, format.width);
    const qint64 lines = row->layout == pattern::PixelLayout::NV12 ? format.height + format.height / 2 : format.height;
    if (length < packed * lines)
        return;
    m_mapping.emplace(buffer, MF2DBuffer_LockFlags_Read);
    const LONG pitch = m_mapping->pitch() ? m_mapping->pitch() : packed;
    if (!m_mapping->buffer() || std::abs(pitch) < packed)
        return;
    m_picture = {m_mapping->buffer(), pitch, format.width, format.height, row->layout};
}

QImage toImage(const pattern::ConstPicture &picture, const GUID &subtype)
{
    const bool alpha = IsEqualGUID(subtype, MFVideoFormat_ARGB32);
    QImage image(picture.width, picture.height, alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    if (image.isNull())
        return image;
    const Matrix &matrix = picture.height >= 720 ? Bt709 : Bt601;
    for (int y = 0; y < picture.height; ++y) {
        const std::uint8_t *const line = picture.line(y);
        auto *const out = reinterpret_cast<QRgb *>(image.scanLine(y));
        if (picture.layout == pattern::PixelLayout::BGRA) {
            for (int x = 0; x < picture.width; ++x) {
                const std::uint8_t *const pixel = line + static_cast<std::ptrdiff_t>(x) * 4;
                out[x] = qRgba(pixel[2], pixel[1], pixel[0], alpha ? pixel[3] : 255);
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

} // namespace host
