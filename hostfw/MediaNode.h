#pragma once

#include "hostfw/ComPtr.h"
#include "hostfw/Export.h"
#include "hostfw/NodePin.h"

#include <QtCore/QList>
#include <QtCore/QObject>

#include <memory>
#include <vector>

// A node of the host's media graph, as QML sees it. Lives on the thread of the QML engine.
//
// Life with a host: something about a node asks for its media objects to be made (again): createRequested(). The host
// calls destroyMediaObjects(), then createMediaObjects(). The node may work on in the background; it reports with
// setStatus() and hands over topology nodes with addMfNode() and NodePin::setMfNode(). When the topology that holds
// them is built, the host calls onTopologyCreated(). Before the node goes, the host calls destroyMediaObjects().
class MULTIMEDIA_EXPORT MediaNode : public QObject
{
    Q_OBJECT

public:
    enum Status {
        Idle = 0,     // nothing made, nothing asked for
        Waiting = 1,  // asked for, but something it needs is not there yet
        Creating = 2, // media objects are being made
        Created = 3,  // media objects are there
        Error = 4     // making them failed; the next createMediaObjects() tries again
    };
    Q_ENUM(Status)

    MediaNode();
    ~MediaNode() override;

    // Whether the host has to enumerate the node's media types before it connects it. False here.
    virtual bool needEnumerateMediaTypes() const;
    // The topology that holds the node has been built. Does nothing here.
    virtual void onTopologyCreated();
    // Called by the host; every node supplies both.
    virtual void destroyMediaObjects() = 0;
    virtual void createMediaObjects() = 0;

    // The pin with that index, or null when there is none.
    NodeInput *getInput(int index) const;
    NodeOutput *getOutput(int index) const;
    int inputCount() const;
    int outputCount() const;

    Status status() const;
    // The topology nodes handed over since the host last took them; taking them empties the list.
    std::vector<CComPtr<IMFTopologyNode>> takeMfNodes();

Q_SIGNALS:
    void createRequested();
    void statusChanged();

protected:
    // Creates or removes pins at the end until there are that many.
    void setInputCount(int count);
    void setOutputCount(int count);
    // Asks the host to make the node's media objects (again). Requests that come before the host acts count as one.
    void requestCreate();
    void setStatus(MediaNode::Status status);
    void addMfNode(IMFTopologyNode *mfNode);

private:
    std::vector<std::unique_ptr<NodeInput>> m_inputs;
    std::vector<std::unique_ptr<NodeOutput>> m_outputs;
    std::vector<CComPtr<IMFTopologyNode>> m_mfNodes;
    Status m_status = Idle;
};
