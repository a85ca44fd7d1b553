#pragma once

#include "hostfw/CUnknown.h"
#include "hostfw/ComPtr.h"
#include "hostfw/CriticalSection.h"

#include <mfidl.h>

#include <memory>
#include <vector>

class NDISinkStream;

// Negotiates the media type of one stream sink: offers a partial type for each subtype that can be sent, takes every
// type that does not contradict one of them, and tells its stream when the type is set.
//
// Made and owned by the stream; COM references to it are references to the stream. Any thread may call it. The offered
// types are made before the handler is handed out and only read afterwards.
class NDIMediaTypeHandler : public IMFMediaTypeHandler, public CUnknown
{
public:
    // Throws ComException without a stream. `stream` is not referenced: it owns the handler.
    explicit NDIMediaTypeHandler(NDISinkStream *stream);

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void **out) override;

    // IMFMediaTypeHandler
    // MF_E_INVALIDTYPE for a type that cannot be sent. `ppMediaType` stays as it is, whatever the answer.
    HRESULT STDMETHODCALLTYPE IsMediaTypeSupported(IMFMediaType *pMediaType, IMFMediaType **ppMediaType) override;
    HRESULT STDMETHODCALLTYPE GetMediaTypeCount(DWORD *pdwTypeCount) override;
    HRESULT STDMETHODCALLTYPE GetMediaTypeByIndex(DWORD dwIndex, IMFMediaType **ppType) override;
    // Takes any type: the topology has negotiated it already.
    HRESULT STDMETHODCALLTYPE SetCurrentMediaType(IMFMediaType *pMediaType) override;
    HRESULT STDMETHODCALLTYPE GetCurrentMediaType(IMFMediaType **ppMediaType) override;
    HRESULT STDMETHODCALLTYPE GetMajorType(GUID *pguidMajorType) override;

protected:
    virtual GUID majorType() const = 0;
    // In the order in which they are offered.
    virtual std::vector<GUID> supportedSubtypes() const = 0;
    // One offered type, with what every type of that subtype has to agree with.
    virtual HRESULT createMediaType(const GUID &subtype, IMFMediaType **ppType) const = 0;

    // The handler with its offered types, or null when one could not be made.
    static std::shared_ptr<NDIMediaTypeHandler> initialized(std::shared_ptr<NDIMediaTypeHandler> handler);

private:
    HRESULT initialize();

    CriticalSection m_lock;
    NDISinkStream *const m_stream;
    CComPtr<IMFMediaType> m_currentType; // guarded by m_lock
    std::vector<CComPtr<IMFMediaType>> m_offeredTypes;
};
