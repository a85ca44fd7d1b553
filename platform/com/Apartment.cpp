// COM is free-threaded here: an apartment is a count per thread, and its kind only a word to be kept.

#include <windows.h>

#include <objbase.h>

namespace
{

struct Apartment {
    unsigned entered = 0;
    DWORD kind = 0;
};
thread_local Apartment apartment;

} // namespace

HRESULT WINAPI CoInitializeEx(LPVOID reserved, DWORD kind)
{
    if (reserved)
        return E_INVALIDARG;
    kind &= COINIT_APARTMENTTHREADED;
    if (apartment.entered > 0 && apartment.kind != kind)
        return RPC_E_CHANGED_MODE;
    apartment.kind = kind;
    return apartment.entered++ == 0 ? S_OK : S_FALSE;
}

void WINAPI CoUninitialize()
{
    if (apartment.entered > 0)
        --apartment.entered;
}
