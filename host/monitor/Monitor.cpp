#include "host/monitor/Monitor.h"

#include "host/Log.h"
#include "host/monitor/FrameMetadata.h"
#include "host/monitor/MonitorSink.h"
#include "host/pipeline/ComFactory.h"

#include <vector>

namespace host
{

namespace
{

constexpr int RefreshInterval = 250; // milliseconds

QVariantMap streamMap(const StreamFigures &figures)
{
    return {{QStringLiteral("samples"), static_cast<qulonglong>(figures.samples)},
            {QStringLiteral("rate"), figures.rate},
            {QStringLiteral("typeChanges"), static_cast<qulonglong>(figures.typeChanges)},
            {QStringLiteral("gaps"), static_cast<qulonglong>(figures.gaps)},
            {QStringLiteral("missingMs"), figures.missingMs},
            {QStringLiteral("restarts"), static_cast<qulonglong>(figures.restarts)},
            {QStringLiteral("jitterMedianMs"), figures.jitterMedianMs},
            {QStringLiteral("jitter95Ms"), figures.jitter95Ms},
            {QStringLiteral("jitterMaxMs"), figures.jitterMaxMs}};
}

} // namespace

Monitor::Monitor()
    : m_videoConsumer(std::make_shared<VideoConsumer>()), m_audioConsumer(std::make_shared<AudioConsumer>())
{
    setInputCount(2);
    m_refresh.setInterval(RefreshInterval);
    connect(&m_refresh, &QTimer::timeout, this, &Monitor::refresh);
}

Monitor::~Monitor() = default;

void Monitor::setName(const QString &name)
{
    if (name == m_name)
        return;
    m_name = name;
    Q_EMIT nameChanged();
}

QVariantMap Monitor::video() const
{
    const VideoFigures figures = m_videoConsumer->figures();
    QVariantMap map = streamMap(figures.stream);
    const VideoFormat format = figures.format.value_or(VideoFormat());
    map[QStringLiteral("subtype")] = figures.format ? subtypeName(format.subtype) : QString();
    map[QStringLiteral("width")] = format.width;
    map[QStringLiteral("height")] = format.height;
    map[QStringLiteral("nominalRate")] =
        format.rateDenominator ? static_cast<double>(format.rateNumerator) / format.rateDenominator : 0.0;
    map[QStringLiteral("unreadable")] = static_cast<qulonglong>(figures.unreadable);
    map[QStringLiteral("withMetadata")] = static_cast<qulonglong>(figures.withMetadata);
    map[QStringLiteral("coded")] = static_cast<qulonglong>(figures.coded);
    map[QStringLiteral("lost")] = static_cast<qulonglong>(figures.lost);
    map[QStringLiteral("latencyMedianMs")] = figures.latencyMedianMs;
    map[QStringLiteral("latency95Ms")] = figures.latency95Ms;
    map[QStringLiteral("latencyMaxMs")] = figures.latencyMaxMs;
    map[QStringLiteral("recordingError")] = figures.recordingError;
    return map;
}

QVariantMap Monitor::audio() const
{
    const AudioFigures figures = m_audioConsumer->figures();
    QVariantMap map = streamMap(figures.stream);
    map[QStringLiteral("sampleRate")] = figures.sampleRate;
    map[QStringLiteral("channels")] = figures.channels;
    map[QStringLiteral("audioFrames")] = static_cast<qulonglong>(figures.audioFrames);
    map[QStringLiteral("peakDbfs")] = figures.peakDbfs;
    map[QStringLiteral("withMetadata")] = static_cast<qulonglong>(figures.withMetadata);
    map[QStringLiteral("recordingError")] = figures.recordingError;
    return map;
}

double Monitor::avOffset() const
{
    const StreamFigures video = m_videoConsumer->figures().stream;
    const StreamFigures audio = m_audioConsumer->figures().stream;
    return video.samples > 0 && audio.samples > 0 ? video.lagMs - audio.lagMs : 0.0;
}

void Monitor::setRecordVideo(const QString &path)
{
    if (path == m_recordVideo)
        return;
    m_recordVideo = path;
    m_videoConsumer->record(path);
    Q_EMIT recordVideoChanged();
}

void Monitor::setRecordAudio(const QString &path)
{
    if (path == m_recordAudio)
        return;
    m_recordAudio = path;
    m_audioConsumer->record(path);
    Q_EMIT recordAudioChanged();
}

bool Monitor::snapshot(const QString &path) const
{
    const QImage picture = lastPicture();
    return !picture.isNull() && picture.save(path, "PNG");
}

void Monitor::destroyMediaObjects()
{
    m_refresh.stop();
    m_sink.Release();
    refresh();
    setStatus(Idle);
}

void Monitor::createMediaObjects()
{
    setStatus(Creating);
    const HRESULT hr = create();
    if (FAILED(hr)) {
        qCCritical(lcHost, "Monitor: cannot make its media sink (0x%08X)", static_cast<unsigned>(hr));
        return setStatus(Error);
    }
    m_refresh.start();
    setStatus(Created);
}

HRESULT Monitor::create()
{
    std::vector<std::shared_ptr<SampleConsumer>> consumers;
    std::vector<NodeInput *> inputs;
    if (videoInput()->getConnectedOutput()) {
        consumers.push_back(m_videoConsumer);
        inputs.push_back(videoInput());
    }
    if (audioInput()->getConnectedOutput()) {
        consumers.push_back(m_audioConsumer);
        inputs.push_back(audioInput());
    }
    const CComPtr<MonitorSink> sink = createObject<MonitorSink>(consumers);
    if (!sink)
        return E_OUTOFMEMORY;
    m_sink = CComPtr<IMFMediaSink>(sink.p);
    for (std::size_t index = 0; index < inputs.size(); ++index) {
        const HRESULT hr = createOutputNode(inputs[index], static_cast<DWORD>(index));
        if (FAILED(hr))
            return hr;
    }
    return S_OK;
}

HRESULT Monitor::createOutputNode(NodeInput *input, DWORD streamIndex)
{
    CComPtr<IMFStreamSink> stream;
    HRESULT hr = m_sink->GetStreamSinkByIndex(streamIndex, &stream);
    if (FAILED(hr))
        return hr;
    CComPtr<IMFTopologyNode> node;
    hr = MFCreateTopologyNode(MF_TOPOLOGY_OUTPUT_NODE, &node);
    if (FAILED(hr))
        return hr;
    hr = node->SetObject(stream);
    if (FAILED(hr))
        return hr;
    addMfNode(node);
    input->setMfNode(node, 0);
    return S_OK;
}

void Monitor::refresh()
{
    const QByteArray bytes = m_videoConsumer->metadata();
    if (bytes != m_metadataBytes) {
        m_metadataBytes = bytes;
        m_metadata = metadataValue(bytes);
        Q_EMIT metadataChanged();
    }
    Q_EMIT figuresChanged();
}

} // namespace host
