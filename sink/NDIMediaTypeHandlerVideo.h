#pragma once

#include "sink/NDIMediaTypeHandler.h"

// Offers progressive pictures with square pixels in UYVY, ARGB32 and RGB32. YUY2 is not offered: it would have to be
// converted on its way out.
class NDIMediaTypeHandlerVideo : public NDIMediaTypeHandler
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
