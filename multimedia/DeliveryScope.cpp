#include "multimedia/DeliveryScope.h"

DeliveryScope::DeliveryScope(const tvx::ISourceStream *stream, const std::atomic<unsigned> &flushes, unsigned taken)
    : m_outer(innermost()), m_stream(stream), m_flushes(flushes), m_taken(taken)
{
    innermost() = this;
}

DeliveryScope::~DeliveryScope()
{
    innermost() = m_outer;
}

bool DeliveryScope::isFlushed(const tvx::ISourceStream *stream)
{
    for (const DeliveryScope *scope = innermost(); scope; scope = scope->m_outer)
        if (scope->m_stream == stream)
            return scope->m_flushes != scope->m_taken;
    return false;
}

const DeliveryScope *&DeliveryScope::innermost()
{
    static thread_local const DeliveryScope *scope = nullptr;
    return scope;
}
