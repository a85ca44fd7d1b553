#include "ndi/tools/ndi-recv/Summary.h"

#include "ndi/tools/common/FourCC.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace ndirecv
{

namespace
{

struct FieldsRow {
    Fields fields;
    const char *name;
};
constexpr FieldsRow FieldsNames[] = {
    {Fields::Progressive, "progressive"}, {Fields::Interleaved, "interleaved"}, {Fields::Separate, "separate fields"}};

const char *nameOf(Fields fields)
{
    for (const FieldsRow &row : FieldsNames) {
        if (row.fields == fields)
            return row.name;
    }
    return "";
}

std::string oneDecimal(double value)
{
    return QString::number(value, 'f', 1).toStdString();
}

std::string sizeOf(const VideoFormat &format)
{
    return std::to_string(format.width) + "x" + std::to_string(format.height);
}

template <class Value>
QJsonValue orNull(const std::optional<Value> &value)
{
    return value ? QJsonValue(*value) : QJsonValue(QJsonValue::Null);
}

QJsonValue orNull(const std::optional<std::uint64_t> &value)
{
    return value ? QJsonValue(static_cast<qint64>(*value)) : QJsonValue(QJsonValue::Null);
}

QJsonValue latencyOf(const VideoFigures &video)
{
    const recording::Histogram &latency = video.latency;
    if (latency.count() == 0)
        return QJsonValue::Null;
    return QJsonObject{{QStringLiteral("median"), latency.quantile(0.5)},
                       {QStringLiteral("recent"), orNull(video.recentLatency)},
                       {QStringLiteral("p95"), latency.quantile(0.95)},
                       {QStringLiteral("max"), latency.maximum()}};
}

void addVideo(const VideoFigures &video, QJsonObject &json)
{
    json[QStringLiteral("videoFrames")] = static_cast<qint64>(video.frames);
    json[QStringLiteral("fps")] = video.rate;
    json[QStringLiteral("videoMetadata")] = static_cast<qint64>(video.withMetadata);
    json[QStringLiteral("codedFrames")] = static_cast<qint64>(video.coded);
    json[QStringLiteral("firstFrame")] = orNull(video.firstFrame);
    json[QStringLiteral("lastFrame")] = orNull(video.lastFrame);
    json[QStringLiteral("gaps")] = static_cast<qint64>(video.gaps);
    json[QStringLiteral("lostFrames")] = static_cast<qint64>(video.lost);
    json[QStringLiteral("repeatedFrames")] = static_cast<qint64>(video.repeated);
    json[QStringLiteral("restarts")] = static_cast<qint64>(video.restarts);
    json[QStringLiteral("latencyMs")] = latencyOf(video);
    if (!video.format)
        return;
    json[QStringLiteral("width")] = video.format->width;
    json[QStringLiteral("height")] = video.format->height;
    json[QStringLiteral("subtype")] = QString::fromStdString(nditools::fourCCText(video.format->fourCC));
    json[QStringLiteral("rateNumerator")] = video.format->rateNumerator;
    json[QStringLiteral("rateDenominator")] = video.format->rateDenominator;
    json[QStringLiteral("fields")] = QLatin1String(nameOf(video.format->fields));
}

void addAudio(const AudioFigures &audio, QJsonObject &json)
{
    json[QStringLiteral("audioFrames")] = static_cast<qint64>(audio.frames);
    json[QStringLiteral("audioSamples")] = static_cast<qint64>(audio.samples);
    json[QStringLiteral("audioMetadata")] = static_cast<qint64>(audio.withMetadata);
    json[QStringLiteral("audioGaps")] = static_cast<qint64>(audio.gaps);
    json[QStringLiteral("lostSamples")] = static_cast<qint64>(audio.lostSamples);
    json[QStringLiteral("audioRestarts")] = static_cast<qint64>(audio.restarts);
    if (!audio.format)
        return;
    json[QStringLiteral("sampleRate")] = audio.format->sampleRate;
    json[QStringLiteral("channels")] = audio.format->channels;
}

} // namespace

std::string textOf(const VideoFormat &format)
{
    return nditools::fourCCText(format.fourCC) + " " + sizeOf(format) + " at " + std::to_string(format.rateNumerator) +
           "/" + std::to_string(format.rateDenominator) + ", " + nameOf(format.fields);
}

std::string textOf(const AudioFormat &format)
{
    return std::to_string(format.channels) + " channels at " + std::to_string(format.sampleRate) + " Hz";
}

QByteArray Summary::toJson() const
{
    QJsonObject json;
    for (const char *key :
         {"width", "height", "subtype", "rateNumerator", "rateDenominator", "fields", "sampleRate", "channels"})
        json[QLatin1String(key)] = QJsonValue::Null; // until there is a format
    json[QStringLiteral("name")] = name;
    json[QStringLiteral("address")] = address;
    json[QStringLiteral("ended")] = ended;
    json[QStringLiteral("seconds")] = seconds;
    addVideo(video, json);
    addAudio(audio, json);
    json[QStringLiteral("metadataFrames")] = static_cast<qint64>(metadataFrames);
    json[QStringLiteral("formatChanges")] = static_cast<qint64>(video.formatChanges + audio.formatChanges);
    json[QStringLiteral("reconnects")] = static_cast<qint64>(reconnects);
    json[QStringLiteral("avOffsetMs")] = orNull(avOffset);
    json[QStringLiteral("avArrivalMs")] = orNull(avArrival);
    json[QStringLiteral("leftOut")] = static_cast<qint64>(leftOut);
    QJsonArray list;
    for (const QString &error : errors)
        list.append(error);
    json[QStringLiteral("errors")] = list;
    return QJsonDocument(json).toJson();
}

std::string Summary::toText() const
{
    std::string text = "received " + std::to_string(video.frames) + " video frames";
    if (video.format)
        text += " (" + oneDecimal(video.rate) + " fps, " + sizeOf(*video.format) + " " +
                nditools::fourCCText(video.format->fourCC) + ")";
    text += ", " + std::to_string(audio.frames) + " audio frames";
    if (audio.format)
        text +=
            " (" + std::to_string(audio.format->sampleRate) + " Hz, " + std::to_string(audio.format->channels) + " ch)";
    text += ", " + std::to_string(video.gaps) + " gaps";
    if (video.lost > 0)
        text += " (" + std::to_string(video.lost) + " frames lost)";
    if (audio.gaps > 0)
        text += ", " + std::to_string(audio.gaps) + " gaps in the sound";
    if (video.latency.count() > 0)
        text += ", latency " + oneDecimal(video.latency.quantile(0.5)) + " ms median";
    if (avOffset)
        text += ", picture " + oneDecimal(*avOffset) + " ms behind the sound";
    return text;
}

} // namespace ndirecv
