#pragma once

#include <memory>

// What the work that runs now belongs to. An item pushed onto a message queue inherits the context of the code that
// pushed it, so a context lives exactly as long as the work that derives from its beginning is running or waiting.
class WorkContext
{
public:
    // The calling thread's context; null where nobody set one.
    static const std::shared_ptr<void> &current() { return slot(); }

    // Makes `context` the calling thread's for the object's lifetime.
    class Scope
    {
    public:
        explicit Scope(std::shared_ptr<void> context) : m_outer(std::move(context)) { m_outer.swap(slot()); }
        Scope(const Scope &) = delete;
        Scope &operator=(const Scope &) = delete;
        ~Scope() { m_outer.swap(slot()); }

    private:
        std::shared_ptr<void> m_outer;
    };

private:
    static std::shared_ptr<void> &slot();
};
