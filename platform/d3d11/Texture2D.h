#pragma once

#include "platform/com/AlignedMemory.h"
#include "platform/com/ComObject.h"
#include "platform/mf/ImageFormats.h"

#include <d3d11.h>
#include <dxgi.h>

#include <atomic>

namespace winmedia
{

// The format as media buffers name it; null if there are no textures of it.
const ImageFormat *findTextureFormat(DXGI_FORMAT format);

// Textures in system memory: slices of one mip level each, in a slice all planes one behind the other at the same
// pitch. A texture with one slice is a DXGI surface too.
class Texture2D final : public ComObject<ID3D11Texture2D, IDXGISurface>
{
public:
    // Null if the object is no texture of this library.
    static Ref<Texture2D> of(IUnknown *object);
    // `data` is null or has one entry for each slice. The description has been checked.
    static HRESULT create(ID3D11Device *device, const D3D11_TEXTURE2D_DESC &description,
                          const D3D11_SUBRESOURCE_DATA *data, ID3D11Texture2D **texture);

    Texture2D(ID3D11Device *device, const D3D11_TEXTURE2D_DESC &description, const ImageFormat &format, UINT pitch,
              AlignedMemory memory);

    // ID3D11DeviceChild and IDXGIObject
    STDMETHODIMP_(void) GetDevice(ID3D11Device **device) override { m_device.copyTo(device); }
    STDMETHODIMP GetPrivateData(REFGUID, UINT *, void *) override { return E_NOTIMPL; }
    STDMETHODIMP SetPrivateData(REFGUID, UINT, const void *) override { return E_NOTIMPL; }
    STDMETHODIMP SetPrivateDataInterface(REFGUID, const IUnknown *) override { return E_NOTIMPL; }
    STDMETHODIMP GetParent(REFIID, void **) override { return E_NOTIMPL; }
    // ID3D11Resource
    STDMETHODIMP_(void) GetType(D3D11_RESOURCE_DIMENSION *dimension) override;
    STDMETHODIMP_(void) SetEvictionPriority(UINT priority) override { m_evictionPriority = priority; }
    STDMETHODIMP_(UINT) GetEvictionPriority() override { return m_evictionPriority; }
    // ID3D11Texture2D
    STDMETHODIMP_(void) GetDesc(D3D11_TEXTURE2D_DESC *description) override { *description = m_description; }
    // IDXGIDeviceSubObject
    STDMETHODIMP GetDevice(REFIID iid, void **device) override { return m_device->QueryInterface(iid, device); }
    // IDXGISurface
    STDMETHODIMP GetDesc(DXGI_SURFACE_DESC *description) override;
    STDMETHODIMP Map(DXGI_MAPPED_RECT *mapped, UINT flags) override;
    STDMETHODIMP Unmap() override { return S_OK; }

    const D3D11_TEXTURE2D_DESC &description() const { return m_description; }
    const ImageShape &shape() const { return m_shape; }
    UINT pitch() const { return m_pitch; }
    size_t sliceSize() const { return m_shape.sizeAt(m_pitch); }
    BYTE *slice(UINT index) const { return m_memory.get() + index * sliceSize(); }

    bool allows(D3D11_MAP kind) const;
    // Copies a part of a picture of the same format, whose first plane has `height` lines, to (x, y) in a slice. Null
    // is the whole. What does not fit, or cuts through pixels that share chroma, is not copied at all.
    void write(UINT slice, UINT x, UINT y, const BYTE *picture, UINT picturePitch, UINT height, const D3D11_BOX &part);

protected:
    void *findInterface(REFIID iid) override;

private:
    bool isBetweenGroups(UINT x, UINT y) const;
    bool holds(UINT x, UINT y, UINT width, UINT height) const;

    const Ref<ID3D11Device> m_device;
    const D3D11_TEXTURE2D_DESC m_description;
    const ImageFormat &m_format;
    const ImageShape m_shape;
    const UINT m_pitch; // bytes
    const AlignedMemory m_memory;
    std::atomic<UINT> m_evictionPriority{DXGI_RESOURCE_PRIORITY_NORMAL}; // only a word to be kept: nothing is evicted
};

} // namespace winmedia
