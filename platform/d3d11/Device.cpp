// A Direct3D 11 device whose only resources are two-dimensional textures in system memory. It copies and draws nothing.

#include "platform/d3d11/ImmediateContext.h"
#include "platform/d3d11/Texture2D.h"
#include "platform/d3d11/UnimplementedDevice.h"

#include <algorithm>

namespace winmedia
{

namespace
{

constexpr UINT maxSide = D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION;
constexpr UINT maxSlices = D3D11_REQ_TEXTURE2D_ARRAY_AXIS_DIMENSION;

// ID3D10Multithread is the same interface: same identifier, same methods.
using DeviceObject = ComObject<ID3D11Device, ID3D11Multithread>;

class Device final : public UnimplementedDevice<DeviceObject>
{
public:
    Device(D3D_FEATURE_LEVEL level, UINT flags) : m_level(level), m_flags(flags) {}

    // ID3D11Device
    STDMETHODIMP CreateTexture2D(const D3D11_TEXTURE2D_DESC *description, const D3D11_SUBRESOURCE_DATA *data,
                                 ID3D11Texture2D **texture) override;
    STDMETHODIMP CheckFormatSupport(DXGI_FORMAT format, UINT *support) override;
    STDMETHODIMP_(D3D_FEATURE_LEVEL) GetFeatureLevel() override { return m_level; }
    STDMETHODIMP_(UINT) GetCreationFlags() override { return m_flags; }
    STDMETHODIMP GetDeviceRemovedReason() override { return S_OK; }
    STDMETHODIMP_(void) GetImmediateContext(ID3D11DeviceContext **context) override
    {
        *context = &m_context;
        m_context.AddRef();
    }
    // ID3D11Multithread
    STDMETHODIMP_(void) Enter() override { m_lock.enter(); }
    STDMETHODIMP_(void) Leave() override { m_lock.leave(); }
    STDMETHODIMP_(BOOL) SetMultithreadProtected(BOOL enable) override { return m_lock.protect(enable); }
    STDMETHODIMP_(BOOL) GetMultithreadProtected() override { return m_lock.isProtected(); }

private:
    const D3D_FEATURE_LEVEL m_level;
    const UINT m_flags;
    DeviceLock m_lock;
    ImmediateContext m_context{*this, m_lock};
};

// Subsampled formats have no half groups.
bool fits(const ImageFormat &format, UINT width, UINT height)
{
    return width % format.groupPixels == 0 && (format.chroma == Chroma::None || height % 2 == 0);
}

// Who may touch the memory follows from the usage.
bool isUsageConsistent(const D3D11_TEXTURE2D_DESC &description, bool hasData)
{
    switch (description.Usage) {
    case D3D11_USAGE_DEFAULT:
        return description.CPUAccessFlags == 0;
    case D3D11_USAGE_IMMUTABLE:
        return description.CPUAccessFlags == 0 && hasData;
    case D3D11_USAGE_DYNAMIC:
        return description.CPUAccessFlags == D3D11_CPU_ACCESS_WRITE && description.ArraySize == 1;
    case D3D11_USAGE_STAGING:
        return description.CPUAccessFlags != 0 && description.BindFlags == 0;
    default:
        return false;
    }
}

STDMETHODIMP Device::CreateTexture2D(const D3D11_TEXTURE2D_DESC *description, const D3D11_SUBRESOURCE_DATA *data,
                                     ID3D11Texture2D **texture)
{
    if (!description || description->Width == 0 || description->Height == 0 || description->Width > maxSide ||
        description->Height > maxSide || description->ArraySize == 0 || description->ArraySize > maxSlices ||
        description->SampleDesc.Count == 0)
        return E_INVALIDARG;
    const ImageFormat *const format = findTextureFormat(description->Format);
    if (!format || !fits(*format, description->Width, description->Height) ||
        !isUsageConsistent(*description, data != nullptr))
        return E_INVALIDARG;
    if (description->MipLevels != 1 || description->SampleDesc.Count != 1)
        return E_NOTIMPL;
    if (data && std::any_of(data, data + description->ArraySize, [](const auto &slice) { return !slice.pSysMem; }))
        return E_INVALIDARG;
    return texture ? Texture2D::create(this, *description, data, texture) : S_FALSE;
}

STDMETHODIMP Device::CheckFormatSupport(DXGI_FORMAT format, UINT *support)
{
    if (!support)
        return E_INVALIDARG;
    *support = findTextureFormat(format) ? D3D11_FORMAT_SUPPORT_TEXTURE2D | D3D11_FORMAT_SUPPORT_CPU_LOCKABLE : 0;
    return *support ? S_OK : E_FAIL;
}

constexpr D3D_FEATURE_LEVEL offeredLevel = D3D_FEATURE_LEVEL_11_0;

} // namespace

} // namespace winmedia

HRESULT WINAPI D3D11CreateDevice(IDXGIAdapter *adapter, D3D_DRIVER_TYPE type, HMODULE /*software*/, UINT flags,
                                 const D3D_FEATURE_LEVEL *levels, UINT levelCount, UINT sdkVersion,
                                 ID3D11Device **device, D3D_FEATURE_LEVEL *level, ID3D11DeviceContext **context)
{
    using namespace winmedia;
    if (device)
        *device = nullptr;
    if (context)
        *context = nullptr;
    if (adapter)
        return E_NOTIMPL; // nobody could have got one
    if (type == D3D_DRIVER_TYPE_UNKNOWN || sdkVersion != D3D11_SDK_VERSION)
        return E_INVALIDARG;
    // The first of the levels wanted that is within reach.
    D3D_FEATURE_LEVEL chosen = offeredLevel;
    if (levels) {
        const auto *const end = levels + levelCount;
        const auto *const found = std::find_if(levels, end, [](auto wanted) { return wanted <= offeredLevel; });
        if (found == end)
            return E_INVALIDARG;
        chosen = *found;
    }
    if (level)
        *level = chosen;
    if (!device && !context)
        return S_FALSE;
    const auto made = createObject<Device>(chosen, flags);
    if (!made)
        return E_OUTOFMEMORY;
    if (context)
        made->GetImmediateContext(context);
    if (device)
        *device = Ref<Device>(made).detach();
    return S_OK;
}
