// COM is free-threaded here: an apartment is a count per thread, and its kind only a word to be kept.

#include <windows.h>

#include <objbase.h>

namespace
{

struct Apartment {
    unsigned entered = 0;
    DWORD kind = 0;
};

// Not inlined: in a function of the Windows calling convention gcc keeps values in registers that the look-up of a
// thread's variable overwrites.
[[gnu::noinline]] Apartment &apartmentOfThread()
{
    thread_local Apartment apartment;
    return apartment;
}

} // namespace

HRESULT WINAPI CoInitializeEx(LPVOID reserved, DWORD kind)
{
    if (reserved)
        return E_INVALIDARG;
    kind &= COINIT_APARTMENTTHREADED;
    Apartment &apartment = apartmentOfThread();
    if (apartment.entered > 0 && apartment.kind != kind)
        return RPC_E_CHANGED_MODE;
    apartment.kind = kind;
    return apartment.entered++ == 0 ? S_OK : S_FALSE;
}

void WINAPI CoUninitialize()
{
    Apartment &apartment = apartmentOfThread();
    if (apartment.entered > 0)
        --apartment.entered;
}
