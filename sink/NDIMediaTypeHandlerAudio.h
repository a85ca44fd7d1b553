#pragma once

#include "sink/NDIMediaTypeHandler.h"

// Offers 32-bit float of any rate and any number of channels.
class NDIMediaTypeHandlerAudio : public NDIMediaTypeHandler
{
public:
    using NDIMediaTypeHandler::NDIMediaTypeHandler;

    // Null when the offered types cannot be made. Throws ComException without a stream.
    static std::shared_ptr<NDIMediaTypeHandler> create(NDISinkStream *stream);

protected:
    GUID majorType() const override;
    std::vector<GUID> supportedSubtypes() const override;
    HRESULT createMediaType(const GUID &subtype, IMFMediaType **ppType) const override;
};
