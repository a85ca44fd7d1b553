#pragma once

#include <functional>

#include <windows.h>

namespace host
{

// Has a function run once, on Media Foundation's standard work queue, when so many milliseconds are over. It does not
// run when Media Foundation is shut down before. Threads: any.
HRESULT runLater(unsigned milliseconds, std::function<void()> function);

// The same at once, on the queue for what takes long.
HRESULT runAside(std::function<void()> function);

} // namespace host
