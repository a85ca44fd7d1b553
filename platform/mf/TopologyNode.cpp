#include "platform/mf/TopologyNode.h"

#include <mfapi.h>
#include <mferror.h>

#include <atomic>
#include <cstdint>
#include <new>

namespace winmedia
{

namespace
{

// Streams of a node; far more than anyone connects, and few enough that an index gone wild does not eat the memory.
constexpr DWORD maxStreams = 4096;

// Answered with the object itself: tells our nodes from others'.
const IID implementationIid = {0x7c1f35a1, 0x3f0e, 0x4f0b, {0x9d, 0x7e, 0x26, 0x1b, 0x0d, 0x5a, 0x61, 0x84}};

// Guards the connections of all nodes, since each connection belongs to two. Lives as long as the process.
std::mutex &connectionsMutex()
{
    static std::mutex *const mutex = new std::mutex;
    return *mutex;
}

// Unique in the process, as long as nobody sets one.
TOPOID nextNodeId()
{
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

} // namespace

TopologyNode::TopologyNode(MF_TOPOLOGY_TYPE type) : m_type(type), m_id(nextNodeId()) {}

Ref<TopologyNode> TopologyNode::of(IMFTopologyNode *node)
{
    Ref<TopologyNode> found;
    if (node)
        node->QueryInterface(implementationIid, reinterpret_cast<void **>(found.put()));
    return found;
}

void *TopologyNode::findInterface(REFIID iid)
{
    return IsEqualIID(iid, implementationIid) ? this : AttributesObject::findInterface(iid);
}

STDMETHODIMP TopologyNode::SetObject(IUnknown *object)
{
    Ref<IUnknown> held(object); // what it replaces is released without the lock
    const std::lock_guard lock(m_mutex);
    std::swap(m_object, held);
    return S_OK;
}

STDMETHODIMP TopologyNode::GetObject(IUnknown **object)
{
    if (!object)
        return E_POINTER;
    const std::lock_guard lock(m_mutex);
    m_object.copyTo(object);
    return *object ? S_OK : E_FAIL;
}

STDMETHODIMP TopologyNode::GetNodeType(MF_TOPOLOGY_TYPE *type)
{
    if (!type)
        return E_POINTER;
    *type = m_type;
    return S_OK;
}

STDMETHODIMP TopologyNode::GetTopoNodeID(TOPOID *id)
{
    if (!id)
        return E_POINTER;
    const std::lock_guard lock(m_mutex);
    *id = m_id;
    return S_OK;
}

STDMETHODIMP TopologyNode::SetTopoNodeID(TOPOID id)
{
    const std::lock_guard lock(m_mutex);
    m_id = id;
    return S_OK;
}

STDMETHODIMP TopologyNode::GetInputCount(DWORD *count)
{
    if (!count)
        return E_POINTER;
    const std::lock_guard lock(connectionsMutex());
    *count = static_cast<DWORD>(m_inputs.size());
    return S_OK;
}

STDMETHODIMP TopologyNode::GetOutputCount(DWORD *count)
{
    if (!count)
        return E_POINTER;
    const std::lock_guard lock(connectionsMutex());
    *count = static_cast<DWORD>(m_outputs.size());
    return S_OK;
}

STDMETHODIMP TopologyNode::ConnectOutput(DWORD outputIndex, IMFTopologyNode *node, DWORD inputIndex)
{
    const Ref<TopologyNode> downstream = of(node);
    if (!downstream)
        return E_UNEXPECTED;
    if (!givesOutput() || !downstream->takesInput())
        return E_FAIL;
    if (outputIndex >= maxStreams || inputIndex >= maxStreams)
        return E_INVALIDARG;

    Nodes freed; // goes after the lock
    const std::lock_guard lock(connectionsMutex());
    try {
        freed.reserve(4);
        if (outputIndex >= m_outputs.size())
            m_outputs.resize(outputIndex + 1);
        if (inputIndex >= downstream->m_inputs.size())
            downstream->m_inputs.resize(inputIndex + 1);
    } catch (const std::bad_alloc &) {
        return E_OUTOFMEMORY;
    }
    disconnect(m_outputs, outputIndex, &TopologyNode::m_inputs, freed);
    disconnect(downstream->m_inputs, inputIndex, &TopologyNode::m_outputs, freed);
    m_outputs[outputIndex].peer = downstream;
    m_outputs[outputIndex].peerIndex = inputIndex;
    downstream->m_inputs[inputIndex].peer = Ref<TopologyNode>(this);
    downstream->m_inputs[inputIndex].peerIndex = outputIndex;
    return S_OK;
}

STDMETHODIMP TopologyNode::DisconnectOutput(DWORD index)
{
    Nodes freed; // goes after the lock
    const std::lock_guard lock(connectionsMutex());
    if (index >= m_outputs.size())
        return E_INVALIDARG;
    if (!m_outputs[index].peer)
        return MF_E_NOT_FOUND;
    try {
        freed.reserve(2);
    } catch (const std::bad_alloc &) {
        return E_OUTOFMEMORY;
    }
    disconnect(m_outputs, index, &TopologyNode::m_inputs, freed);
    return S_OK;
}

void TopologyNode::disconnectAll()
{
    Nodes freed; // goes after the lock
    const std::lock_guard lock(connectionsMutex());
    freed.reserve(2 * (m_inputs.size() + m_outputs.size()));
    for (DWORD index = 0; index < m_outputs.size(); ++index)
        disconnect(m_outputs, index, &TopologyNode::m_inputs, freed);
    for (DWORD index = 0; index < m_inputs.size(); ++index)
        disconnect(m_inputs, index, &TopologyNode::m_outputs, freed);
}

void TopologyNode::disconnect(Streams &mine, DWORD index, Streams TopologyNode::*theirs, Nodes &freed)
{
    Stream &stream = mine[index];
    if (!stream.peer)
        return;
    Stream &other = ((*stream.peer.get()).*theirs)[stream.peerIndex];
    freed.push_back(std::move(other.peer));
    freed.push_back(std::move(stream.peer));
}

STDMETHODIMP TopologyNode::GetInput(DWORD inputIndex, IMFTopologyNode **node, DWORD *outputIndex)
{
    return peerOf(m_inputs, inputIndex, node, outputIndex);
}

STDMETHODIMP TopologyNode::GetOutput(DWORD outputIndex, IMFTopologyNode **node, DWORD *inputIndex)
{
    return peerOf(m_outputs, outputIndex, node, inputIndex);
}

HRESULT TopologyNode::peerOf(const Streams &streams, DWORD index, IMFTopologyNode **node, DWORD *peerIndex)
{
    if (!node || !peerIndex)
        return E_POINTER;
    *node = nullptr;
    const std::lock_guard lock(connectionsMutex());
    if (index >= streams.size())
        return E_INVALIDARG;
    if (!streams[index].peer)
        return MF_E_NOT_FOUND;
    *node = Ref<TopologyNode>(streams[index].peer).detach();
    *peerIndex = streams[index].peerIndex;
    return S_OK;
}

STDMETHODIMP TopologyNode::SetOutputPrefType(DWORD index, IMFMediaType *type)
{
    return givesOutput() ? setPreferredType(m_outputs, index, type) : E_NOTIMPL;
}

STDMETHODIMP TopologyNode::GetOutputPrefType(DWORD index, IMFMediaType **type)
{
    return preferredType(m_outputs, index, type);
}

STDMETHODIMP TopologyNode::SetInputPrefType(DWORD index, IMFMediaType *type)
{
    if (!takesInput())
        return E_NOTIMPL;
    if (m_type == MF_TOPOLOGY_TEE_NODE && index > 0)
        return MF_E_INVALIDTYPE;
    return setPreferredType(m_inputs, index, type);
}

STDMETHODIMP TopologyNode::GetInputPrefType(DWORD index, IMFMediaType **type)
{
    return preferredType(m_inputs, index, type);
}

HRESULT TopologyNode::setPreferredType(Streams &streams, DWORD index, IMFMediaType *type)
{
    if (index >= maxStreams)
        return E_INVALIDARG;
    Ref<IMFMediaType> held(type); // what it replaces is released without the lock
    const std::lock_guard lock(connectionsMutex());
    try {
        if (index >= streams.size())
            streams.resize(index + 1);
    } catch (const std::bad_alloc &) {
        return E_OUTOFMEMORY;
    }
    std::swap(streams[index].preferredType, held);
    return S_OK;
}

HRESULT TopologyNode::preferredType(const Streams &streams, DWORD index, IMFMediaType **type)
{
    if (!type)
        return E_POINTER;
    *type = nullptr;
    const std::lock_guard lock(connectionsMutex());
    if (index >= streams.size())
        return E_INVALIDARG;
    streams[index].preferredType.copyTo(type);
    return *type ? S_OK : E_FAIL;
}

// Takes over all but the connections.
STDMETHODIMP TopologyNode::CloneFrom(IMFTopologyNode *node)
{
    const Ref<TopologyNode> original = of(node);
    if (!original)
        return E_POINTER;
    if (original->m_type != m_type)
        return MF_E_INVALIDREQUEST;
    if (original.get() == this)
        return S_OK;

    Ref<IUnknown> object;
    original->GetObject(object.put());
    SetObject(object.get());
    TOPOID id = 0;
    original->GetTopoNodeID(&id);
    SetTopoNodeID(id);

    std::vector<Ref<IMFMediaType>> inputTypes;
    std::vector<Ref<IMFMediaType>> outputTypes;
    try {
        const std::lock_guard lock(connectionsMutex());
        for (const Stream &stream : original->m_inputs)
            inputTypes.push_back(stream.preferredType);
        for (const Stream &stream : original->m_outputs)
            outputTypes.push_back(stream.preferredType);
    } catch (const std::bad_alloc &) {
        return E_OUTOFMEMORY;
    }
    for (DWORD index = 0; index < inputTypes.size(); ++index)
        setPreferredType(m_inputs, index, inputTypes[index].get());
    for (DWORD index = 0; index < outputTypes.size(); ++index)
        setPreferredType(m_outputs, index, outputTypes[index].get());
    return original->CopyAllItems(this);
}

} // namespace winmedia

HRESULT WINAPI MFCreateTopologyNode(MF_TOPOLOGY_TYPE type, IMFTopologyNode **node)
{
    if (!node)
        return E_POINTER;
    *node = winmedia::createObject<winmedia::TopologyNode>(type).detach();
    return *node ? S_OK : E_OUTOFMEMORY;
}
