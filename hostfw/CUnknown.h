#pragma once

#include "hostfw/Export.h"

#include <windows.h>

#include <unknwn.h>

#include <atomic>

// The inner half of a COM object that can be aggregated.
struct INonDelegatingUnknown {
    virtual HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) = 0;
    virtual ULONG STDMETHODCALLTYPE NonDelegatingAddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE NonDelegatingRelease() = 0;

protected:
    ~INonDelegatingUnknown() = default;
};

// Reference counting for COM classes. A class lists its interfaces beside CUnknown, answers them in
// NonDelegatingQueryInterface() and puts DECLARE_IUNKNOWN into its body, which sends the three operations of IUnknown
// to the outer unknown: the one given here, or the object itself. The count starts at 0; an object deletes itself when
// it comes back to 0. Inside a constructor nothing may therefore take and drop a reference on the object.
class MULTIMEDIA_EXPORT CUnknown : public INonDelegatingUnknown
{
public:
    // `name` is for a debugger's eye only and must outlive the object (a literal). `outer` is not referenced.
    CUnknown(const wchar_t *name, IUnknown *outer);
    // As above; leaves *result as it is: there is nothing that can fail.
    CUnknown(const wchar_t *name, IUnknown *outer, HRESULT *result);
    CUnknown(const CUnknown &) = delete;
    CUnknown &operator=(const CUnknown &) = delete;
    virtual ~CUnknown();

    // Knows IUnknown; E_NOINTERFACE for all else, E_POINTER without an out pointer.
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override;
    ULONG STDMETHODCALLTYPE NonDelegatingAddRef() override;
    ULONG STDMETHODCALLTYPE NonDelegatingRelease() override;

    // The outer unknown; never null.
    IUnknown *GetOwner() const;
    const wchar_t *GetName() const { return m_name; }

private:
    // The object's own IUnknown, which an outer object that aggregates it would hold.
    class Inner final : public IUnknown
    {
    public:
        explicit Inner(CUnknown &object) : m_object(object) {}
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void **out) override;
        ULONG STDMETHODCALLTYPE AddRef() override;
        ULONG STDMETHODCALLTYPE Release() override;

    private:
        CUnknown &m_object;
    };

    Inner m_inner;
    const wchar_t *m_name;
    IUnknown *m_outer;
    std::atomic<ULONG> m_references{0};
};

// Stores `object` in *out with one reference added. E_POINTER without an out pointer.
MULTIMEDIA_EXPORT HRESULT GetInterface(IUnknown *object, void **out);

#define DECLARE_IUNKNOWN                                                                                               \
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void **out) override                                          \
    {                                                                                                                  \
        return GetOwner()->QueryInterface(iid, out);                                                                   \
    }                                                                                                                  \
    ULONG STDMETHODCALLTYPE AddRef() override                                                                          \
    {                                                                                                                  \
        return GetOwner()->AddRef();                                                                                   \
    }                                                                                                                  \
    ULONG STDMETHODCALLTYPE Release() override                                                                         \
    {                                                                                                                  \
        return GetOwner()->Release();                                                                                  \
    }
