#pragma once

#include "hostfw/ComPtr.h"
#include "hostfw/MediaNode.h"
#include "sink/NDISinkMF.h"
#include "sink/NDISinkParams.h"

#include <QtCore/QFutureWatcher>
#include <QtCore/QVariant>

#include <mfidl.h>

// The QML node that publishes what reaches it as one sender: input 0 is video, input 1 audio.
//
// Lives on the QML engine's thread. The media sink is made on a thread of Qt's pool, for as many inputs as carry a
// media type; the job's result is attached here. A node without a name makes nothing.
class NDISink : public MediaNode
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    // Sent as a metadata frame, to the sender that is there and to every one made later.
    Q_PROPERTY(QVariant metadata READ metadata WRITE setMetadata NOTIFY metadataChanged)
    Q_PROPERTY(NodeInput *videoInput READ videoInput CONSTANT)
    Q_PROPERTY(NodeInput *audioInput READ audioInput CONSTANT)

public:
    // What a creation job returns: on failure the code and the message alone.
    struct AsyncCreationResult {
        HRESULT hr = S_OK;
        CComPtr<NDISinkMF> sink;
        CComPtr<IMFTopologyNode> videoNode;
        CComPtr<IMFTopologyNode> audioNode;
        QString error;
    };

    NDISink();
    // Waits for no job; its result is dropped.
    ~NDISink() override;

    void destroyMediaObjects() override;
    void createMediaObjects() override;

    QString name() const;
    void setName(const QString &name);
    QVariant metadata() const;
    void setMetadata(const QVariant &metadata);
    NodeInput *videoInput() const;
    NodeInput *audioInput() const;

Q_SIGNALS:
    void outputChanged();
    void nameChanged();
    void metadataChanged();

private Q_SLOTS:
    void asyncSinkCreated();

private:
    void startCreation();
    void adopt(const AsyncCreationResult &result);
    void attach(IMFTopologyNode *node, NodeInput *input);
    void sendMetadata();

    NDISinkParams m_params;
    QVariant m_metadata;
    CComPtr<NDISinkMF> m_sink;
    QFutureWatcher<AsyncCreationResult> m_watcher;
};
