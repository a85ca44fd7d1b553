#pragma once

// Nodes whose behaviour a test writes down: a source that follows a script, one that searches for its sender first, and
// a sink that keeps what it is given.

#include "host/monitor/SampleConsumer.h"
#include "hostfw/ComPtr.h"
#include "hostfw/MediaNode.h"

#include <QtCore/QMetaType>
#include <QtCore/QString>

#include <mfidl.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// An RGB32 type of that size.
CComPtr<IMFMediaType> pictureType(UINT32 width, UINT32 height);
CComPtr<IMFMediaType> soundType(UINT32 channels);

// What a scripted stream does at a request: a sample of that time, a type change and the next step, the end, a failure.
struct ScriptStep {
    enum Kind { Sample, TypeChange, End, Fail } kind = Sample;
    LONGLONG time = 0;
    CComPtr<IMFMediaType> type;
    LONGLONG duration = 0; // of a sample; none if 0
};

// A source node with a video and an audio output. From its first creation on it asks to be made anew whenever one of
// them is connected to something else. Every source it makes begins the scripts anew; a script that is over goes on
// with samples behind it, one second apart, for as long as any are asked for.
class ScriptedSource : public MediaNode
{
    Q_OBJECT

public:
    ScriptedSource();
    ~ScriptedSource() override;

    NodeOutput *video() const { return getOutput(0); }
    NodeOutput *audio() const { return getOutput(1); }

    std::vector<ScriptStep> videoScript;
    std::vector<ScriptStep> audioScript;
    CComPtr<IMFMediaType> videoType = pictureType(64, 32);
    CComPtr<IMFMediaType> audioType = soundType(2);
    bool live = false;
    bool fails = false; // createMediaObjects() ends in Error

    int created = 0;
    int destroyed = 0;
    int topologies = 0;
    // The media source of now, or null.
    IMFMediaSource *source() const { return m_source; }
    void ask() { requestCreate(); }

    void onTopologyCreated() override { ++topologies; }
    void destroyMediaObjects() override;
    void createMediaObjects() override;

private:
    CComPtr<IMFMediaSource> m_source;
};

// What names a sender in QML.
class FakeInput
{
    Q_GADGET
    Q_PROPERTY(QString name MEMBER name)

public:
    QString name;
};
Q_DECLARE_METATYPE(FakeInput)

// A scripted source that makes nothing while its input has no name, and waits for its sender before it is created.
class SearchingSource : public ScriptedSource
{
    Q_OBJECT
    Q_PROPERTY(FakeInput input READ input WRITE setInput NOTIFY inputChanged)
    Q_PROPERTY(NodeOutput *videoOutput READ video CONSTANT)
    Q_PROPERTY(NodeOutput *audioOutput READ audio CONSTANT)

public:
    FakeInput input() const { return m_input; }
    void setInput(const FakeInput &input);
    Q_INVOKABLE FakeInput named(const QString &name) const { return {name}; }

    // Creations that never hear the sender before one does.
    int deafCreations = 0;

    void createMediaObjects() override;

Q_SIGNALS:
    void inputChanged();

private:
    FakeInput m_input;
};

// Keeps the order in which types and the first ten thousand samples came. Thread-safe.
class KeepingConsumer final : public host::SampleConsumer
{
public:
    explicit KeepingConsumer(const GUID &majorType) : m_majorType(majorType) {}

    const GUID &majorType() const override { return m_majorType; }
    bool takes(IMFMediaType *type) const override;
    void typeChanged(IMFMediaType *type) override;
    void sample(IMFSample *sample, HnsTime arrival) override;

    // "type 64" (width or channels), "sample 40" (milliseconds), in order.
    std::vector<std::string> log() const;
    std::size_t samples() const;
    // Types wider than that are turned down.
    void takeUpTo(UINT32 width);

private:
    const GUID m_majorType;
    mutable std::mutex m_lock; // guards what follows
    std::vector<std::string> m_log;
    std::size_t m_samples = 0;
    UINT32 m_widest = UINT32_MAX;
};

// A sink node with a video and an audio input on the monitor's media sink.
class KeepingSink : public MediaNode
{
    Q_OBJECT

public:
    KeepingSink();
    ~KeepingSink() override;

    NodeInput *video() const { return getInput(0); }
    NodeInput *audio() const { return getInput(1); }
    KeepingConsumer &pictures() const { return *m_pictures; }
    KeepingConsumer &sound() const { return *m_sound; }

    int created = 0;
    int destroyed = 0;
    int topologies = 0;
    // How often the node answers createMediaObjects() with Error before it creates anything.
    int failures = 0;
    // Whether creation ends with a call of finish() only.
    bool takesItsTime = false;
    void finish();
    void ask() { requestCreate(); }

    void onTopologyCreated() override { ++topologies; }
    void destroyMediaObjects() override;
    void createMediaObjects() override;

private:
    const std::shared_ptr<KeepingConsumer> m_pictures;
    const std::shared_ptr<KeepingConsumer> m_sound;
    CComPtr<IMFMediaSink> m_sink;
};
