#pragma once

// A sink node for scenes under test that keeps the last samples as bytes: `import Tavrin.Test 1.0`.

#include "host/monitor/SampleConsumer.h"
#include "hostfw/ComPtr.h"
#include "hostfw/MediaNode.h"

#include <QtCore/QByteArray>

#include <mfidl.h>

#include <deque>
#include <memory>
#include <mutex>

struct CollectedSample {
    QByteArray bytes;    // lines packed, top line first; or interleaved sound
    QByteArray metadata; // as it came
    LONGLONG time = 0;
    LONGLONG duration = 0;
    GUID subtype = {};
    int width = 0;
    int height = 0;
    int sampleRate = 0;
    int channels = 0;
};

// Thread-safe.
class Collector final : public host::SampleConsumer
{
public:
    explicit Collector(const GUID &majorType) : m_majorType(majorType) {}

    const GUID &majorType() const override { return m_majorType; }
    bool takes(IMFMediaType *) const override { return true; }
    void typeChanged(IMFMediaType *type) override;
    void sample(IMFSample *sample, HnsTime arrival) override;

    std::size_t count() const;
    // The last samples, oldest first.
    std::deque<CollectedSample> samples() const;

private:
    static constexpr std::size_t Kept = 10;

    const GUID m_majorType;
    mutable std::mutex m_lock; // guards what follows
    CollectedSample m_format;
    std::deque<CollectedSample> m_samples;
    std::size_t m_count = 0;
};

class CollectingSink : public MediaNode
{
    Q_OBJECT
    Q_PROPERTY(NodeInput *videoInput READ videoInput CONSTANT)
    Q_PROPERTY(NodeInput *audioInput READ audioInput CONSTANT)

public:
    CollectingSink();
    ~CollectingSink() override;

    NodeInput *videoInput() const { return getInput(0); }
    NodeInput *audioInput() const { return getInput(1); }
    const Collector &video() const { return *m_video; }
    const Collector &audio() const { return *m_audio; }

    void destroyMediaObjects() override;
    void createMediaObjects() override;

private:
    const std::shared_ptr<Collector> m_video;
    const std::shared_ptr<Collector> m_audio;
    CComPtr<IMFMediaSink> m_sink;
};
