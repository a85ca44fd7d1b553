#pragma once

#include <cstddef>
#include <utility>
#include <vector>

// A queue that keeps its room: it takes memory only when it grows beyond what it ever held. Not thread-safe.
template <typename T>
class RingBuffer
{
public:
    bool empty() const { return m_count == 0; }
    size_t size() const { return m_count; }
    // Counted from the front.
    T &operator[](size_t index) { return m_slots[slot(index)]; }
    const T &operator[](size_t index) const { return m_slots[slot(index)]; }
    T &front() { return (*this)[0]; }
    T &back() { return (*this)[m_count - 1]; }

    void pushBack(T value)
    {
        if (m_count == m_slots.size())
            grow();
        m_slots[slot(m_count)] = std::move(value);
        ++m_count;
    }
    T takeFront()
    {
        T value = std::exchange(front(), T());
        m_first = slot(1);
        --m_count;
        return value;
    }
    // Counted from the front; those behind it move up.
    T take(size_t index)
    {
        T value = std::exchange((*this)[index], T());
        for (; index + 1 < m_count; ++index)
            std::swap((*this)[index], (*this)[index + 1]);
        --m_count;
        return value;
    }
    void popBack()
    {
        back() = T();
        --m_count;
    }

private:
    static constexpr size_t leastRoom = 8;

    size_t slot(size_t index) const { return (m_first + index) % m_slots.size(); }

    void grow()
    {
        std::vector<T> slots(m_slots.empty() ? leastRoom : m_slots.size() * 2);
        for (size_t index = 0; index < m_count; ++index)
            slots[index] = std::move((*this)[index]);
        m_slots.swap(slots);
        m_first = 0;
    }

    std::vector<T> m_slots;
    size_t m_first = 0;
    size_t m_count = 0;
};
