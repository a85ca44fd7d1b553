#include "sink/NDIMediaTypeHandler.h"

#include "hostfw/MediaTypeText.h"
#include "plugin/Logging.h"
#include "sink/NDISinkStream.h"
#include "sink/SinkChecks.h"

#include <mfapi.h>
#include <mferror.h>

namespace
{

// Whether both agree in every attribute that both have.
bool agree(IMFMediaType *offered, IMFMediaType *proposed)
{
    BOOL result = FALSE;
    offered->Compare(proposed, MF_ATTRIBUTES_MATCH_INTERSECTION, &result);
    return result != FALSE;
}

} // namespace

NDIMediaTypeHandler::NDIMediaTypeHandler(NDISinkStream *stream)
    : CUnknown(L"NDIMediaTypeHandler", stream), m_stream(stream)
{
    THROW_POINTER(stream);
}

HRESULT NDIMediaTypeHandler::NonDelegatingQueryInterface(REFIID iid, void **out)
{
    if (IsEqualIID(iid, __uuidof(IMFMediaTypeHandler)))
        return GetInterface(static_cast<IMFMediaTypeHandler *>(this), out);
    return CUnknown::NonDelegatingQueryInterface(iid, out);
}

HRESULT NDIMediaTypeHandler::IsMediaTypeSupported(IMFMediaType *pMediaType, IMFMediaType ** /*ppMediaType*/)
{
    CHECK_ARGUMENT(pMediaType);
    GUID majorType = GUID_NULL;
    CHECK_HR(pMediaType->GetGUID(MF_MT_MAJOR_TYPE, &majorType));
    const GUID ownMajorType = this->majorType();
    if (IsEqualGUID(majorType, ownMajorType)) {
        GUID subType = GUID_NULL; // has to be there; the comparison looks at it
        CHECK_HR(pMediaType->GetGUID(MF_MT_SUBTYPE, &subType));
        for (const CComPtr<IMFMediaType> &offered : m_offeredTypes) {
            if (agree(offered, pMediaType)) {
                qCDebug(sinkCategory) << "Media type is supported:" << to_qstring(pMediaType);
                return S_OK;
            }
        }
    }
    qCDebug(sinkCategory) << "Media type is not supported:" << to_qstring(pMediaType);
    return MF_E_INVALIDTYPE;
}

HRESULT NDIMediaTypeHandler::GetMediaTypeCount(DWORD *pdwTypeCount)
{
    CHECK_ARGUMENT(pdwTypeCount);
    *pdwTypeCount = static_cast<DWORD>(m_offeredTypes.size());
    return S_OK;
}

HRESULT NDIMediaTypeHandler::GetMediaTypeByIndex(DWORD dwIndex, IMFMediaType **ppType)
{
    CHECK_ARGUMENT(ppType);
    if (dwIndex >= m_offeredTypes.size())
        return MF_E_NO_MORE_TYPES;
    return m_offeredTypes[dwIndex].CopyTo(ppType);
}

HRESULT NDIMediaTypeHandler::SetCurrentMediaType(IMFMediaType *pMediaType)
{
    const AutoLock lock(m_lock);
    CHECK_ARGUMENT(pMediaType);
    if (m_currentType != pMediaType)
        m_currentType = pMediaType;
    CHECK_HR(m_stream->MediaTypeResolved(pMediaType));
    return S_OK;
}

HRESULT NDIMediaTypeHandler::GetCurrentMediaType(IMFMediaType **ppMediaType)
{
    const AutoLock lock(m_lock);
    CHECK_ARGUMENT(ppMediaType);
    if (!m_currentType)
        return MF_E_NOT_INITIALIZED;
    return m_currentType.CopyTo(ppMediaType);
}

HRESULT NDIMediaTypeHandler::GetMajorType(GUID *pguidMajorType)
{
    CHECK_ARGUMENT(pguidMajorType);
    *pguidMajorType = majorType();
    return S_OK;
}

std::shared_ptr<NDIMediaTypeHandler> NDIMediaTypeHandler::initialized(std::shared_ptr<NDIMediaTypeHandler> handler)
{
    if (FAILED(handler->initialize()))
        handler.reset();
    return handler;
}

HRESULT NDIMediaTypeHandler::initialize()
{
    for (const GUID &subtype : supportedSubtypes()) {
        const HRESULT hr = createMediaType(subtype, &m_offeredTypes.emplace_back());
        if (FAILED(hr)) {
            qCCritical(sinkCategory, "Failed to create media type");
            m_offeredTypes.clear();
            return hr;
        }
    }
    return S_OK;
}
