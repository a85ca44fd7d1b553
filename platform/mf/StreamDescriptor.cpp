#include "platform/mf/AttributeStore.h"
#include "platform/mf/MediaTypeHandler.h"

#include <mferror.h>
#include <mfidl.h>

namespace winmedia
{

namespace
{

class StreamDescriptor : public AttributesObject<IMFStreamDescriptor>
{
public:
    StreamDescriptor(DWORD identifier, Ref<IMFMediaTypeHandler> handler)
        : m_identifier(identifier), m_handler(std::move(handler))
    {
    }

    STDMETHODIMP GetStreamIdentifier(DWORD *identifier) override
    {
        if (!identifier)
            return E_POINTER;
        *identifier = m_identifier;
        return S_OK;
    }
    STDMETHODIMP GetMediaTypeHandler(IMFMediaTypeHandler **handler) override
    {
        return handler ? m_handler.copyTo(handler) : E_POINTER;
    }

private:
    const DWORD m_identifier;
    const Ref<IMFMediaTypeHandler> m_handler;
};

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreateStreamDescriptor(DWORD identifier, DWORD count, IMFMediaType **types,
                                        IMFStreamDescriptor **descriptor)
{
    using namespace winmedia;
    if (!types || !descriptor || count == 0)
        return E_INVALIDARG;
    std::vector<Ref<IMFMediaType>> references;
    for (DWORD index = 0; index < count; ++index) {
        if (!types[index])
            return E_INVALIDARG;
        references.emplace_back(types[index]);
    }
    const auto handler = createObject<MediaTypeHandler>(std::move(references));
    if (!handler)
        return E_OUTOFMEMORY;
    *descriptor = createObject<StreamDescriptor>(identifier, Ref<IMFMediaTypeHandler>(handler.get())).detach();
    return *descriptor ? S_OK : E_OUTOFMEMORY;
}
