#pragma once

#include "hostfw/ComPtr.h"
#include "hostfw/Export.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>

#include <mfidl.h>

class MediaNode;
class NodeInput;
class NodeOutput;

// A place of a node where a connection ends. Pins are made by their node, live as long as it does and are used on its
// thread only.
class MULTIMEDIA_EXPORT NodePin : public QObject
{
    Q_OBJECT

public:
    NodePin(MediaNode *node, int index);
    ~NodePin() override;

    MediaNode *node() const;
    // The pin's place among the node's inputs or outputs, from 0.
    int index() const;

    // Binds a topology node, and the index of its stream that this pin stands for, to the pin; null unbinds.
    void setMfNode(IMFTopologyNode *mfNode, int streamIndex);
    IMFTopologyNode *mfNode() const;
    int mfStreamIndex() const;

private:
    MediaNode *m_node;
    int m_index;
    CComPtr<IMFTopologyNode> m_mfNode;
    int m_mfStreamIndex = 0;
};

// Takes the stream of one upstream output.
class MULTIMEDIA_EXPORT NodeInput : public NodePin
{
    Q_OBJECT

public:
    NodeInput(MediaNode *node, int index);
    ~NodeInput() override;

    // The upstream pin, or null.
    NodeOutput *getConnectedOutput() const;
    // The media type negotiated on the connection, or null; no reference is added.
    IMFMediaType *getConnectedMfMediaType() const;
    // The host's side: what was negotiated; null when the connection goes.
    void setConnectedMfMediaType(IMFMediaType *type);

Q_SIGNALS:
    void connectedOutputChanged();

private:
    friend class NodeOutput;
    QPointer<NodeOutput> m_output;
    CComPtr<IMFMediaType> m_type;
};

// Gives a stream to one downstream input.
class MULTIMEDIA_EXPORT NodeOutput : public NodePin
{
    Q_OBJECT

public:
    NodeOutput(MediaNode *node, int index);
    ~NodeOutput() override;

    // The downstream pin, or null.
    NodeInput *getConnectedInput() const;
    // The host's side. Both pins lose the connections they had; null disconnects.
    void connectTo(NodeInput *input);

Q_SIGNALS:
    void connectedInputChanged();

private:
    friend class NodeInput;
    QPointer<NodeInput> m_input;
};
