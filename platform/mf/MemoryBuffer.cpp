#include "platform/com/ComObject.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfobjects.h>

#include <atomic>
#include <cstdlib>
#include <memory>

namespace winmedia
{

namespace
{

struct Free {
    void operator()(BYTE *block) const { std::free(block); }
};

class MemoryBuffer : public ComObject<IMFMediaBuffer>
{
public:
    MemoryBuffer(std::unique_ptr<BYTE, Free> bytes, DWORD size) : m_bytes(std::move(bytes)), m_size(size) {}

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
    const std::unique_ptr<BYTE, Free> m_bytes;
    const DWORD m_size;
    std::atomic<DWORD> m_length{0};
};

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreateAlignedMemoryBuffer(DWORD size, DWORD alignment, IMFMediaBuffer **buffer)
{
    using namespace winmedia;
    if (!buffer)
        return E_INVALIDARG;
    // `alignment` is a mask such as MF_16_BYTE_ALIGNMENT (15); 64 bytes at least, so that whole cache lines are copied.
    if (alignment & (alignment + 1))
        return E_INVALIDARG;
    const size_t boundary = alignment < 63 ? 64 : static_cast<size_t>(alignment) + 1;
    const size_t rounded = (static_cast<size_t>(size) + boundary - 1) / boundary * boundary;
    std::unique_ptr<BYTE, Free> bytes(static_cast<BYTE *>(std::aligned_alloc(boundary, rounded ? rounded : boundary)));
    if (!bytes)
        return E_OUTOFMEMORY;
    *buffer = createObject<MemoryBuffer>(std::move(bytes), size).detach();
    return *buffer ? S_OK : E_OUTOFMEMORY;
}

HRESULT WINAPI MFCreateMemoryBuffer(DWORD size, IMFMediaBuffer **buffer)
{
    return MFCreateAlignedMemoryBuffer(size, MF_1_BYTE_ALIGNMENT, buffer);
}
