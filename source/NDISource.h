#pragma once

#include "discovery/NDIInput.h"
#include "hostfw/ComPtr.h"
#include "hostfw/MediaNode.h"
#include "source/NDISourceMF.h"
#include "source/SourceParameters.h"

#include "Processing.NDI.Interface.h"

#include <QtCore/QFutureWatcher>
#include <QtCore/QVariant>

#include <mfidl.h>

// The QML node that puts one sender into the media graph: output 0 is video, output 1 audio.
//
// Lives on the QML engine's thread. The media source is made on a thread of Qt's pool, since finding the sender takes
// any time; a newer creation or the destroy operation abandons a job through its token.
class NDISource : public MediaNode
{
    Q_OBJECT
    Q_PROPERTY(NDIInput input READ input WRITE setInput NOTIFY inputChanged)
    // Written in milliseconds, read in 100 ns units, both of them.
    Q_PROPERTY(uint probeTime READ probeTime WRITE setProbeTime NOTIFY probeTimeChanged)
    Q_PROPERTY(uint delay READ delay WRITE setDelay NOTIFY delayChanged)
    Q_PROPERTY(bool tallyProgram READ tallyProgram WRITE setTallyProgram NOTIFY tallyProgramChanged)
    Q_PROPERTY(bool tallyPreview READ tallyPreview WRITE setTallyPreview NOTIFY tallyPreviewChanged)
    Q_PROPERTY(bool hardwareSamples READ hardwareSamples WRITE setHardwareSamples NOTIFY hardwareSamplesChanged)
    Q_PROPERTY(QVariant metadata READ metadata NOTIFY metadataChanged)
    Q_PROPERTY(NodeOutput *videoOutput READ videoOutput NOTIFY videoOutputChanged)
    Q_PROPERTY(NodeOutput *audioOutput READ audioOutput NOTIFY audioOutputChanged)

public:
    // What a creation job returns. Nodes may be there in a failed result; the source is not.
    struct AsyncSourceCreationResult {
        HRESULT status = S_OK;
        CComPtr<NDISourceMF> source;
        CComPtr<IMFTopologyNode> videoNode;
        CComPtr<IMFTopologyNode> audioNode;
        QString message;
    };

    NDISource();
    ~NDISource() override;

    void destroyMediaObjects() override;
    void createMediaObjects() override;

    NDIInput input() const;
    void setInput(const NDIInput &input);
    uint probeTime() const;
    void setProbeTime(uint milliseconds);
    uint delay() const;
    void setDelay(uint milliseconds);
    bool tallyProgram() const;
    void setTallyProgram(bool on);
    bool tallyPreview() const;
    void setTallyPreview(bool on);
    bool hardwareSamples() const;
    void setHardwareSamples(bool on);
    QVariant metadata() const;
    NodeOutput *videoOutput() const;
    NodeOutput *audioOutput() const;

Q_SIGNALS:
    void inputChanged();
    void probeTimeChanged();
    void delayChanged();
    void tallyProgramChanged();
    void tallyPreviewChanged();
    void metadataChanged();
    void hardwareSamplesChanged();
    void videoOutputChanged();
    void audioOutputChanged();

protected Q_SLOTS:
    void asyncCreationFinished();
    void updateMetadata(const QByteArray &data);

private:
    void startCreation();
    void cancelPendingCreation();
    void adopt(const AsyncSourceCreationResult &result);
    void attach(IMFTopologyNode *node, NodeOutput *output);
    void sendTally();

    SourceParameters m_params;
    NDIlib_tally_t m_tally;
    CComPtr<NDISourceMF> m_source;
    QFutureWatcher<AsyncSourceCreationResult> m_watcher;
    QVariant m_metadata;
};
