#pragma once

#include "hostfw/ComPtr.h"

#include <new>
#include <utility>

namespace host
{

// A new COM object whose count starts at 0, or null when memory is out.
template <typename Object, typename... Arguments>
CComPtr<Object> createObject(Arguments &&...arguments)
{
    return CComPtr<Object>(new (std::nothrow) Object(std::forward<Arguments>(arguments)...));
}

} // namespace host
