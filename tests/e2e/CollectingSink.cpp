#include "tests/e2e/CollectingSink.h"

#include "host/monitor/FrameMetadata.h"
#include "host/monitor/MonitorSink.h"
#include "host/monitor/VideoPicture.h"
#include "host/pipeline/ComFactory.h"
#include "hostfw/MediaBuffers.h"

#include <mfapi.h>

#include <cstdlib>

void Collector::typeChanged(IMFMediaType *type)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_format = CollectedSample();
    if (const std::optional<host::VideoFormat> format = host::videoFormat(type)) {
        m_format.width = format->width;
        m_format.height = format->height;
    }
    type->GetGUID(MF_MT_SUBTYPE, &m_format.subtype);
    m_format.sampleRate = static_cast<int>(MFGetAttributeUINT32(type, MF_MT_AUDIO_SAMPLES_PER_SECOND, 0));
    m_format.channels = static_cast<int>(MFGetAttributeUINT32(type, MF_MT_AUDIO_NUM_CHANNELS, 0));
}

void Collector::sample(IMFSample *sample, HnsTime)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    CollectedSample kept = m_format;
    sample->GetSampleTime(&kept.time);
    sample->GetSampleDuration(&kept.duration);
    kept.metadata = host::frameMetadata(sample);
    CComPtr<IMFMediaBuffer> buffer;
    sample->ConvertToContiguousBuffer(&buffer);
    if (kept.width > 0) {
        const MediaBufferMapping2D mapping(buffer, MF2DBuffer_LockFlags_Read);
        const bool isUyvy = IsEqualGUID(kept.subtype, MFVideoFormat_UYVY);
        const int line = kept.width * (isUyvy ? 2 : 4);
        for (int y = 0; mapping.buffer() && y < kept.height; ++y)
            kept.bytes.append(reinterpret_cast<const char *>(mapping.buffer()) +
                                  static_cast<std::ptrdiff_t>(y) * mapping.pitch(),
                              line);
    } else {
        const MediaBufferMapping mapping(buffer);
        kept.bytes =
            QByteArray(reinterpret_cast<const char *>(mapping.buffer()), static_cast<int>(mapping.currentLength()));
    }
    m_samples.push_back(std::move(kept));
    if (m_samples.size() > Kept)
        m_samples.pop_front();
    ++m_count;
}

std::size_t Collector::count() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_count;
}

std::deque<CollectedSample> Collector::samples() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_samples;
}

CollectingSink::CollectingSink()
    : m_video(std::make_shared<Collector>(MFMediaType_Video)), m_audio(std::make_shared<Collector>(MFMediaType_Audio))
{
    setInputCount(2);
}

CollectingSink::~CollectingSink() = default;

void CollectingSink::destroyMediaObjects()
{
    m_sink.Release();
    setStatus(Idle);
}

void CollectingSink::createMediaObjects()
{
    setStatus(Creating);
    m_sink = CComPtr<IMFMediaSink>(
        host::createObject<host::MonitorSink>(std::vector<std::shared_ptr<host::SampleConsumer>>{m_video, m_audio}).p);
    for (DWORD index = 0; index < 2; ++index) {
        CComPtr<IMFStreamSink> stream;
        CComPtr<IMFTopologyNode> node;
        m_sink->GetStreamSinkByIndex(index, &stream);
        MFCreateTopologyNode(MF_TOPOLOGY_OUTPUT_NODE, &node);
        node->SetObject(stream);
        addMfNode(node);
        getInput(static_cast<int>(index))->setMfNode(node, 0);
    }
    setStatus(Created);
}
