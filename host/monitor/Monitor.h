#pragma once

#include "host/monitor/AudioConsumer.h"
#include "host/monitor/VideoConsumer.h"

#include "hostfw/ComPtr.h"
#include "hostfw/MediaNode.h"

#include <QtCore/QTimer>
#include <QtCore/QVariant>

#include <mfidl.h>

#include <memory>

namespace host
{

// A sink node that measures what reaches it. `video` and `audio` hold the figures under the keys of host/README.md;
// they are renewed four times a second and keep counting when the graph makes the monitor's source, or the monitor
// itself, anew. Lives on the QML thread; the consumers do their work on the threads of the media sink.
class Monitor : public MediaNode
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(NodeInput *videoInput READ videoInput CONSTANT)
    Q_PROPERTY(NodeInput *audioInput READ audioInput CONSTANT)
    Q_PROPERTY(QVariantMap video READ video NOTIFY figuresChanged)
    Q_PROPERTY(QVariantMap audio READ audio NOTIFY figuresChanged)
    Q_PROPERTY(double avOffset READ avOffset NOTIFY figuresChanged)
    Q_PROPERTY(QVariant metadata READ metadata NOTIFY metadataChanged)
    Q_PROPERTY(QString recordVideo READ recordVideo WRITE setRecordVideo NOTIFY recordVideoChanged)
    Q_PROPERTY(QString recordAudio READ recordAudio WRITE setRecordAudio NOTIFY recordAudioChanged)

public:
    Monitor();
    ~Monitor() override;

    // What the status line and the report call this monitor.
    QString name() const { return m_name; }
    void setName(const QString &name);
    NodeInput *videoInput() const { return getInput(0); }
    NodeInput *audioInput() const { return getInput(1); }
    QVariantMap video() const;
    QVariantMap audio() const;
    // Milliseconds by which video arrives later than the sound of the same time; 0 unless both are there.
    double avOffset() const;
    // The value that rode on the last frame with metadata; invalid when none did, or it was none that scenes can read.
    QVariant metadata() const { return m_metadata; }
    // Where to record: a .y4m and a .wav file. Empty: no recording.
    QString recordVideo() const { return m_recordVideo; }
    void setRecordVideo(const QString &path);
    QString recordAudio() const { return m_recordAudio; }
    void setRecordAudio(const QString &path);

    // Writes the last picture to a PNG file. False when there is none or the file cannot be written.
    Q_INVOKABLE bool snapshot(const QString &path) const;
    QImage lastPicture() const { return m_videoConsumer->lastPicture(); }
    VideoFigures videoFigures() const { return m_videoConsumer->figures(); }
    AudioFigures audioFigures() const { return m_audioConsumer->figures(); }

    void destroyMediaObjects() override;
    void createMediaObjects() override;

Q_SIGNALS:
    void nameChanged();
    void figuresChanged();
    void metadataChanged();
    void recordVideoChanged();
    void recordAudioChanged();

private:
    HRESULT create();
    HRESULT createOutputNode(NodeInput *input, DWORD streamIndex);
    void refresh();

    const std::shared_ptr<VideoConsumer> m_videoConsumer;
    const std::shared_ptr<AudioConsumer> m_audioConsumer;
    CComPtr<IMFMediaSink> m_sink;
    QTimer m_refresh;
    QString m_name;
    QVariant m_metadata;
    QByteArray m_metadataBytes;
    QString m_recordVideo;
    QString m_recordAudio;
};

} // namespace host
