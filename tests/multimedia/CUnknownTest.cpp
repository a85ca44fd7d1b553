#include "hostfw/CUnknown.h"
#include "hostfw/ComPtr.h"

#include <gtest/gtest.h>

#include <mfobjects.h>

namespace
{

// An asynchronous callback, for want of a simpler interface with one operation.
class Part : public IMFAsyncCallback, public CUnknown
{
public:
    explicit Part(bool *deleted, IUnknown *outer = nullptr) : CUnknown(L"Part", outer), m_deleted(deleted) {}
    ~Part() override { *m_deleted = true; }

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override
    {
        if (IsEqualIID(iid, __uuidof(IMFAsyncCallback)))
            return GetInterface(static_cast<IMFAsyncCallback *>(this), out);
        return CUnknown::NonDelegatingQueryInterface(iid, out);
    }
    HRESULT STDMETHODCALLTYPE GetParameters(DWORD *, DWORD *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult *) override { return S_OK; }

private:
    bool *m_deleted;
};

// Aggregates a Part.
class Whole : public IUnknown, public CUnknown
{
public:
    explicit Whole(bool *deleted, bool *partDeleted) : CUnknown(L"Whole", nullptr), m_deleted(deleted)
    {
        Part *const part = new Part(partDeleted, static_cast<IUnknown *>(this));
        part->NonDelegatingQueryInterface(__uuidof(IUnknown), reinterpret_cast<void **>(&m_part));
    }
    ~Whole() override { *m_deleted = true; }

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override
    {
        if (IsEqualIID(iid, __uuidof(IMFAsyncCallback)))
            return m_part->QueryInterface(iid, out);
        return CUnknown::NonDelegatingQueryInterface(iid, out);
    }

private:
    bool *m_deleted;
    CComPtr<IUnknown> m_part;
};

// Hands itself out while it goes.
class Farewell : public IUnknown, public CUnknown
{
public:
    explicit Farewell(int *deletions) : CUnknown(L"Farewell", nullptr), m_deletions(deletions) {}
    ~Farewell() override
    {
        ++*m_deletions;
        const CComPtr<IUnknown> last(static_cast<IUnknown *>(this));
    }
    DECLARE_IUNKNOWN

private:
    int *m_deletions;
};

} // namespace

TEST(CUnknown, CountStartsAtZero)
{
    bool deleted = false;
    Part *const part = new Part(&deleted);
    EXPECT_EQ(part->AddRef(), 1U);
    EXPECT_EQ(part->AddRef(), 2U);
    EXPECT_EQ(part->Release(), 1U);
    EXPECT_FALSE(deleted);
    EXPECT_EQ(part->Release(), 0U);
    EXPECT_TRUE(deleted);
}

TEST(CUnknown, AnswersWithAReferenceAdded)
{
    bool deleted = false;
    const CComPtr<Part> part(new Part(&deleted));
    CComPtr<IMFAsyncCallback> callback;
    ASSERT_EQ(part->QueryInterface(__uuidof(IMFAsyncCallback), reinterpret_cast<void **>(&callback)), S_OK);
    EXPECT_EQ(callback.p, static_cast<IMFAsyncCallback *>(part.p));
    EXPECT_EQ(part->AddRef(), 3U);
    part->Release();
}

TEST(CUnknown, IdentityIsTheSameThroughEveryFace)
{
    bool deleted = false;
    const CComPtr<Part> part(new Part(&deleted));
    CComPtr<IUnknown> first;
    CComPtr<IMFAsyncCallback> callback;
    CComPtr<IUnknown> second;
    part->QueryInterface(__uuidof(IUnknown), reinterpret_cast<void **>(&first));
    first->QueryInterface(__uuidof(IMFAsyncCallback), reinterpret_cast<void **>(&callback));
    callback->QueryInterface(__uuidof(IUnknown), reinterpret_cast<void **>(&second));
    EXPECT_EQ(first.p, second.p);
}

TEST(CUnknown, UnknownInterfaceClearsTheOutPointer)
{
    bool deleted = false;
    const CComPtr<Part> part(new Part(&deleted));
    void *out = &deleted;
    EXPECT_EQ(part->QueryInterface(__uuidof(IMFSample), &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
}

TEST(CUnknown, RefusesToAnswerNowhere)
{
    bool deleted = false;
    const CComPtr<Part> part(new Part(&deleted));
    EXPECT_EQ(part->QueryInterface(__uuidof(IUnknown), nullptr), E_POINTER);
    EXPECT_EQ(part->QueryInterface(__uuidof(IMFAsyncCallback), nullptr), E_POINTER);
}

TEST(CUnknown, OwnerIsTheObjectItselfUnlessAggregated)
{
    bool deleted = false;
    const CComPtr<Part> part(new Part(&deleted));
    CComPtr<IUnknown> identity;
    part->QueryInterface(__uuidof(IUnknown), reinterpret_cast<void **>(&identity));
    EXPECT_EQ(part->GetOwner(), identity.p);
}

TEST(CUnknown, AggregatedPartCountsOnTheWhole)
{
    bool deleted = false;
    bool partDeleted = false;
    CComPtr<IMFAsyncCallback> callback;
    {
        const CComPtr<Whole> whole(new Whole(&deleted, &partDeleted));
        ASSERT_EQ(whole->QueryInterface(__uuidof(IMFAsyncCallback), reinterpret_cast<void **>(&callback)), S_OK);
    }
    EXPECT_FALSE(deleted);
    callback.Release();
    EXPECT_TRUE(deleted);
    EXPECT_TRUE(partDeleted);
}

TEST(CUnknown, AggregatedPartAnswersAsTheWhole)
{
    bool deleted = false;
    bool partDeleted = false;
    const CComPtr<Whole> whole(new Whole(&deleted, &partDeleted));
    CComPtr<IMFAsyncCallback> callback;
    whole->QueryInterface(__uuidof(IMFAsyncCallback), reinterpret_cast<void **>(&callback));
    CComPtr<IUnknown> throughPart;
    CComPtr<IUnknown> throughWhole;
    callback->QueryInterface(__uuidof(IUnknown), reinterpret_cast<void **>(&throughPart));
    whole->QueryInterface(__uuidof(IUnknown), reinterpret_cast<void **>(&throughWhole));
    EXPECT_EQ(throughPart.p, throughWhole.p);
}

TEST(CUnknown, ReferencesTakenInTheDestructorDoNotDeleteAgain)
{
    int deletions = 0;
    CComPtr<Farewell>(new Farewell(&deletions)).Release();
    EXPECT_EQ(deletions, 1);
}

TEST(GetInterface, AddsOneReference)
{
    bool deleted = false;
    const CComPtr<Part> part(new Part(&deleted));
    CComPtr<IUnknown> out;
    ASSERT_EQ(GetInterface(static_cast<IMFAsyncCallback *>(part.p), reinterpret_cast<void **>(&out)), S_OK);
    EXPECT_EQ(part->AddRef(), 3U);
    part->Release();
    EXPECT_EQ(GetInterface(static_cast<IMFAsyncCallback *>(part.p), nullptr), E_POINTER);
}
