#pragma once

// What every COM object of platform/ is built from: reference counting, interface lookup, a counted pointer.

#include <windows.h>

#include <unknwn.h>

#include <atomic>
#include <new>
#include <utility>

namespace winmedia
{

// A counted reference. attach() takes over a reference, the constructor adds one.
template <typename T>
class Ref
{
public:
    Ref() = default;
    Ref(T *object) : m_object(object)
    {
        if (m_object)
            m_object->AddRef();
    }
    Ref(const Ref &other) : Ref(other.m_object) {}
    Ref(Ref &&other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    ~Ref()
    {
        if (m_object)
            m_object->Release();
    }
    Ref &operator=(Ref other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }

    static Ref attach(T *object)
    {
        Ref reference;
        reference.m_object = object;
        return reference;
    }
    T *detach() { return std::exchange(m_object, nullptr); }
    void reset() { *this = Ref(); }

    // For out parameters; the reference must be empty.
    T **put() { return &m_object; }
    // Hands out a copy with a reference added.
    HRESULT copyTo(T **out) const
    {
        *out = m_object;
        if (m_object)
            m_object->AddRef();
        return S_OK;
    }

    T *get() const { return m_object; }
    T *operator->() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }

private:
    T *m_object = nullptr;
};

// Answers IUnknown for the interfaces listed, the first of which is the object's identity. Where an interface
// derives from another one that clients also ask for, the class overrides findInterface().
// Objects are made with createObject() and delete themselves when the last reference goes.
template <typename First, typename... Others>
class ComObject : public First, public Others...
{
public:
    ComObject(const ComObject &) = delete;
    ComObject &operator=(const ComObject &) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void **out) override
    {
        if (!out)
            return E_POINTER;
        *out = findInterface(iid);
        if (!*out)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return m_references.fetch_add(1, std::memory_order_relaxed) + 1; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0)
            lastReferenceGone();
        return left;
    }

protected:
    ComObject() = default;
    virtual ~ComObject() = default;

    // The interface's face of this object without a reference added, or null.
    virtual void *findInterface(REFIID iid)
    {
        if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, __uuidof(First)))
            return static_cast<First *>(this);
        void *found = nullptr;
        ((found = found ? found : faceOf<Others>(iid)), ...);
        return found;
    }

    virtual void lastReferenceGone() { delete this; }

    template <typename Interface>
    void *faceOf(REFIID iid)
    {
        return IsEqualIID(iid, __uuidof(Interface)) ? static_cast<Interface *>(this) : nullptr;
    }

private:
    std::atomic<ULONG> m_references{1};
};

// A new object with one reference, or an empty Ref when memory is out.
template <typename Object, typename... Arguments>
Ref<Object> createObject(Arguments &&...arguments)
{
    return Ref<Object>::attach(new (std::nothrow) Object(std::forward<Arguments>(arguments)...));
}

} // namespace winmedia
