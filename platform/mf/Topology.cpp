#include "platform/mf/TopologyNode.h"

#include <mfapi.h>
#include <mferror.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <new>

namespace winmedia
{

namespace
{

TOPOID nextTopologyId()
{
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

TOPOID idOf(IMFTopologyNode *node)
{
    TOPOID id = 0;
    node->GetTopoNodeID(&id);
    return id;
}

// A set of nodes, each with an identifier of its own. Nodes are disconnected when the topology lets go of them.
// Thread-safe.
class Topology final : public AttributesObject<IMFTopology>
{
public:
    ~Topology() override { Clear(); }

    // IMFTopology
    STDMETHODIMP GetTopologyID(TOPOID *id) override;
    STDMETHODIMP AddNode(IMFTopologyNode *node) override;
    STDMETHODIMP RemoveNode(IMFTopologyNode *node) override;
    STDMETHODIMP GetNodeCount(WORD *count) override;
    STDMETHODIMP GetNode(WORD index, IMFTopologyNode **node) override;
    STDMETHODIMP Clear() override;
    STDMETHODIMP CloneFrom(IMFTopology *topology) override;
    STDMETHODIMP GetNodeByID(TOPOID id, IMFTopologyNode **node) override;
    STDMETHODIMP GetSourceNodeCollection(IMFCollection **collection) override;
    STDMETHODIMP GetOutputNodeCollection(IMFCollection **collection) override;

private:
    using Nodes = std::vector<Ref<TopologyNode>>;

    // The lock must be held.
    Nodes::iterator findById(TOPOID id);
    HRESULT collect(MF_TOPOLOGY_TYPE type, IMFCollection **collection);
    static HRESULT connectAsIn(IMFTopology *original, const Nodes &copies);

    const TOPOID m_id = nextTopologyId();
    std::mutex m_mutex;
    Nodes m_nodes; // guarded by m_mutex, under which the nodes' locks may be taken
};

STDMETHODIMP Topology::GetTopologyID(TOPOID *id)
{
    if (!id)
        return E_POINTER;
    *id = m_id;
    return S_OK;
}

STDMETHODIMP Topology::AddNode(IMFTopologyNode *node)
{
    if (!node)
        return E_POINTER;
    Ref<TopologyNode> added = TopologyNode::of(node);
    if (!added)
        return E_INVALIDARG;
    const std::lock_guard lock(m_mutex);
    if (findById(idOf(node)) != m_nodes.end())
        return E_INVALIDARG;
    if (m_nodes.size() >= 0xffff) // more cannot be counted
        return E_OUTOFMEMORY;
    try {
        m_nodes.push_back(added);
    } catch (const std::bad_alloc &) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

STDMETHODIMP Topology::RemoveNode(IMFTopologyNode *node)
{
    Ref<TopologyNode> removed;
    {
        const std::lock_guard lock(m_mutex);
        const auto found =
            std::find_if(m_nodes.begin(), m_nodes.end(), [node](const auto &known) { return known.get() == node; });
        if (found == m_nodes.end())
            return E_INVALIDARG;
        removed = std::move(*found);
        m_nodes.erase(found);
    }
    removed->disconnectAll();
    return S_OK;
}

STDMETHODIMP Topology::GetNodeCount(WORD *count)
{
    if (!count)
        return E_POINTER;
    const std::lock_guard lock(m_mutex);
    *count = static_cast<WORD>(m_nodes.size());
    return S_OK;
}

STDMETHODIMP Topology::GetNode(WORD index, IMFTopologyNode **node)
{
    if (!node)
        return E_POINTER;
    *node = nullptr;
    const std::lock_guard lock(m_mutex);
    if (index >= m_nodes.size())
        return MF_E_INVALIDINDEX;
    *node = Ref<TopologyNode>(m_nodes[index]).detach();
    return S_OK;
}

STDMETHODIMP Topology::Clear()
{
    Nodes removed;
    {
        const std::lock_guard lock(m_mutex);
        removed.swap(m_nodes);
    }
    for (const Ref<TopologyNode> &node : removed)
        node->disconnectAll();
    return S_OK;
}

// The nodes are copied, with their identifiers, and connected as the originals are among themselves.
STDMETHODIMP Topology::CloneFrom(IMFTopology *topology)
{
    if (!topology)
        return E_POINTER;
    if (topology == this)
        return S_OK;
    WORD count = 0;
    topology->GetNodeCount(&count);
    Nodes copies;
    for (WORD index = 0; index < count; ++index) {
        Ref<IMFTopologyNode> original;
        MF_TOPOLOGY_TYPE type = MF_TOPOLOGY_MAX;
        HRESULT hr = topology->GetNode(index, original.put());
        if (FAILED(hr))
            return hr;
        original->GetNodeType(&type);
        const auto copy = createObject<TopologyNode>(type);
        hr = copy ? copy->CloneFrom(original.get()) : E_OUTOFMEMORY;
        if (FAILED(hr))
            return hr;
        try {
            copies.push_back(copy);
        } catch (const std::bad_alloc &) {
            return E_OUTOFMEMORY;
        }
    }
    const HRESULT hr = connectAsIn(topology, copies);
    Clear();
    {
        const std::lock_guard lock(m_mutex);
        m_nodes.swap(copies);
    }
    return SUCCEEDED(hr) ? topology->CopyAllItems(this) : hr;
}

HRESULT Topology::connectAsIn(IMFTopology *original, const Nodes &copies)
{
    for (const Ref<TopologyNode> &copy : copies) {
        Ref<IMFTopologyNode> node;
        DWORD outputs = 0;
        if (SUCCEEDED(original->GetNodeByID(idOf(copy.get()), node.put())))
            node->GetOutputCount(&outputs);
        for (DWORD output = 0; output < outputs; ++output) {
            Ref<IMFTopologyNode> downstream;
            DWORD input = 0;
            if (FAILED(node->GetOutput(output, downstream.put(), &input)))
                continue;
            const auto peer = std::find_if(copies.begin(), copies.end(), [&](const auto &other) {
                return idOf(other.get()) == idOf(downstream.get());
            });
            const HRESULT hr = peer == copies.end() ? S_OK : copy->ConnectOutput(output, peer->get(), input);
            if (FAILED(hr))
                return hr;
        }
    }
    return S_OK;
}

STDMETHODIMP Topology::GetNodeByID(TOPOID id, IMFTopologyNode **node)
{
    if (!node)
        return E_POINTER;
    *node = nullptr;
    const std::lock_guard lock(m_mutex);
    const auto found = findById(id);
    if (found == m_nodes.end())
        return MF_E_NOT_FOUND;
    *node = Ref<TopologyNode>(*found).detach();
    return S_OK;
}

STDMETHODIMP Topology::GetSourceNodeCollection(IMFCollection **collection)
{
    return collect(MF_TOPOLOGY_SOURCESTREAM_NODE, collection);
}

STDMETHODIMP Topology::GetOutputNodeCollection(IMFCollection **collection)
{
    return collect(MF_TOPOLOGY_OUTPUT_NODE, collection);
}

Topology::Nodes::iterator Topology::findById(TOPOID id)
{
    return std::find_if(m_nodes.begin(), m_nodes.end(), [id](const auto &node) { return idOf(node.get()) == id; });
}

HRESULT Topology::collect(MF_TOPOLOGY_TYPE type, IMFCollection **collection)
{
    if (!collection)
        return E_POINTER;
    *collection = nullptr;
    Ref<IMFCollection> found;
    HRESULT hr = MFCreateCollection(found.put());
    const std::lock_guard lock(m_mutex);
    for (const Ref<TopologyNode> &node : m_nodes) {
        MF_TOPOLOGY_TYPE nodeType = MF_TOPOLOGY_MAX;
        node->GetNodeType(&nodeType);
        if (SUCCEEDED(hr) && nodeType == type)
            hr = found->AddElement(node.get());
    }
    if (SUCCEEDED(hr))
        *collection = found.detach();
    return hr;
}

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreateTopology(IMFTopology **topology)
{
    if (!topology)
        return E_POINTER;
    *topology = winmedia::createObject<winmedia::Topology>().detach();
    return *topology ? S_OK : E_OUTOFMEMORY;
}
