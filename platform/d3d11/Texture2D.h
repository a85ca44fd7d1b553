#pragma once

#include "platform/com/ComObject.h"
#include "platform/mf/ImageFormats.h"

#include <d3d11.h>

#include <cstdlib>
#include <memory>

namespace winmedia
{

// A texture in system memory: one picture of one mip level, all planes one behind the other at the same pitch.
class Texture2D : public ComObject<ID3D11Texture2D>
{
public:
    struct Free {
        void operator()(BYTE *block) const { std::free(block); }
    };
    using Memory = std::unique_ptr<BYTE, Free>;

    Texture2D(ID3D11Device *device, const D3D11_TEXTURE2D_DESC &description, Memory memory, UINT pitch)
        : m_device(device), m_description(description), m_memory(std::move(memory)), m_pitch(pitch)
    {
    }

    STDMETHODIMP_(void) GetDevice(ID3D11Device **device) override { m_device.copyTo(device); }
    STDMETHODIMP GetPrivateData(REFGUID, UINT *, void *) override { return E_NOTIMPL; }
    STDMETHODIMP SetPrivateData(REFGUID, UINT, const void *) override { return E_NOTIMPL; }
    STDMETHODIMP SetPrivateDataInterface(REFGUID, const IUnknown *) override { return E_NOTIMPL; }
    STDMETHODIMP_(void) GetType(D3D11_RESOURCE_DIMENSION *dimension) override
    {
        *dimension = D3D11_RESOURCE_DIMENSION_TEXTURE2D;
    }
    STDMETHODIMP_(void) SetEvictionPriority(UINT) override {}
    STDMETHODIMP_(UINT) GetEvictionPriority() override { return 0; }
    STDMETHODIMP_(void) GetDesc(D3D11_TEXTURE2D_DESC *description) override { *description = m_description; }

    BYTE *memory() const { return m_memory.get(); }
    UINT pitch() const { return m_pitch; }

protected:
    void *findInterface(REFIID iid) override
    {
        if (IsEqualIID(iid, __uuidof(ID3D11Resource)))
            return static_cast<ID3D11Resource *>(this);
        if (IsEqualIID(iid, __uuidof(ID3D11DeviceChild)))
            return static_cast<ID3D11DeviceChild *>(this);
        return ComObject::findInterface(iid);
    }

private:
    const Ref<ID3D11Device> m_device;
    const D3D11_TEXTURE2D_DESC m_description;
    const Memory m_memory;
    const UINT m_pitch; // bytes
};

// The format as media buffers name it, or null.
const ImageFormat *findTextureFormat(DXGI_FORMAT format);

} // namespace winmedia
