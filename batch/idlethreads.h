#pragma once

#include <atomic>

namespace batch {

// The threads that -j allows and no photo keeps busy.
class IdleThreads
{
public:
    explicit IdleThreads(int count = 0)
        : m_count(count)
    {
    }

    void add() { ++m_count; }
    // False where there is none.
    bool take()
    {
        int count = m_count.load();
        while (count > 0 && !m_count.compare_exchange_weak(count, count - 1)) { }
        return count > 0;
    }

private:
    std::atomic<int> m_count;
};

} // namespace batch
