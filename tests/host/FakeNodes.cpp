#include "tests/host/FakeNodes.h"

#include "host/monitor/MonitorSink.h"
#include "host/pipeline/ComFactory.h"
#include "hostfw/BaseSource.h"
#include "hostfw/BaseSourceStream.h"
#include "hostfw/Topology.h"

#include <mfapi.h>

#include <algorithm>

namespace
{

constexpr LONGLONG Second = 10000000;
constexpr std::size_t LogLines = 10000;

class ScriptedStream final : public CBaseSourceStream
{
public:
    ScriptedStream(tvx::ISource *source, DWORD id, CComPtr<IMFMediaType> type, std::vector<ScriptStep> script,
                   const tvx::MFMessageQueue &queue)
        : CBaseSourceStream(source, id,
                            std::shared_ptr<tvx::ISampleRequestManager>(
                                tvx::createBufferingSampleRequestManager(this, HnsTime(INT64_MAX), nullptr, &queue))),
          m_type(std::move(type)), m_script(std::move(script))
    {
    }

    HRESULT RequestFrame() override
    {
        ScriptStep step = next();
        while (step.kind == ScriptStep::TypeChange) {
            m_requestManager->PushMediaTypeChange(step.type);
            step = next();
        }
        if (step.kind == ScriptStep::End) {
            m_requestManager->PushEndOfData();
            return S_FALSE;
        }
        if (step.kind == ScriptStep::Fail) {
            QueueEvent(MEError, GUID_NULL, E_FAIL, nullptr);
            return S_FALSE;
        }
        CComPtr<IMFSample> sample;
        CComPtr<IMFMediaBuffer> buffer;
        MFCreateSample(&sample);
        MFCreateMemoryBuffer(64, &buffer);
        sample->AddBuffer(buffer);
        sample->SetSampleTime(step.time);
        if (step.duration > 0)
            sample->SetSampleDuration(step.duration);
        return m_requestManager->PushSample(sample);
    }

protected:
    HRESULT OnSeek(const PROPVARIANT &) override { return E_NOTIMPL; }
    std::list<CComPtr<IMFMediaType>> GetMediaTypes() const override { return {m_type}; }
    HRESULT setMediaType(IMFMediaType *) override { return S_OK; }

private:
    ScriptStep next()
    {
        if (m_place < m_script.size())
            return m_script[m_place++];
        ScriptStep step;
        const LONGLONG scripted = m_script.empty() ? 0 : m_script.back().time;
        step.time = scripted + static_cast<LONGLONG>(m_place++) * Second;
        return step;
    }

    const CComPtr<IMFMediaType> m_type;
    const std::vector<ScriptStep> m_script;
    std::size_t m_place = 0; // on the queue
};

class ScriptedMediaSource final : public CBaseSource
{
public:
    ScriptedMediaSource(HRESULT &hr, bool live) : CBaseSource(hr, live ? static_cast<DWORD>(MFMEDIASOURCE_IS_LIVE) : 0)
    {
    }

    DECLARE_IUNKNOWN

    HRESULT addStreams(const ScriptedSource &node)
    {
        const tvx::MFMessageQueue queue(tvx::MFMessageQueue::Type::Serial, 0);
        std::list<std::shared_ptr<tvx::ISourceStream>> streams = {
            std::make_shared<ScriptedStream>(this, 0, node.videoType, node.videoScript, queue),
            std::make_shared<ScriptedStream>(this, 1, node.audioType, node.audioScript, queue)};
        return Initialize(streams);
    }
};

UINT32 typeSize(IMFMediaType *type)
{
    UINT32 width = 0;
    UINT32 height = 0;
    if (FAILED(MFGetAttributeSize(type, MF_MT_FRAME_SIZE, &width, &height)))
        width = MFGetAttributeUINT32(type, MF_MT_AUDIO_NUM_CHANNELS, 0);
    return width;
}

} // namespace

CComPtr<IMFMediaType> pictureType(UINT32 width, UINT32 height)
{
    CComPtr<IMFMediaType> type;
    MFCreateMediaType(&type);
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Video);
    type->SetGUID(MF_MT_SUBTYPE, MFVideoFormat_RGB32);
    type->SetUINT64(MF_MT_FRAME_SIZE, static_cast<UINT64>(width) << 32 | height);
    return type;
}

