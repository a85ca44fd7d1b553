#include <windows.h>

#include <mfapi.h>

#include <cstring>

HRESULT WINAPI MFCopyImage(BYTE *destination, LONG destinationStride, const BYTE *source, LONG sourceStride,
                           DWORD width, DWORD lines)
{
    const auto bytes = static_cast<LONG>(width);
    if (destinationStride == bytes && sourceStride == bytes) {
        std::memcpy(destination, source, static_cast<size_t>(width) * lines);
        return S_OK;
    }
    for (DWORD line = 0; line < lines; ++line)
        std::memcpy(destination + static_cast<ptrdiff_t>(line) * destinationStride,
                    source + static_cast<ptrdiff_t>(line) * sourceStride, width);
    return S_OK;
}
