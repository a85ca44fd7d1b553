#include "platform/d3d11/ImmediateContext.h"

#include "platform/d3d11/Texture2D.h"

namespace winmedia
{

namespace
{

class Entered
{
public:
    explicit Entered(DeviceLock &lock) : m_lock(lock) { m_lock.enter(); }
    Entered(const Entered &) = delete;
    Entered &operator=(const Entered &) = delete;
    ~Entered() { m_lock.leave(); }

private:
    DeviceLock &m_lock;
};

bool isWritableByCopy(const Texture2D &texture)
{
    return texture.description().Usage != D3D11_USAGE_IMMUTABLE;
}

// Such commands have no result: what cannot be done is left undone.
void copyPart(Texture2D &destination, UINT destinationSlice, UINT x, UINT y, const Texture2D &source, UINT sourceSlice,
              const D3D11_BOX *part)
{
    const D3D11_TEXTURE2D_DESC &from = source.description();
    const D3D11_TEXTURE2D_DESC &to = destination.description();
    const bool isSamePicture = &destination == &source && destinationSlice == sourceSlice;
    if (from.Format != to.Format || sourceSlice >= from.ArraySize || destinationSlice >= to.ArraySize ||
        isSamePicture || !isWritableByCopy(destination))
        return;
    const D3D11_BOX whole = {0, 0, 0, from.Width, from.Height, 1};
    if (part && part->right > from.Width)
        return;
    destination.write(destinationSlice, x, y, source.slice(sourceSlice), source.pitch(), from.Height,
                      part ? *part : whole);
}

} // namespace

STDMETHODIMP ImmediateContext::QueryInterface(REFIID iid, void **out)
{
    if (!out)
        return E_POINTER;
    *out = nullptr;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, __uuidof(ID3D11DeviceContext)) ||
        IsEqualIID(iid, __uuidof(ID3D11DeviceChild)))
        *out = static_cast<ID3D11DeviceContext *>(this);
    else if (IsEqualIID(iid, __uuidof(ID3D11Multithread)))
        *out = static_cast<ID3D11Multithread *>(this);
    if (!*out)
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

STDMETHODIMP_(void) ImmediateContext::GetDevice(ID3D11Device **device)
{
    *device = &m_device;
    m_device.AddRef();
}

STDMETHODIMP ImmediateContext::Map(ID3D11Resource *resource, UINT subresource, D3D11_MAP kind, UINT /*flags*/,
                                   D3D11_MAPPED_SUBRESOURCE *mapped)
{
    const Ref<Texture2D> texture = Texture2D::of(resource);
    if (!texture || !mapped || subresource >= texture->description().ArraySize || !texture->allows(kind))
        return E_INVALIDARG;
    *mapped = {texture->slice(subresource), texture->pitch(), static_cast<UINT>(texture->sliceSize())};
    return S_OK;
}

STDMETHODIMP_(void)
ImmediateContext::CopySubresourceRegion(ID3D11Resource *destination, UINT destinationIndex, UINT x, UINT y, UINT z,
                                        ID3D11Resource *source, UINT sourceIndex, const D3D11_BOX *part)
{
    const Ref<Texture2D> to = Texture2D::of(destination);
    const Ref<Texture2D> from = Texture2D::of(source);
    if (!to || !from || z != 0)
        return;
    const Entered entered(m_lock);
    copyPart(*to.get(), destinationIndex, x, y, *from.get(), sourceIndex, part);
}

STDMETHODIMP_(void) ImmediateContext::CopyResource(ID3D11Resource *destination, ID3D11Resource *source)
{
    const Ref<Texture2D> to = Texture2D::of(destination);
    const Ref<Texture2D> from = Texture2D::of(source);
    if (!to || !from)
        return;
    const D3D11_TEXTURE2D_DESC &mine = to->description();
    const D3D11_TEXTURE2D_DESC &theirs = from->description();
    if (mine.Width != theirs.Width || mine.Height != theirs.Height || mine.ArraySize != theirs.ArraySize)
        return;
    const Entered entered(m_lock);
    for (UINT slice = 0; slice < mine.ArraySize; ++slice)
        copyPart(*to.get(), slice, 0, 0, *from.get(), slice, nullptr);
}

STDMETHODIMP_(void)
ImmediateContext::UpdateSubresource(ID3D11Resource *resource, UINT subresource, const D3D11_BOX *part, const void *data,
                                    UINT pitch, UINT /*depthPitch*/)
{
    const Ref<Texture2D> texture = Texture2D::of(resource);
    if (!texture || !data || subresource >= texture->description().ArraySize || !isWritableByCopy(*texture.get()) ||
        texture->description().Usage == D3D11_USAGE_DYNAMIC)
        return;
    const D3D11_TEXTURE2D_DESC &description = texture->description();
    D3D11_BOX area = {0, 0, 0, description.Width, description.Height, 1};
    if (part)
        area = *part;
    if (area.left >= area.right || area.top >= area.bottom)
        return;
    const UINT height = area.bottom - area.top;
    const D3D11_BOX whole = {0, 0, 0, area.right - area.left, height, 1};
    const Entered entered(m_lock);
    texture->write(subresource, area.left, area.top, static_cast<const BYTE *>(data), pitch, height, whole);
}

} // namespace winmedia
