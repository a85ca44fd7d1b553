#pragma once

#include "hostfw/ComPtr.h"

#include <utility>

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
        explicit Scope(IUnknown *context) : m_outer(context) { std::swap(m_outer, slot()); }
        Scope(const Scope &) = delete;
        Scope &operator=(const Scope &) = delete;
        ~Scope() { std::swap(m_outer, slot()); }

    private:
        CComPtr<IUnknown> m_outer;
    };

private:
    static CComPtr<IUnknown> &slot();
};
