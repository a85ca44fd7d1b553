#pragma once

// CComPtr: the counted COM pointer of everything in this tree. ATL's where the compiler brings ATL, else this one,
// which offers the part of its interface that is used here. ATL's -> goes to a class derived from the one pointed to,
// with AddRef and Release out of reach: a class that is used through it is not final, and nobody counts through it.

#include <windows.h>

#include <unknwn.h>

#ifdef _MSC_VER

#include <atlcomcli.h>

#else

template <typename T>
class CComPtr
{
public:
    T *p = nullptr;

    CComPtr() = default;
    CComPtr(std::nullptr_t) {}
    CComPtr(T *object) : p(object)
    {
        if (p)
            p->AddRef();
    }
    CComPtr(const CComPtr &other) : CComPtr(other.p) {}
    CComPtr(CComPtr &&other) noexcept : p(other.Detach()) {}
    ~CComPtr() { Release(); }

    CComPtr &operator=(CComPtr other) noexcept
    {
        T *const old = p;
        p = other.p;
        other.p = old;
        return *this;
    }

    void Release()
    {
        T *const old = Detach();
        if (old)
            old->Release();
    }
    // Takes over the caller's reference.
    void Attach(T *object)
    {
        Release();
        p = object;
    }
    // Gives the reference to the caller.
    T *Detach()
    {
        T *const object = p;
        p = nullptr;
        return object;
    }
    HRESULT CopyTo(T **out) const
    {
        if (!out)
            return E_POINTER;
        *out = p;
        if (p)
            p->AddRef();
        return S_OK;
    }
    template <typename Interface>
    HRESULT QueryInterface(Interface **out) const
    {
        return p->QueryInterface(__uuidof(Interface), reinterpret_cast<void **>(out));
    }
    // Whether both pointers are faces of one object.
    bool IsEqualObject(IUnknown *other) const
    {
        if (!p || !other)
            return !p && !other;
        CComPtr<IUnknown> mine;
        CComPtr<IUnknown> theirs;
        p->QueryInterface(__uuidof(IUnknown), reinterpret_cast<void **>(&mine));
        other->QueryInterface(__uuidof(IUnknown), reinterpret_cast<void **>(&theirs));
        return mine.p == theirs.p;
    }

    operator T *() const { return p; }
    T *operator->() const { return p; }
    T &operator*() const { return *p; }
    // For out parameters; the pointer must be empty.
    T **operator&() { return &p; }
    bool operator!() const { return p == nullptr; }
    bool operator==(T *other) const { return p == other; }
    bool operator!=(T *other) const { return p != other; }
};

#endif
