#pragma once

// Keys that mean nothing to anybody.

#include <windows.h>

constexpr GUID anyKey = {0x21, 0, 0, {0x78, 0, 0, 0, 0, 0, 0, 1}};
constexpr GUID otherKey = {0x22, 0, 0, {0x78, 0, 0, 0, 0, 0, 0, 1}};
