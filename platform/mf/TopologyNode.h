#pragma once

#include "platform/mf/AttributeStore.h"

#include <mfidl.h>

#include <mutex>
#include <vector>

namespace winmedia
{

// A node of a topology. Connected nodes hold each other until they are disconnected, which a topology does with its
// nodes when it lets go of them.
// Thread-safe: connections of all nodes have one lock.
class TopologyNode final : public AttributesObject<IMFTopologyNode>
{
public:
    explicit TopologyNode(MF_TOPOLOGY_TYPE type);

    // The implementation behind an interface, or null when the node is not one of ours.
    static Ref<TopologyNode> of(IMFTopologyNode *node);
    void disconnectAll();

    // IMFTopologyNode
    STDMETHODIMP SetObject(IUnknown *object) override;
    STDMETHODIMP GetObject(IUnknown **object) override;
    STDMETHODIMP GetNodeType(MF_TOPOLOGY_TYPE *type) override;
    STDMETHODIMP GetTopoNodeID(TOPOID *id) override;
    STDMETHODIMP SetTopoNodeID(TOPOID id) override;
    STDMETHODIMP GetInputCount(DWORD *count) override;
    STDMETHODIMP GetOutputCount(DWORD *count) override;
    STDMETHODIMP ConnectOutput(DWORD outputIndex, IMFTopologyNode *node, DWORD inputIndex) override;
    STDMETHODIMP DisconnectOutput(DWORD index) override;
    STDMETHODIMP GetInput(DWORD inputIndex, IMFTopologyNode **node, DWORD *outputIndex) override;
    STDMETHODIMP GetOutput(DWORD outputIndex, IMFTopologyNode **node, DWORD *inputIndex) override;
    STDMETHODIMP SetOutputPrefType(DWORD index, IMFMediaType *type) override;
    STDMETHODIMP GetOutputPrefType(DWORD index, IMFMediaType **type) override;
    STDMETHODIMP SetInputPrefType(DWORD index, IMFMediaType *type) override;
    STDMETHODIMP GetInputPrefType(DWORD index, IMFMediaType **type) override;
    STDMETHODIMP CloneFrom(IMFTopologyNode *node) override;

private:
    // One input or output.
    struct Stream {
        Ref<IMFMediaType> preferredType;
        Ref<TopologyNode> peer; // null: not connected
        DWORD peerIndex = 0;
    };
    using Streams = std::vector<Stream>;
    using Nodes = std::vector<Ref<TopologyNode>>;

    void *findInterface(REFIID iid) override;
    bool takesInput() const { return m_type != MF_TOPOLOGY_SOURCESTREAM_NODE; }
    bool givesOutput() const { return m_type != MF_TOPOLOGY_OUTPUT_NODE; }

    // The lock must be held. References that come free are added to `freed`, to be released without it; there is room.
    static void disconnect(Streams &mine, DWORD index, Streams TopologyNode::*theirs, Nodes &freed);

    static HRESULT peerOf(const Streams &streams, DWORD index, IMFTopologyNode **node, DWORD *peerIndex);
    static HRESULT preferredType(const Streams &streams, DWORD index, IMFMediaType **type);
    static HRESULT setPreferredType(Streams &streams, DWORD index, IMFMediaType *type);

    const MF_TOPOLOGY_TYPE m_type;
    // Guarded by the lock of all connections.
    Streams m_inputs;
    Streams m_outputs;
    std::mutex m_mutex;
    // Guarded by m_mutex.
    Ref<IUnknown> m_object;
    TOPOID m_id;
};

} // namespace winmedia
