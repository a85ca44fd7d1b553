#include "platform/com/ComObject.h"

#include <mfapi.h>

#include <mutex>
#include <vector>

namespace winmedia
{

namespace
{

// An ordered list of objects; places may be empty. Thread-safe.
class Collection final : public ComObject<IMFCollection>
{
public:
    STDMETHODIMP GetElementCount(DWORD *count) override
    {
        if (!count)
            return E_POINTER;
        const std::lock_guard lock(m_mutex);
        *count = static_cast<DWORD>(m_elements.size());
        return S_OK;
    }
    STDMETHODIMP GetElement(DWORD index, IUnknown **element) override
    {
        if (!element)
            return E_POINTER;
        const std::lock_guard lock(m_mutex);
        if (index >= m_elements.size())
            return E_INVALIDARG;
        m_elements[index].copyTo(element);
        return *element ? S_OK : E_UNEXPECTED;
    }
    STDMETHODIMP AddElement(IUnknown *element) override
    {
        const std::lock_guard lock(m_mutex);
        return insert(m_elements.size(), element);
    }
    STDMETHODIMP RemoveElement(DWORD index, IUnknown **element) override
    {
        if (!element)
            return E_POINTER;
        const std::lock_guard lock(m_mutex);
        if (index >= m_elements.size())
            return E_INVALIDARG;
        *element = m_elements[index].detach();
        m_elements.erase(m_elements.begin() + index);
        return S_OK;
    }
    // Behind the end: the places between stay empty.
    STDMETHODIMP InsertElementAt(DWORD index, IUnknown *element) override
    {
        const std::lock_guard lock(m_mutex);
        return insert(index, element);
    }
    STDMETHODIMP RemoveAllElements() override
    {
        Elements removed; // released without the lock
        const std::lock_guard lock(m_mutex);
        removed.swap(m_elements);
        return S_OK;
    }

private:
    using Elements = std::vector<Ref<IUnknown>>;

    HRESULT insert(size_t index, IUnknown *element)
    {
        try {
            if (index > m_elements.size())
                m_elements.resize(index);
            m_elements.emplace(m_elements.begin() + static_cast<std::ptrdiff_t>(index), element);
        } catch (const std::exception &) { // no memory, or more than a vector can hold
            return E_OUTOFMEMORY;
        }
        return S_OK;
    }

    std::mutex m_mutex;
    Elements m_elements; // guarded by m_mutex
};

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreateCollection(IMFCollection **collection)
{
    if (!collection)
        return E_POINTER;
    *collection = winmedia::createObject<winmedia::Collection>().detach();
    return *collection ? S_OK : E_OUTOFMEMORY;
}
