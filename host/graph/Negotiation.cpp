#include "host/graph/Negotiation.h"

#include <mferror.h>

namespace host
{

namespace
{

// Offers the types of one side to the other until one is taken.
CComPtr<IMFMediaType> firstSupported(IMFMediaTypeHandler *offering, IMFMediaTypeHandler *taking)
{
    DWORD count = 0;
    if (FAILED(offering->GetMediaTypeCount(&count)))
        return nullptr;
    for (DWORD index = 0; index < count; ++index) {
        CComPtr<IMFMediaType> type;
        if (SUCCEEDED(offering->GetMediaTypeByIndex(index, &type)) && type &&
            SUCCEEDED(taking->IsMediaTypeSupported(type, nullptr)))
            return type;
    }
    return nullptr;
}

} // namespace

CComPtr<IMFMediaType> currentType(IMFStreamDescriptor *descriptor)
{
    CComPtr<IMFMediaTypeHandler> handler;
    if (FAILED(descriptor->GetMediaTypeHandler(&handler)))
        return nullptr;
    CComPtr<IMFMediaType> type;
    if (FAILED(handler->GetCurrentMediaType(&type)))
        handler->GetMediaTypeByIndex(0, &type);
    return type;
}

HRESULT negotiate(IMFStreamDescriptor *descriptor, IMFStreamSink *sink, bool enumerateSink)
{
    CComPtr<IMFMediaTypeHandler> source;
    HRESULT hr = descriptor->GetMediaTypeHandler(&source);
    if (FAILED(hr))
        return hr;
    CComPtr<IMFMediaTypeHandler> target;
    hr = sink->GetMediaTypeHandler(&target);
    if (FAILED(hr))
        return hr;
    CComPtr<IMFMediaType> type = currentType(descriptor);
    if (!type || FAILED(target->IsMediaTypeSupported(type, nullptr)))
        type = firstSupported(source, target);
    if (!type && enumerateSink)
        type = firstSupported(target, source);
    return type ? source->SetCurrentMediaType(type) : MF_E_INVALIDMEDIATYPE;
}

} // namespace host
