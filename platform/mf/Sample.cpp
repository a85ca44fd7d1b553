#include "platform/mf/SampleObject.h"

namespace winmedia
{

namespace
{

class Sample : public SampleObject<>
{
};

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreateSample(IMFSample **sample)
{
    if (!sample)
        return E_INVALIDARG;
    *sample = winmedia::createObject<winmedia::Sample>().detach();
    return *sample ? S_OK : E_OUTOFMEMORY;
}
