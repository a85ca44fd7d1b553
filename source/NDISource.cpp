#include "source/NDISource.h"

#include "format/MetadataEnvelope.h"
#include "plugin/Logging.h"
#include "source/SourceCreation.h"

#include <QtConcurrent/QtConcurrentRun>

namespace
{

constexpr int videoIndex = 0;
constexpr int audioIndex = 1;

uint rawCount(const HnsTime &time)
{
    return static_cast<uint>(static_cast<long long>(time));
}

} // namespace

NDISource::NDISource()
{
    setOutputCount(2);
}

NDISource::~NDISource() = default;

void NDISource::destroyMediaObjects()
{
    cancelPendingCreation();
    if (!m_source)
        return;
    QObject::disconnect(m_source.p, nullptr, this, nullptr);
    m_source.Release();
}

void NDISource::createMediaObjects()
{
    startCreation();
}

NDIInput NDISource::input() const
{
    return m_params.input;
}

void NDISource::setInput(const NDIInput &input)
{
    if (m_params.input == input)
        return;
    m_params.input = input;
    requestCreate();
    Q_EMIT inputChanged();
}

uint NDISource::probeTime() const
{
    return rawCount(m_params.probeTime);
}

void NDISource::setProbeTime(uint milliseconds)
{
    const HnsTime time = HnsTime::milliseconds(milliseconds);
    if (m_params.probeTime == time)
        return;
    m_params.probeTime = time;
    Q_EMIT probeTimeChanged();
}

uint NDISource::delay() const
{
    return rawCount(m_params.delay);
}

void NDISource::setDelay(uint milliseconds)
{
    const HnsTime time = HnsTime::milliseconds(milliseconds);
    if (m_params.delay == time)
        return;
    m_params.delay = time;
    Q_EMIT delayChanged();
}

bool NDISource::tallyProgram() const
{
    return m_tally.on_program;
}

void NDISource::setTallyProgram(bool on)
{
    if (m_tally.on_program == on)
        return;
    m_tally.on_program = on;
    sendTally();
    Q_EMIT tallyProgramChanged();
}

bool NDISource::tallyPreview() const
{
    return m_tally.on_preview;
}

void NDISource::setTallyPreview(bool on)
{
    if (m_tally.on_preview == on)
        return;
    m_tally.on_preview = on;
    sendTally();
    Q_EMIT tallyPreviewChanged();
}

bool NDISource::hardwareSamples() const
{
    return m_params.hardwareSamples;
}

void NDISource::setHardwareSamples(bool on)
{
    if (m_params.hardwareSamples == on)
        return;
    m_params.hardwareSamples = on;
    requestCreate();
    Q_EMIT hardwareSamplesChanged();
}

QVariant NDISource::metadata() const
{
    return m_metadata;
}

NodeOutput *NDISource::videoOutput() const
{
    return getOutput(videoIndex);
}

NodeOutput *NDISource::audioOutput() const
{
    return getOutput(audioIndex);
}

void NDISource::startCreation()
{
    cancelPendingCreation();
    if (m_params.input.name().isEmpty())
        return;
    m_params.hasVideo = videoOutput()->getConnectedInput() != nullptr;
    m_params.hasAudio = audioOutput()->getConnectedInput() != nullptr;
    const QFuture<AsyncSourceCreationResult> job = QtConcurrent::run(createSourceJob, m_params);
    connect(&m_watcher, &QFutureWatcherBase::finished, this, &NDISource::asyncCreationFinished);
    m_watcher.setFuture(job);
    setStatus(Creating);
}

void NDISource::cancelPendingCreation()
{
    // The watcher lets go of the job first, so that a late result is never delivered.
    m_watcher.cancel();
    m_watcher.disconnect(this);
    m_watcher.setFuture(QFuture<AsyncSourceCreationResult>());
    if (m_params.cancellationToken) {
        m_params.cancellationToken->cancel();
        qCDebug(sourceCategory, "Async source creation cancelled");
    }
    m_params.cancellationToken = std::make_shared<CancellationToken>();
}

void NDISource::asyncCreationFinished()
{
    if (m_watcher.isCanceled())
        return;
    const AsyncSourceCreationResult result = m_watcher.result();
    // First: whoever hears of the status may begin a creation anew.
    m_watcher.setFuture(QFuture<AsyncSourceCreationResult>());
    if (result.status == HRESULT_FROM_WIN32(ERROR_CANCELLED)) {
        qCInfo(sourceCategory, "NDI source creation was cancelled, because it was no longer needed");
    } else if (FAILED(result.status)) {
        qCCritical(sourceCategory) << "NDI source creation failed:" << result.message;
        setStatus(Error);
    } else {
        adopt(result);
    }
}

void NDISource::adopt(const AsyncSourceCreationResult &result)
{
    if (result.videoNode) {
        attach(result.videoNode, videoOutput());
        Q_EMIT videoOutputChanged();
    }
    if (result.audioNode) {
        attach(result.audioNode, audioOutput());
        Q_EMIT audioOutputChanged();
    }
    qCDebug(sourceCategory, "NDI source created");
    m_source = result.source;
    sendTally();
    connect(m_source.p, &NDISourceMF::sessionRecreationRequested, this, &NDISource::requestCreate);
    connect(m_source.p, &NDISourceMF::metadataRecieved, this, &NDISource::updateMetadata);
    setStatus(Created);
}

void NDISource::attach(IMFTopologyNode *node, NodeOutput *output)
{
    addMfNode(node);
    output->setMfNode(node, 0);
    // Once, however often the source is made.
    connect(output, &NodeOutput::connectedInputChanged, this, &NDISource::requestCreate, Qt::UniqueConnection);
}

void NDISource::sendTally()
{
    if (m_source)
        m_source->setTally(m_tally);
}

void NDISource::updateMetadata(const QByteArray &data)
{
    const QVariant value = decodeMetadata(data);
    if (!value.isValid() || value == m_metadata)
        return;
    m_metadata = value;
    Q_EMIT metadataChanged();
}
