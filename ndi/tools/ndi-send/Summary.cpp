#include "ndi/tools/ndi-send/Summary.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace ndisend
{

namespace
{

QJsonObject toObject(const TallyLight &light)
{
    return {{QStringLiteral("on"), light.on},
            {QStringLiteral("seenOn"), light.seenOn},
            {QStringLiteral("seenOffAgain"), light.seenOffAgain}};
}

} // namespace

QByteArray Summary::toJson() const
{
    const QJsonObject tally{{QStringLiteral("program"), toObject(receivers.program)},
                            {QStringLiteral("preview"), toObject(receivers.preview)},
                            {QStringLiteral("changes"), static_cast<qint64>(receivers.tallyChanges)}};
    const QJsonObject connections{{QStringLiteral("now"), receivers.connections},
                                  {QStringLiteral("most"), receivers.mostConnections}};
    const QJsonObject summary{{QStringLiteral("name"), name},
                              {QStringLiteral("ended"), ended},
                              {QStringLiteral("seconds"), seconds},
                              {QStringLiteral("videoFrames"), static_cast<qint64>(videoFrames)},
                              {QStringLiteral("lateFrames"), static_cast<qint64>(lateFrames)},
                              {QStringLiteral("audioFrames"), static_cast<qint64>(audioFrames)},
                              {QStringLiteral("audioSamples"), static_cast<qint64>(audioSamples)},
                              {QStringLiteral("metadataFrames"), static_cast<qint64>(metadataFrames)},
                              {QStringLiteral("tally"), tally},
                              {QStringLiteral("connections"), connections}};
    return QJsonDocument(summary).toJson();
}

} // namespace ndisend
