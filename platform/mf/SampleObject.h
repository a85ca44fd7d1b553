#pragma once

#include "platform/mf/AttributeStore.h"

#include <mfapi.h>
#include <mferror.h>

#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

namespace winmedia
{

// Bytes that copyContent() copies: of a picture always the whole.
HRESULT contentLength(IMFMediaBuffer *buffer, DWORD *length);
// MF_E_BUFFERTOOSMALL when `room` is not enough.
HRESULT copyContent(IMFMediaBuffer *buffer, BYTE *target, DWORD room, DWORD *copied);

// Everything of IMFSample but its reference counting. Thread-safe, like the real one.
template <typename... Others>
class SampleObject : public AttributesObject<IMFSample, Others...>
{
public:
    STDMETHODIMP GetSampleFlags(DWORD *flags) override
    {
        if (!flags)
            return E_POINTER;
        const std::lock_guard lock(m_mutex);
        *flags = m_flags;
        return S_OK;
    }
    STDMETHODIMP SetSampleFlags(DWORD flags) override
    {
        const std::lock_guard lock(m_mutex);
        m_flags = flags;
        return S_OK;
    }
    STDMETHODIMP GetSampleTime(LONGLONG *time) override { return get(m_time, time, MF_E_NO_SAMPLE_TIMESTAMP); }
    STDMETHODIMP SetSampleTime(LONGLONG time) override { return set(m_time, time); }
    STDMETHODIMP GetSampleDuration(LONGLONG *duration) override
    {
        return get(m_duration, duration, MF_E_NO_SAMPLE_DURATION);
    }
    STDMETHODIMP SetSampleDuration(LONGLONG duration) override { return set(m_duration, duration); }

    STDMETHODIMP GetBufferCount(DWORD *count) override
    {
        if (!count)
            return E_INVALIDARG;
        const std::lock_guard lock(m_mutex);
        *count = static_cast<DWORD>(m_buffers.size());
        return S_OK;
    }
    STDMETHODIMP GetBufferByIndex(DWORD index, IMFMediaBuffer **buffer) override
    {
        if (!buffer)
            return E_INVALIDARG;
        const std::lock_guard lock(m_mutex);
        return index < m_buffers.size() ? m_buffers[index].copyTo(buffer) : E_INVALIDARG;
    }
    STDMETHODIMP AddBuffer(IMFMediaBuffer *buffer) override
    {
        if (!buffer)
            return E_INVALIDARG;
        const std::lock_guard lock(m_mutex);
        m_buffers.emplace_back(buffer);
        return S_OK;
    }
    STDMETHODIMP RemoveBufferByIndex(DWORD index) override
    {
        const std::lock_guard lock(m_mutex);
        if (index >= m_buffers.size())
            return E_INVALIDARG;
        m_buffers.erase(m_buffers.begin() + index);
        return S_OK;
    }
    STDMETHODIMP RemoveAllBuffers() override
    {
        std::vector<Ref<IMFMediaBuffer>> gone;
        const std::lock_guard lock(m_mutex);
        m_buffers.swap(gone);
        return S_OK;
    }
    STDMETHODIMP GetTotalLength(DWORD *length) override
    {
        if (!length)
            return E_INVALIDARG;
        *length = 0;
        const std::lock_guard lock(m_mutex);
        for (const auto &buffer : m_buffers) {
            DWORD bytes = 0;
            const HRESULT hr = buffer->GetCurrentLength(&bytes);
            if (FAILED(hr))
                return hr;
            *length += bytes;
        }
        return S_OK;
    }
    STDMETHODIMP CopyToBuffer(IMFMediaBuffer *destination) override
    {
        if (!destination)
            return E_INVALIDARG;
        const std::lock_guard lock(m_mutex);
        return copyTo(destination);
    }

    // One buffer is handed out as it is; several are joined into one that takes their place.
    STDMETHODIMP ConvertToContiguousBuffer(IMFMediaBuffer **buffer) override
    {
        const std::lock_guard lock(m_mutex);
        if (m_buffers.empty())
            return E_UNEXPECTED;
        if (m_buffers.size() > 1) {
            const HRESULT hr = join();
            if (FAILED(hr))
                return hr;
        }
        return buffer ? m_buffers.front().copyTo(buffer) : S_OK;
    }

private:
    HRESULT get(const std::optional<int64_t> &stored, LONGLONG *value, HRESULT missing)
    {
        if (!value)
            return E_POINTER;
        const std::lock_guard lock(m_mutex);
        if (!stored)
            return missing;
        *value = *stored;
        return S_OK;
    }
    HRESULT set(std::optional<int64_t> &stored, LONGLONG value)
    {
        const std::lock_guard lock(m_mutex);
        stored = value;
        return S_OK;
    }

    HRESULT copyTo(IMFMediaBuffer *destination)
    {
        BYTE *target = nullptr;
        DWORD room = 0;
        HRESULT hr = destination->Lock(&target, &room, nullptr);
        if (FAILED(hr))
            return hr;
        DWORD copied = 0;
        for (const auto &buffer : m_buffers) {
            DWORD bytes = 0;
            hr = copyContent(buffer.get(), target + copied, room - copied, &bytes);
            if (FAILED(hr))
                break;
            copied += bytes;
        }
        destination->Unlock();
        return SUCCEEDED(hr) ? destination->SetCurrentLength(copied) : hr;
    }

    // Several buffers become one in memory.
    HRESULT join()
    {
        DWORD needed = 0;
        for (const auto &buffer : m_buffers) {
            DWORD bytes = 0;
            const HRESULT hr = contentLength(buffer.get(), &bytes);
            if (FAILED(hr))
                return hr;
            needed += bytes;
        }
        Ref<IMFMediaBuffer> joined;
        HRESULT hr = MFCreateMemoryBuffer(needed, joined.put());
        if (SUCCEEDED(hr))
            hr = copyTo(joined.get());
        if (FAILED(hr))
            return hr;
        m_buffers.clear();
        m_buffers.push_back(std::move(joined));
        return S_OK;
    }

    std::mutex m_mutex; // guards everything below
    DWORD m_flags = 0;
    std::optional<int64_t> m_time;
    std::optional<int64_t> m_duration;
    std::vector<Ref<IMFMediaBuffer>> m_buffers;
};

} // namespace winmedia
