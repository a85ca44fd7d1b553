#include "hostfw/CUnknown.h"

CUnknown::CUnknown(const wchar_t *name, IUnknown *outer)
    : m_inner(*this), m_name(name), m_outer(outer ? outer : &m_inner)
{
}

CUnknown::CUnknown(const wchar_t *name, IUnknown *outer, HRESULT * /*result*/) : CUnknown(name, outer) {}

CUnknown::~CUnknown() = default;

HRESULT CUnknown::NonDelegatingQueryInterface(REFIID iid, void **out)
{
    if (!out)
        return E_POINTER;
    if (IsEqualIID(iid, __uuidof(IUnknown)))
        return GetInterface(&m_inner, out);
    *out = nullptr;
    return E_NOINTERFACE;
}

ULONG CUnknown::NonDelegatingAddRef()
{
    return m_references.fetch_add(1, std::memory_order_relaxed) + 1;
}

ULONG CUnknown::NonDelegatingRelease()
{
    const ULONG left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
        // A destructor may take and drop references on the object: that must not delete it again.
        m_references.store(1, std::memory_order_relaxed);
        delete this;
    }
    return left;
}

IUnknown *CUnknown::GetOwner() const
{
    return m_outer;
}

HRESULT CUnknown::Inner::QueryInterface(REFIID iid, void **out)
{
    return m_object.NonDelegatingQueryInterface(iid, out);
}

ULONG CUnknown::Inner::AddRef()
{
    return m_object.NonDelegatingAddRef();
}

ULONG CUnknown::Inner::Release()
{
    return m_object.NonDelegatingRelease();
}

HRESULT GetInterface(IUnknown *object, void **out)
{
    if (!out)
        return E_POINTER;
    *out = object;
    object->AddRef();
    return S_OK;
}