CComPtr<IMFMediaType> soundType(UINT32 channels)
{
    CComPtr<IMFMediaType> type;
    MFCreateMediaType(&type);
    type->SetGUID(MF_MT_MAJOR_TYPE, MFMediaType_Audio);
    type->SetGUID(MF_MT_SUBTYPE, MFAudioFormat_Float);
    type->SetUINT32(MF_MT_AUDIO_NUM_CHANNELS, channels);
    type->SetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND, 48000);
    return type;
}

ScriptedSource::ScriptedSource()
{
    setOutputCount(2);
}

ScriptedSource::~ScriptedSource() = default;

void ScriptedSource::destroyMediaObjects()
{
    ++destroyed;
    m_source.Release();
    setStatus(Idle);
}

void ScriptedSource::createMediaObjects()
{
    ++created;
    setStatus(Creating);
    if (fails)
        return setStatus(Error);
    HRESULT hr = S_OK;
    const auto source = host::createObject<ScriptedMediaSource>(hr, live);
    source->addStreams(*this);
    m_source = CComPtr<IMFMediaSource>(source.p);
    const auto descriptor = getCleanPresentationDescriptor(m_source);
    DWORD index = 0;
    const auto videoNode = createMediaSourceNode(m_source, descriptor, MFMediaType_Video, &index);
    const auto audioNode = createMediaSourceNode(m_source, descriptor, MFMediaType_Audio, &index);
    addMfNode(videoNode);
    addMfNode(audioNode);
    video()->setMfNode(videoNode, 0);
    audio()->setMfNode(audioNode, 0);
    for (const NodeOutput *const output : {video(), audio()})
        connect(output, &NodeOutput::connectedInputChanged, this, &ScriptedSource::ask, Qt::UniqueConnection);
    setStatus(Created);
}

void SearchingSource::setInput(const FakeInput &input)
{
    if (input.name == m_input.name)
        return;
    m_input = input;
    ask();
    Q_EMIT inputChanged();
}

void SearchingSource::createMediaObjects()
{
    if (!m_input.name.isEmpty() && deafCreations == 0)
        return ScriptedSource::createMediaObjects();
    ++created;
    if (m_input.name.isEmpty())
        return;
    --deafCreations;
    setStatus(Creating);
}

bool KeepingConsumer::takes(IMFMediaType *type) const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return typeSize(type) <= m_widest;
}

void KeepingConsumer::typeChanged(IMFMediaType *type)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_log.push_back("type " + std::to_string(typeSize(type)));
}

void KeepingConsumer::sample(IMFSample *sample, HnsTime)
{
    LONGLONG time = 0;
    sample->GetSampleTime(&time);
    const std::lock_guard<std::mutex> guard(m_lock);
    ++m_samples;
    if (m_log.size() < LogLines)
        m_log.push_back("sample " + std::to_string(time / 10000));
}

std::vector<std::string> KeepingConsumer::log() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_log;
}

std::size_t KeepingConsumer::samples() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_samples;
}

void KeepingConsumer::takeUpTo(UINT32 width)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_widest = width;
}

KeepingSink::KeepingSink()
    : m_pictures(std::make_shared<KeepingConsumer>(MFMediaType_Video)),
      m_sound(std::make_shared<KeepingConsumer>(MFMediaType_Audio))
{
    setInputCount(2);
}

KeepingSink::~KeepingSink() = default;

void KeepingSink::destroyMediaObjects()
{
    ++destroyed;
    m_sink.Release();
    setStatus(Idle);
}

void KeepingSink::createMediaObjects()
{
    ++created;
    setStatus(Creating);
    if (failures > 0) {
        --failures;
        return setStatus(Error);
    }
    if (!takesItsTime)
        finish();
}

void KeepingSink::finish()
{
    m_sink = CComPtr<IMFMediaSink>(
        host::createObject<host::MonitorSink>(std::vector<std::shared_ptr<host::SampleConsumer>>{m_pictures, m_sound})
            .p);
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
