#pragma once

#include "hostfw/ComPtr.h"
#include "tests/multimedia/Recorded.h"
#include "tests/support/FunctionCallback.h"

#include <mfapi.h>

#include <memory>

// Whether the standard work queue, which runs one item after another, has run what was put on it before.
inline bool drainStandardQueue()
{
    const auto reached = std::make_shared<Gate>();
    const CComPtr<IMFAsyncCallback> item(new FunctionCallback([reached](IMFAsyncResult *) { reached->open(); }));
    return SUCCEEDED(MFPutWorkItem(MFASYNC_CALLBACK_QUEUE_STANDARD, item, nullptr)) && reached->wait();
}
