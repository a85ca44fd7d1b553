#pragma once

#include "hostfw/ComException.h"

#include <QtCore/QLoggingCategory>

#include <windows.h>

// The five check forms. Each evaluates its expression once; on failure it writes one critical line that quotes the
// expression as it stands in the source into the category that checkCategory names, and then returns or
// throws.
//
//   CHECK_HR(expression)          FAILED: return the result from the enclosing function
//   THROW_HR(expression)          FAILED: throw ComException(result, "Error")
//   CHECK_ARGUMENT(pointer)       null:   return E_INVALIDARG
//   CHECK_POINTER(pointer)        null:   return E_POINTER
//   THROW_POINTER(pointer)        null:   throw ComException(E_POINTER, "Null pointer")
//
// A folder that uses them has a header that says where: constexpr auto checkCategory = sourceCategory;

using CheckCategory = const QLoggingCategory &();

// Log the failure of `text`, if it is one, and return whether it is. The brackets are written here. Callers use these
// directly where the text to be logged is not the expression itself.
bool checkFailed(CheckCategory &category, const char *text, HRESULT hr);
bool checkFailed(CheckCategory &category, const char *text, const void *pointer);
// As above, and throw.
void checkOrThrow(CheckCategory &category, const char *text, HRESULT hr);
void checkOrThrow(CheckCategory &category, const char *text, const void *pointer);

#define CHECK_HR(expression)                                                                                           \
    do {                                                                                                               \
        const HRESULT checkedResult = (expression);                                                                    \
        if (checkFailed(*checkCategory, #expression, checkedResult))                                                   \
            return checkedResult;                                                                                      \
    } while (false)

#define THROW_HR(expression) checkOrThrow(*checkCategory, #expression, static_cast<HRESULT>(expression))

#define CHECK_ARGUMENT(pointer)                                                                                        \
    do {                                                                                                               \
        if (checkFailed(*checkCategory, #pointer, static_cast<const void *>(pointer)))                                 \
            return E_INVALIDARG;                                                                                       \
    } while (false)

#define CHECK_POINTER(pointer)                                                                                         \
    do {                                                                                                               \
        if (checkFailed(*checkCategory, #pointer, static_cast<const void *>(pointer)))                                 \
            return E_POINTER;                                                                                          \
    } while (false)

#define THROW_POINTER(pointer) checkOrThrow(*checkCategory, #pointer, static_cast<const void *>(pointer))
