#include "platform/d3d11/Texture2D.h"

#include <mfapi.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace winmedia
{

namespace
{

constexpr UINT texturePitchAlignment = 64; // bytes

constexpr DXGI_FORMAT textureFormats[] = {
    DXGI_FORMAT_NV12,           DXGI_FORMAT_P010,           DXGI_FORMAT_YUY2,           DXGI_FORMAT_AYUV,
    DXGI_FORMAT_B8G8R8A8_UNORM, DXGI_FORMAT_B8G8R8X8_UNORM, DXGI_FORMAT_R8G8B8A8_UNORM,
};

// Answered by the textures of this library only.
constexpr GUID implementationIid = {0x6ed5bb34, 0x0a0c, 0x4c5b, {0x9c, 0x4e, 0x51, 0x0f, 0x83, 0x27, 0xd6, 0x19}};

} // namespace

const ImageFormat *findTextureFormat(DXGI_FORMAT format)
{
    const auto *const end = std::end(textureFormats);
    if (std::find(std::begin(textureFormats), end, format) == end)
        return nullptr;
    return findImageFormat(MFMapDXGIFormatToDX9Format(format));
}

Ref<Texture2D> Texture2D::of(IUnknown *object)
{
    void *texture = nullptr;
    if (!object || FAILED(object->QueryInterface(implementationIid, &texture)))
        return {};
    return Ref<Texture2D>::attach(static_cast<Texture2D *>(texture));
}

HRESULT Texture2D::create(ID3D11Device *device, const D3D11_TEXTURE2D_DESC &description,
                          const D3D11_SUBRESOURCE_DATA *data, ID3D11Texture2D **texture)
{
    const ImageFormat &format = *findTextureFormat(description.Format);
    const ImageShape shape(format, description.Width, description.Height);
    const auto pitch = static_cast<UINT>(roundUp(shape.lineBytes(), texturePitchAlignment));
    const size_t size = shape.sizeAt(pitch) * description.ArraySize;
    AlignedMemory memory = allocateAligned(size, texturePitchAlignment);
    if (!memory)
        return E_OUTOFMEMORY;
    if (!data)
        std::memset(memory.get(), 0, size);
    const auto made = createObject<Texture2D>(device, description, format, pitch, std::move(memory));
    if (!made)
        return E_OUTOFMEMORY;
    const D3D11_BOX whole = {0, 0, 0, description.Width, description.Height, 1};
    for (UINT slice = 0; data && slice < description.ArraySize; ++slice)
        made->write(slice, 0, 0, static_cast<const BYTE *>(data[slice].pSysMem), data[slice].SysMemPitch,
                    description.Height, whole);
    *texture = Ref<Texture2D>(made).detach();
    return S_OK;
}

Texture2D::Texture2D(ID3D11Device *device, const D3D11_TEXTURE2D_DESC &description, const ImageFormat &format,
                     UINT pitch, AlignedMemory memory)
    : m_device(device), m_description(description), m_format(format),
      m_shape(format, description.Width, description.Height), m_pitch(pitch), m_memory(std::move(memory))
{
}

void *Texture2D::findInterface(REFIID iid)
{
    if (IsEqualIID(iid, implementationIid))
        return this;
    if (IsEqualIID(iid, __uuidof(ID3D11Resource)))
        return static_cast<ID3D11Resource *>(this);
    if (IsEqualIID(iid, __uuidof(ID3D11DeviceChild)))
        return static_cast<ID3D11DeviceChild *>(this);
    if (IsEqualIID(iid, __uuidof(IDXGISurface)) && m_description.ArraySize > 1)
        return nullptr;
    return ComObject::findInterface(iid);
}

STDMETHODIMP_(void) Texture2D::GetType(D3D11_RESOURCE_DIMENSION *dimension)
{
    *dimension = D3D11_RESOURCE_DIMENSION_TEXTURE2D;
}

STDMETHODIMP Texture2D::GetDesc(DXGI_SURFACE_DESC *description)
{
    if (!description)
        return E_INVALIDARG;
    *description = {m_description.Width, m_description.Height, m_description.Format, m_description.SampleDesc};
    return S_OK;
}

STDMETHODIMP Texture2D::Map(DXGI_MAPPED_RECT *mapped, UINT flags)
{
    const bool read = (flags & DXGI_MAP_READ) != 0;
    const bool write = (flags & DXGI_MAP_WRITE) != 0;
    if (!mapped || (!read && !write) || (read && !allows(D3D11_MAP_READ)) || (write && !allows(D3D11_MAP_WRITE)))
        return E_INVALIDARG;
    *mapped = {static_cast<INT>(m_pitch), slice(0)};
    return S_OK;
}

bool Texture2D::allows(D3D11_MAP kind) const
{
    const bool isDynamic = m_description.Usage == D3D11_USAGE_DYNAMIC;
    UINT needed = 0;
    if (kind == D3D11_MAP_READ || kind == D3D11_MAP_READ_WRITE)
        needed |= D3D11_CPU_ACCESS_READ;
    if (kind == D3D11_MAP_WRITE || kind == D3D11_MAP_READ_WRITE)
        needed |= D3D11_CPU_ACCESS_WRITE;
    if (needed == 0)
        return isDynamic && (kind == D3D11_MAP_WRITE_DISCARD || kind == D3D11_MAP_WRITE_NO_OVERWRITE);
    return !isDynamic && (m_description.CPUAccessFlags & needed) == needed;
}

bool Texture2D::isBetweenGroups(UINT x, UINT y) const
{
    const UINT lineGroup = m_format.chroma == Chroma::None ? 1 : 2;
    return x % m_format.groupPixels == 0 && y % lineGroup == 0;
}

bool Texture2D::holds(UINT x, UINT y, UINT width, UINT height) const
{
    return x <= m_description.Width && width <= m_description.Width - x && y <= m_description.Height &&
           height <= m_description.Height - y;
}

void Texture2D::write(UINT sliceIndex, UINT x, UINT y, const BYTE *picture, UINT picturePitch, UINT height,
                      const D3D11_BOX &part)
{
    if (part.left >= part.right || part.top >= part.bottom || part.front != 0 || part.back != 1 || part.bottom > height)
        return;
    const UINT partWidth = part.right - part.left;
    const UINT partHeight = part.bottom - part.top;
    if (!holds(x, y, partWidth, partHeight) || !isBetweenGroups(x, y) || !isBetweenGroups(part.left, part.top) ||
        !isBetweenGroups(partWidth, partHeight))
        return;
    const auto bytesOf = [&](UINT pixels) { return static_cast<size_t>(pixels) * m_format.bitsPerPixel / 8; };
    BYTE *plane = slice(sliceIndex);
    // Chroma stands in pairs: a line of it has as many bytes as one of the first plane.
    for (UINT index = 0; index < m_shape.planeCount(); ++index) {
        const UINT divisor = index == 0 ? 1 : 2;
        MFCopyImage(plane + static_cast<size_t>(m_pitch) * (y / divisor) + bytesOf(x), static_cast<LONG>(m_pitch),
                    picture + static_cast<size_t>(picturePitch) * (part.top / divisor) + bytesOf(part.left),
                    static_cast<LONG>(picturePitch), static_cast<DWORD>(bytesOf(partWidth)), partHeight / divisor);
        plane += static_cast<size_t>(m_pitch) * m_shape.plane(index).lines;
        picture += static_cast<size_t>(picturePitch) * height;
    }
}

} // namespace winmedia
