// The task allocator: memory that crosses an interface and is freed by its receiver.

#include <windows.h>

#include <objbase.h>

#include <cstdlib>

LPVOID WINAPI CoTaskMemAlloc(SIZE_T size)
{
    return std::malloc(size ? size : 1);
}

LPVOID WINAPI CoTaskMemRealloc(LPVOID block, SIZE_T size)
{
    if (block && size == 0) {
        std::free(block);
        return nullptr;
    }
    return std::realloc(block, size ? size : 1);
}

void WINAPI CoTaskMemFree(LPVOID block)
{
    std::free(block);
}
