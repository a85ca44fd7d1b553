#include "sink/NDISink.h"

#include "format/MetadataEnvelope.h"
#include "plugin/Logging.h"
#include "sink/SinkCreation.h"

#include <QtConcurrent/QtConcurrentRun>

namespace
{

constexpr int videoIndex = 0;
constexpr int audioIndex = 1;

// Connected, but what will come through is not settled yet.
bool isUndecided(const NodeInput *input)
{
    return !input->getConnectedMfMediaType() && input->getConnectedOutput();
}

} // namespace

NDISink::NDISink()
{
    setInputCount(2);
    connect(&m_watcher, &QFutureWatcherBase::finished, this, &NDISink::asyncSinkCreated);
}

NDISink::~NDISink() = default;

void NDISink::destroyMediaObjects()
{
    m_watcher.cancel();
    // A result that has come already, but was not heard of, would keep its sender on the network.
    m_watcher.setFuture(QFuture<AsyncCreationResult>());
    m_sink.Release();
}

void NDISink::createMediaObjects()
{
    startCreation();
}

QString NDISink::name() const
{
    return m_params.name;
}

void NDISink::setName(const QString &name)
{
    if (m_params.name == name)
        return;
    m_params.name = name;
    Q_EMIT nameChanged();
    requestCreate();
}

QVariant NDISink::metadata() const
{
    return m_metadata;
}

void NDISink::setMetadata(const QVariant &metadata)
{
    if (m_metadata == metadata)
        return;
    m_metadata = metadata;
    Q_EMIT metadataChanged();
    sendMetadata();
}

NodeInput *NDISink::videoInput() const
{
    return getInput(videoIndex);
}

NodeInput *NDISink::audioInput() const
{
    return getInput(audioIndex);
}

void NDISink::startCreation()
{
    if (m_params.name.isEmpty())
        return;
    const bool hasVideo = videoInput()->getConnectedMfMediaType() != nullptr;
    const bool hasAudio = audioInput()->getConnectedMfMediaType() != nullptr;
    if (!hasVideo && !hasAudio)
        return;
    if (isUndecided(videoInput()) || isUndecided(audioInput()))
        return;
    m_params.hasVideo = hasVideo;
    m_params.hasAudio = hasAudio;
    m_watcher.setFuture(QtConcurrent::run(createSinkJob, m_params));
    setStatus(Creating);
}

void NDISink::asyncSinkCreated()
{
    if (m_watcher.isCanceled())
        return;
    const AsyncCreationResult result = m_watcher.result();
    // First: whoever hears of the status may begin a creation anew.
    m_watcher.setFuture(QFuture<AsyncCreationResult>());
    if (FAILED(result.hr)) {
        setStatus(Error);
        qCCritical(sinkCategory) << "NDISink initialization failed:" << result.error;
    } else {
        adopt(result);
    }
}

void NDISink::adopt(const AsyncCreationResult &result)
{
    if (result.videoNode)
        attach(result.videoNode, videoInput());
    if (result.audioNode)
        attach(result.audioNode, audioInput());
    m_sink = result.sink;
    sendMetadata();
    setStatus(Created);
}

void NDISink::attach(IMFTopologyNode *node, NodeInput *input)
{
    addMfNode(node);
    input->setMfNode(node, 0);
}

void NDISink::sendMetadata()
{
    if (m_sink && m_metadata.isValid())
        m_sink->sendMetadata(encodeMetadata(m_metadata));
}
