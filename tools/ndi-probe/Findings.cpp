#include "tools/ndi-probe/Findings.h"

#include "ndi/tools/common/FourCC.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

namespace ndiprobe
{

namespace
{

struct FieldsRow {
    NDIlib_frame_format_type_e type;
    const char *name;
};
constexpr FieldsRow Fields[] = {
    {NDIlib_frame_format_type_progressive, "progressive"},
    {NDIlib_frame_format_type_interleaved, "interleaved"},
    {NDIlib_frame_format_type_field_0, "separate fields"},
    {NDIlib_frame_format_type_field_1, "separate fields"},
};

QString fieldsName(NDIlib_frame_format_type_e type)
{
    for (const FieldsRow &row : Fields)
        if (row.type == type)
            return QLatin1String(row.name);
    return QStringLiteral("unknown");
}

QString metadataNote(bool hasFrameMetadata)
{
    return hasFrameMetadata ? QStringLiteral(", with frame metadata") : QString();
}

QString lineOf(const FoundVideo &video)
{
    const auto &format = video.format;
    return QStringLiteral("%1 %2x%3 at %4/%5, %6%7")
        .arg(QString::fromStdString(nditools::fourCCText(format.FourCC)))
        .arg(format.xres)
        .arg(format.yres)
        .arg(format.frame_rate_N)
        .arg(format.frame_rate_D)
        .arg(fieldsName(format.frame_format_type), metadataNote(video.hasFrameMetadata));
}

QString lineOf(const FoundAudio &audio)
{
    return QStringLiteral("%1 channels at %2 Hz%3")
        .arg(audio.channels)
        .arg(audio.sampleRate)
        .arg(metadataNote(audio.hasFrameMetadata));
}

template <typename Found>
QString lineOrNone(const std::optional<Found> &found)
{
    return found ? lineOf(*found) : QStringLiteral("none");
}

QJsonObject objectOf(const FoundVideo &video)
{
    const auto &format = video.format;
    return {{QStringLiteral("format"), QString::fromStdString(nditools::fourCCText(format.FourCC))},
            {QStringLiteral("width"), format.xres},
            {QStringLiteral("height"), format.yres},
            {QStringLiteral("rateNumerator"), format.frame_rate_N},
            {QStringLiteral("rateDenominator"), format.frame_rate_D},
            {QStringLiteral("fields"), fieldsName(format.frame_format_type)},
            {QStringLiteral("frameMetadata"), video.hasFrameMetadata}};
}

QJsonObject objectOf(const FoundAudio &audio)
{
    return {{QStringLiteral("channels"), audio.channels},
            {QStringLiteral("sampleRate"), audio.sampleRate},
            {QStringLiteral("frameMetadata"), audio.hasFrameMetadata}};
}

template <typename Found>
QJsonValue objectOrNull(const std::optional<Found> &found)
{
    return found ? QJsonValue(objectOf(*found)) : QJsonValue(QJsonValue::Null);
}

} // namespace

QByteArray Findings::toText() const
{
    return QStringLiteral("%1 at %2\nvideo: %3\naudio: %4\n")
        .arg(name, address, lineOrNone(video), lineOrNone(audio))
        .toUtf8();
}

QByteArray Findings::toJson() const
{
    const QJsonObject findings{{QStringLiteral("name"), name},
                               {QStringLiteral("address"), address},
                               {QStringLiteral("video"), objectOrNull(video)},
                               {QStringLiteral("audio"), objectOrNull(audio)}};
    return QJsonDocument(findings).toJson();
}

} // namespace ndiprobe
