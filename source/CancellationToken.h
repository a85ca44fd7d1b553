#pragma once

#include <atomic>

// Tells a creation job that nobody waits for it any more. Shared by the node and its job; goes from false to true,
// once.
class CancellationToken
{
public:
    void cancel() { m_cancelled = true; }
    bool isCancelled() const { return m_cancelled; }

private:
    std::atomic<bool> m_cancelled{false};
};
