#pragma once

#include "hostfw/ComPtr.h"

// What the work that runs now belongs to. An item pushed onto a message queue inherits the context of the code that
// pushed it, so a context is referenced exactly as long as the work that derives from its beginning is running or
// waiting.
class WorkContext
{
public:
    // The calling thread's context; null where nobody set one.
    static IUnknown *current() { return slot(); }

    // Makes `context` the calling thread's for the object's lifetime.
    class Scope
    {
    public:
        explicit Scope(IUnknown *context) : m_context(context), m_outer(slot()) { slot() = context; }
        Scope(const Scope &) = delete;
        Scope &operator=(const Scope &) = delete;
        ~Scope() { slot() = m_outer; }

    private:
        const CComPtr<IUnknown> m_context;
        IUnknown *const m_outer; // held by the scope around this one
    };

private:
    // No owner: not every system still has a thread's variables when it runs their destructors.
    static IUnknown *&slot();
};
