// The function below takes the place of the platform library's, since the loader looks into the program first.

#include "tests/support/native/MadeUpMediaTypes.h"

#include "tests/support/native/RealFunction.h"

#include <mfapi.h>

#include <atomic>

namespace
{

std::atomic<bool> madeUp{false};
std::atomic<HRESULT> madeUpResult{S_OK};
std::atomic<IMFMediaType *> madeUpType{nullptr};

} // namespace

MadeUpMediaTypes::MadeUpMediaTypes(HRESULT result, IMFMediaType *type)
{
    madeUpResult = result;
    madeUpType = type;
    madeUp = true;
}

MadeUpMediaTypes::~MadeUpMediaTypes()
{
    madeUp = false;
}

extern "C" __attribute__((visibility("default"))) HRESULT WINAPI MFCreateMediaType(IMFMediaType **type)
{
    if (!madeUp) {
        static auto *const real = realFunction<decltype(MFCreateMediaType)>("MFCreateMediaType");
        return real(type);
    }
    const HRESULT result = madeUpResult;
    if (FAILED(result))
        return result;
    *type = madeUpType;
    if (*type)
        (*type)->AddRef();
    return result;
}
