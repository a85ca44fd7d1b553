#include "host/monitor/VideoPicture.h"

#include "hostfw/VideoFormats.h"
#include "recording/PictureImage.h"

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

recording::Y4mFormat recordingFormat(const VideoFormat &format)
{
    recording::Scan scan = recording::Scan::Unknown;
    if (format.interlaceMode == MFVideoInterlace_Progressive)
        scan = recording::Scan::Progressive;
    else if (format.interlaceMode == MFVideoInterlace_FieldInterleavedUpperFirst)
        scan = recording::Scan::UpperFieldFirst;
    else if (format.interlaceMode == MFVideoInterlace_FieldInterleavedLowerFirst)
        scan = recording::Scan::LowerFieldFirst;
    return {format.rateNumerator, format.rateDenominator, scan};
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
    return recording::toImage(picture, alpha ? recording::Alpha::Kept : recording::Alpha::Ignored);
}

} // namespace host
