#include "platform/mf/AttributeStore.h"

#include <mferror.h>
#include <mfidl.h>

#include <mutex>
#include <vector>

namespace winmedia
{

namespace
{

struct Entry {
    Ref<IMFStreamDescriptor> descriptor;
    bool selected = false;
};

class PresentationDescriptor : public AttributesObject<IMFPresentationDescriptor>
{
public:
    explicit PresentationDescriptor(std::vector<Entry> entries) : m_entries(std::move(entries)) {}

    STDMETHODIMP GetStreamDescriptorCount(DWORD *count) override
    {
        if (!count)
            return E_POINTER;
        *count = static_cast<DWORD>(m_entries.size());
        return S_OK;
    }
    STDMETHODIMP GetStreamDescriptorByIndex(DWORD index, BOOL *selected, IMFStreamDescriptor **descriptor) override
    {
        if (!selected || !descriptor)
            return E_POINTER;
        if (index >= m_entries.size())
            return E_INVALIDARG;
        const std::lock_guard lock(m_mutex);
        *selected = m_entries[index].selected;
        return m_entries[index].descriptor.copyTo(descriptor);
    }
    STDMETHODIMP SelectStream(DWORD index) override { return select(index, true); }
    STDMETHODIMP DeselectStream(DWORD index) override { return select(index, false); }
    STDMETHODIMP Clone(IMFPresentationDescriptor **clone) override
    {
        if (!clone)
            return E_POINTER;
        std::unique_lock lock(m_mutex);
        auto copy = createObject<PresentationDescriptor>(m_entries);
        lock.unlock();
        if (!copy)
            return E_OUTOFMEMORY;
        m_store.copyAllItems(copy.get());
        *clone = copy.detach();
        return S_OK;
    }

private:
    HRESULT select(DWORD index, bool selected)
    {
        if (index >= m_entries.size())
            return E_INVALIDARG;
        const std::lock_guard lock(m_mutex);
        m_entries[index].selected = selected;
        return S_OK;
    }

    std::mutex m_mutex;
    std::vector<Entry> m_entries; // the selection is guarded by m_mutex
};

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreatePresentationDescriptor(DWORD count, IMFStreamDescriptor **descriptors,
                                              IMFPresentationDescriptor **presentation)
{
    using namespace winmedia;
    if (!descriptors || !presentation || count == 0)
        return E_INVALIDARG;
    std::vector<Entry> entries;
    for (DWORD index = 0; index < count; ++index) {
        if (!descriptors[index])
            return E_INVALIDARG;
        entries.push_back({Ref<IMFStreamDescriptor>(descriptors[index]), false});
    }
    *presentation = createObject<PresentationDescriptor>(std::move(entries)).detach();
    return *presentation ? S_OK : E_OUTOFMEMORY;
}
