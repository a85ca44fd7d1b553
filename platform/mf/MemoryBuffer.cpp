#include "platform/com/AlignedMemory.h"
#include "platform/com/ComObject.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfobjects.h>

#include <atomic>

namespace winmedia
{

namespace
{

class MemoryBuffer : public ComObject<IMFMediaBuffer>
{
public:
    MemoryBuffer(AlignedMemory bytes, DWORD size) : m_bytes(std::move(bytes)), m_size(size) {}

    STDMETHODIMP Lock(BYTE **buffer, DWORD *maxLength, DWORD *currentLength) override
    {
        if (!buffer)
            return E_INVALIDARG;
        *buffer = m_bytes.get();
        if (maxLength)
            *maxLength = m_size;
        if (currentLength)
            *currentLength = m_length;
        return S_OK;
    }
    STDMETHODIMP Unlock() override { return S_OK; }
    STDMETHODIMP GetCurrentLength(DWORD *length) override
    {
        if (!length)
            return E_INVALIDARG;
        *length = m_length;
        return S_OK;
    }
    STDMETHODIMP SetCurrentLength(DWORD length) override
    {
        if (length > m_size)
            return E_INVALIDARG;
        m_length = length;
        return S_OK;
    }
    STDMETHODIMP GetMaxLength(DWORD *length) override
    {
        if (!length)
            return E_INVALIDARG;
        *length = m_size;
        return S_OK;
    }

private:
    const AlignedMemory m_bytes;
    const DWORD m_size;
    std::atomic<DWORD> m_length{0};
};

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreateAlignedMemoryBuffer(DWORD size, DWORD alignment, IMFMediaBuffer **buffer)
{
    using namespace winmedia;
    if (!buffer)
        return E_POINTER;
    // `alignment` is a mask such as MF_16_BYTE_ALIGNMENT (15); 64 bytes at least, so that whole cache lines are copied.
    if (alignment & (alignment + 1))
        return E_INVALIDARG;
    AlignedMemory bytes = allocateAligned(size, alignment < 63 ? 64 : static_cast<size_t>(alignment) + 1);
    if (!bytes)
        return E_OUTOFMEMORY;
    *buffer = createObject<MemoryBuffer>(std::move(bytes), size).detach();
    return *buffer ? S_OK : E_OUTOFMEMORY;
}

HRESULT WINAPI MFCreateMemoryBuffer(DWORD size, IMFMediaBuffer **buffer)
{
    return MFCreateAlignedMemoryBuffer(size, MF_1_BYTE_ALIGNMENT, buffer);
}
