// Identifiers: made new, and as text.

#include <windows.h>

#include <objbase.h>

#include <algorithm>
#include <cstdio>
#include <random>

HRESULT WINAPI CoCreateGuid(GUID *identifier)
{
    if (!identifier)
        return E_INVALIDARG;
    std::random_device random;
    std::uniform_int_distribution<unsigned> anyByte(0, 255);
    auto *const bytes = reinterpret_cast<BYTE *>(identifier);
    std::generate(bytes, bytes + sizeof *identifier, [&] { return static_cast<BYTE>(anyByte(random)); });
    // Says that it is random, as RFC 4122 has it for version 4.
    identifier->Data3 = static_cast<WORD>((identifier->Data3 & 0x0FFF) | 0x4000);
    identifier->Data4[0] = static_cast<BYTE>((identifier->Data4[0] & 0x3F) | 0x80);
    return S_OK;
}

INT WINAPI StringFromGUID2(REFGUID identifier, LPOLESTR text, INT size)
{
    constexpr INT needed = 39; // {8-4-4-4-12} and the end
    if (!text || size < needed)
        return 0;
    char plain[needed];
    const BYTE *const rest = identifier.Data4;
    std::snprintf(plain, sizeof plain, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  static_cast<unsigned>(identifier.Data1), identifier.Data2, identifier.Data3, rest[0], rest[1],
                  rest[2], rest[3], rest[4], rest[5], rest[6], rest[7]);
    std::copy_n(plain, needed, text);
    return needed;
}
