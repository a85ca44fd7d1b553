#pragma once

#include <dlfcn.h>

// The library's own function of that name and type, for a function of the program that takes its place.
template <typename Function>
Function *realFunction(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}
