#include "hostfw/MediaTypeText.h"

#include <QtCore/QStringList>

#include <mfapi.h>
#include <mfidl.h>
#include <objbase.h>

namespace
{

struct Name {
    const GUID &guid;
    const char *text;
};

const Name keyNames[] = {
    {MF_MT_MAJOR_TYPE, "MF_MT_MAJOR_TYPE"},
    {MF_MT_SUBTYPE, "MF_MT_SUBTYPE"},
    {MF_MT_COMPRESSED, "MF_MT_COMPRESSED"},
    {MF_MT_ALL_SAMPLES_INDEPENDENT, "MF_MT_ALL_SAMPLES_INDEPENDENT"},
    {MF_MT_FIXED_SIZE_SAMPLES, "MF_MT_FIXED_SIZE_SAMPLES"},
    {MF_MT_SAMPLE_SIZE, "MF_MT_SAMPLE_SIZE"},
    {MF_MT_FRAME_SIZE, "MF_MT_FRAME_SIZE"},
    {MF_MT_FRAME_RATE, "MF_MT_FRAME_RATE"},
    {MF_MT_PIXEL_ASPECT_RATIO, "MF_MT_PIXEL_ASPECT_RATIO"},
    {MF_MT_INTERLACE_MODE, "MF_MT_INTERLACE_MODE"},
    {MF_MT_DEFAULT_STRIDE, "MF_MT_DEFAULT_STRIDE"},
    {MF_MT_AVG_BITRATE, "MF_MT_AVG_BITRATE"},
    {MF_MT_AUDIO_SAMPLES_PER_SECOND, "MF_MT_AUDIO_SAMPLES_PER_SECOND"},
    {MF_MT_AUDIO_NUM_CHANNELS, "MF_MT_AUDIO_NUM_CHANNELS"},
    {MF_MT_AUDIO_BITS_PER_SAMPLE, "MF_MT_AUDIO_BITS_PER_SAMPLE"},
    {MF_MT_AUDIO_AVG_BYTES_PER_SECOND, "MF_MT_AUDIO_AVG_BYTES_PER_SECOND"},
    {MF_MT_AUDIO_BLOCK_ALIGNMENT, "MF_MT_AUDIO_BLOCK_ALIGNMENT"},
    {MF_MT_AUDIO_CHANNEL_MASK, "MF_MT_AUDIO_CHANNEL_MASK"},
};

const Name valueNames[] = {
    {MFMediaType_Video, "Video"},   {MFMediaType_Audio, "Audio"},   {MFVideoFormat_UYVY, "UYVY"},
    {MFVideoFormat_YUY2, "YUY2"},   {MFVideoFormat_NV12, "NV12"},   {MFVideoFormat_ARGB32, "ARGB32"},
    {MFVideoFormat_RGB32, "RGB32"}, {MFVideoFormat_RGB24, "RGB24"}, {MFVideoFormat_I420, "I420"},
    {MFVideoFormat_YV12, "YV12"},   {MFAudioFormat_Float, "Float"}, {MFAudioFormat_PCM, "PCM"},
};

template <size_t count>
QString nameOf(const GUID &guid, const Name (&names)[count])
{
    for (const Name &name : names)
        if (IsEqualGUID(name.guid, guid))
            return QLatin1String(name.text);
    return QStringLiteral("{%1-%2-%3-%4%5-%6%7%8%9%10%11}")
        .arg(guid.Data1, 8, 16, QLatin1Char('0'))
        .arg(guid.Data2, 4, 16, QLatin1Char('0'))
        .arg(guid.Data3, 4, 16, QLatin1Char('0'))
        .arg(guid.Data4[0], 2, 16, QLatin1Char('0'))
        .arg(guid.Data4[1], 2, 16, QLatin1Char('0'))
        .arg(guid.Data4[2], 2, 16, QLatin1Char('0'))
        .arg(guid.Data4[3], 2, 16, QLatin1Char('0'))
        .arg(guid.Data4[4], 2, 16, QLatin1Char('0'))
        .arg(guid.Data4[5], 2, 16, QLatin1Char('0'))
        .arg(guid.Data4[6], 2, 16, QLatin1Char('0'))
        .arg(guid.Data4[7], 2, 16, QLatin1Char('0'));
}

QString interlaceModeText(UINT32 mode)
{
    switch (mode) {
    case MFVideoInterlace_Progressive:
        return QStringLiteral("Progressive");
    case MFVideoInterlace_FieldInterleavedUpperFirst:
        return QStringLiteral("FieldInterleavedUpperFirst");
    case MFVideoInterlace_FieldInterleavedLowerFirst:
        return QStringLiteral("FieldInterleavedLowerFirst");
    case MFVideoInterlace_FieldSingleUpper:
        return QStringLiteral("FieldSingleUpper");
    case MFVideoInterlace_FieldSingleLower:
        return QStringLiteral("FieldSingleLower");
    case MFVideoInterlace_MixedInterlaceOrProgressive:
        return QStringLiteral("MixedInterlaceOrProgressive");
    default:
        return QString::number(mode);
    }
}

QString pairText(const GUID &key, UINT64 packed)
{
    const quint32 high = static_cast<quint32>(packed >> 32);
    const quint32 low = static_cast<quint32>(packed);
    if (IsEqualGUID(key, MF_MT_FRAME_SIZE))
        return QStringLiteral("%1x%2").arg(high).arg(low);
    if (IsEqualGUID(key, MF_MT_FRAME_RATE))
        return QStringLiteral("%1/%2").arg(high).arg(low);
    if (IsEqualGUID(key, MF_MT_PIXEL_ASPECT_RATIO))
        return QStringLiteral("%1:%2").arg(high).arg(low);
    return QString::number(packed);
}

QString valueText(const GUID &key, const PROPVARIANT &value)
{
    switch (value.vt) {
    case VT_UI4:
        return IsEqualGUID(key, MF_MT_INTERLACE_MODE) ? interlaceModeText(value.ulVal) : QString::number(value.ulVal);
    case VT_UI8:
        return pairText(key, value.uhVal.QuadPart);
    case VT_R8:
        return QString::number(value.dblVal);
    case VT_CLSID:
        return nameOf(*value.puuid, valueNames);
    case VT_LPWSTR:
        return QString::fromUtf16(reinterpret_cast<const char16_t *>(value.pwszVal));
    case VT_VECTOR | VT_UI1:
        return QStringLiteral("%1 bytes").arg(value.caub.cElems);
    case VT_UNKNOWN:
        return QStringLiteral("object");
    default:
        return QStringLiteral("?");
    }
}

} // namespace

QString to_qstring(IMFAttributes *attributes)
{
    if (!attributes)
        return QStringLiteral("(null)");
    QStringList items;
    UINT32 count = 0;
    attributes->GetCount(&count);
    for (UINT32 index = 0; index < count; ++index) {
        GUID key = GUID_NULL;
        PROPVARIANT value;
        PropVariantInit(&value);
        if (FAILED(attributes->GetItemByIndex(index, &key, &value)))
            continue;
        items << nameOf(key, keyNames) + QLatin1Char('=') + valueText(key, value);
        PropVariantClear(&value);
    }
    return items.join(QStringLiteral(", "));
}
