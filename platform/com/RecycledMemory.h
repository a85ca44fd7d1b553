#pragma once

#include <cstddef>
#include <mutex>
#include <new>

namespace winmedia
{

// Memory for objects that are made and gone for every frame: a class that derives from RecycledMemory<itself> gets the
// memory of one that is gone rather than the heap's. Thread-safe.
template <typename Object>
class RecycledMemory
{
public:
    static void *operator new(std::size_t size, const std::nothrow_t &nothrow) noexcept
    {
        void *const memory = size == sizeof(Object) ? freeList().take() : nullptr;
        return memory ? memory : ::operator new(size, nothrow);
    }
    static void operator delete(void *memory, std::size_t size) noexcept
    {
        if (size != sizeof(Object) || !freeList().keep(memory))
            ::operator delete(memory);
    }
    static void operator delete(void *memory, const std::nothrow_t &) noexcept { ::operator delete(memory); }

protected:
    ~RecycledMemory() = default;

private:
    // At most that many blocks are kept.
    static constexpr std::size_t limit = 32;

    class FreeList
    {
    public:
        void *take() noexcept
        {
            const std::lock_guard lock(m_mutex);
            return m_count > 0 ? m_blocks[--m_count] : nullptr;
        }
        bool keep(void *memory) noexcept
        {
#ifdef __SANITIZE_ADDRESS__
            return !memory; // the sanitizer sees what is used after its end
#else
            const std::lock_guard lock(m_mutex);
            if (m_count == limit)
                return false;
            m_blocks[m_count++] = memory;
            return true;
#endif
        }

    private:
        std::mutex m_mutex;
        void *m_blocks[limit] = {};
        std::size_t m_count = 0;
    };

    // Never destroyed: objects may go after static ones.
    static FreeList &freeList()
    {
        static FreeList &list = *new FreeList;
        return list;
    }
};

} // namespace winmedia
