#include "platform/mf/AttributeStore.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

namespace winmedia
{

namespace
{

// Identifiers are unique in the process, as long as nobody sets one.
TOPOID nextId()
{
    static std::atomic<std::uint64_t> counter{1};
    return counter++;
}

// A node that stands for an object of the pipeline. Connections to other nodes belong to topologies, which this
// platform does not build: those operations are not implemented.
class TopologyNode : public AttributesObject<IMFTopologyNode>
{
public:
    explicit TopologyNode(MF_TOPOLOGY_TYPE type) : m_type(type) {}

    STDMETHODIMP SetObject(IUnknown *object) override
    {
        const std::lock_guard lock(m_mutex);
        m_object = object;
        return S_OK;
    }
    STDMETHODIMP GetObject(IUnknown **object) override
    {
        if (!object)
            return E_POINTER;
        const std::lock_guard lock(m_mutex);
        m_object.copyTo(object);
        return m_object ? S_OK : E_FAIL;
    }
    STDMETHODIMP GetNodeType(MF_TOPOLOGY_TYPE *type) override
    {
        if (!type)
            return E_POINTER;
        *type = m_type;
        return S_OK;
    }
    STDMETHODIMP GetTopoNodeID(TOPOID *id) override
    {
        if (!id)
            return E_POINTER;
        const std::lock_guard lock(m_mutex);
        *id = m_id;
        return S_OK;
    }
    STDMETHODIMP SetTopoNodeID(TOPOID id) override
    {
        const std::lock_guard lock(m_mutex);
        m_id = id;
        return S_OK;
    }
    STDMETHODIMP GetInputCount(DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP GetOutputCount(DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP ConnectOutput(DWORD, IMFTopologyNode *, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP DisconnectOutput(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP GetInput(DWORD, IMFTopologyNode **, DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP GetOutput(DWORD, IMFTopologyNode **, DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP SetOutputPrefType(DWORD, IMFMediaType *) override { return E_NOTIMPL; }
    STDMETHODIMP GetOutputPrefType(DWORD, IMFMediaType **) override { return E_NOTIMPL; }
    STDMETHODIMP SetInputPrefType(DWORD, IMFMediaType *) override { return E_NOTIMPL; }
    STDMETHODIMP GetInputPrefType(DWORD, IMFMediaType **) override { return E_NOTIMPL; }
    STDMETHODIMP CloneFrom(IMFTopologyNode *) override { return E_NOTIMPL; }

private:
    const MF_TOPOLOGY_TYPE m_type;
    std::mutex m_mutex;
    Ref<IUnknown> m_object; // guarded by m_mutex
    TOPOID m_id = nextId(); // guarded by m_mutex
};

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreateTopologyNode(MF_TOPOLOGY_TYPE type, IMFTopologyNode **node)
{
    if (!node)
        return E_POINTER;
    *node = winmedia::createObject<winmedia::TopologyNode>(type).detach();
    return *node ? S_OK : E_OUTOFMEMORY;
}
