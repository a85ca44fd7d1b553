// Media buffers on textures.

#include "platform/d3d11/Texture2D.h"
#include "platform/mf/PictureBuffer.h"

#include <mfapi.h>
#include <mferror.h>

#include <cstring>
#include <map>

namespace winmedia
{

namespace
{

struct GuidLess {
    bool operator()(const GUID &left, const GUID &right) const { return std::memcmp(&left, &right, sizeof(GUID)) < 0; }
};

class SurfaceBuffer : public PictureBuffer, public IMFDXGIBuffer
{
public:
    SurfaceBuffer(const Ref<Texture2D> &texture, UINT slice, bool bottomUp)
        : PictureBuffer({texture->slice(slice), texture->pitch(), false, bottomUp}, texture->shape()),
          m_texture(texture), m_slice(slice)
    {
    }

    STDMETHODIMP QueryInterface(REFIID iid, void **out) override { return PictureBuffer::QueryInterface(iid, out); }
    STDMETHODIMP_(ULONG) AddRef() override { return PictureBuffer::AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return PictureBuffer::Release(); }

    STDMETHODIMP GetResource(REFIID iid, void **out) override { return m_texture->QueryInterface(iid, out); }
    STDMETHODIMP GetSubresourceIndex(UINT *index) override
    {
        if (!index)
            return E_POINTER;
        *index = m_slice;
        return S_OK;
    }
    STDMETHODIMP GetUnknown(REFGUID key, REFIID iid, void **out) override
    {
        const std::lock_guard lock(m_attachedMutex);
        const auto entry = m_attached.find(key);
        return entry == m_attached.end() ? MF_E_NOT_FOUND : entry->second->QueryInterface(iid, out);
    }
    STDMETHODIMP SetUnknown(REFGUID key, IUnknown *object) override
    {
        const std::lock_guard lock(m_attachedMutex);
        if (!object)
            return m_attached.erase(key) ? S_OK : MF_E_NOT_FOUND;
        return m_attached.emplace(key, object).second ? S_OK : HRESULT_FROM_WIN32(ERROR_OBJECT_ALREADY_EXISTS);
    }

protected:
    void *findInterface(REFIID iid) override
    {
        if (IsEqualIID(iid, __uuidof(IMFDXGIBuffer)))
            return static_cast<IMFDXGIBuffer *>(this);
        return PictureBuffer::findInterface(iid);
    }

private:
    const Ref<Texture2D> m_texture;
    const UINT m_slice;
    std::mutex m_attachedMutex;
    std::map<GUID, Ref<IUnknown>, GuidLess> m_attached; // guarded by m_attachedMutex
};

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreateDXGISurfaceBuffer(REFIID iid, IUnknown *surface, UINT subresource, BOOL bottomUp,
                                         IMFMediaBuffer **buffer)
{
    using namespace winmedia;
    if (!buffer || !IsEqualIID(iid, __uuidof(ID3D11Texture2D)))
        return E_INVALIDARG;
    const Ref<Texture2D> texture = Texture2D::of(surface);
    if (!texture || subresource >= texture->description().ArraySize)
        return E_INVALIDARG;
    // Only pictures of one plane can be turned over.
    const bool turned = bottomUp && texture->shape().planeCount() == 1;
    *buffer = createObject<SurfaceBuffer>(texture, subresource, turned).detach();
    return *buffer ? S_OK : E_OUTOFMEMORY;
}
