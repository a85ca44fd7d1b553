#pragma once

#include "hostfw/Export.h"

#include <windows.h>

#include <functional>
#include <memory>

namespace tvx
{

// Runs functions one after another, in the order they were pushed, on a Media Foundation work queue.
//
// Copies refer to the same queue. Any thread may push, the queue's own included; push() returns at once. A function
// that returns a failure or throws is logged and the next one runs. Functions that are still waiting when the last copy
// goes are run all the same; the last copy may go on the queue's own thread.
class MULTIMEDIA_EXPORT MFMessageQueue
{
public:
    enum class Type {
        Shared = 0, // on the process-wide multithreaded queue: no thread of its own, must not block for long
        Serial = 1  // on a work queue with a thread of its own: may block
    };

    // `priority` is that of the work items among others on the same work queue, higher first.
    // Throws ComException with Media Foundation's failure when there is no work queue to be had for a serial one.
    MFMessageQueue(Type type, DWORD priority);
    MFMessageQueue(const MFMessageQueue &other);
    MFMessageQueue &operator=(const MFMessageQueue &other);
    ~MFMessageQueue();

    // E_INVALIDARG for an empty function; MF_E_SHUTDOWN when the platform is no longer started.
    HRESULT push(const std::function<HRESULT()> &function) const;

private:
    class Impl;
    std::shared_ptr<Impl> m_impl;
};

} // namespace tvx
