#pragma once

#include <QtGlobal>

#include <condition_variable>
#include <mutex>

namespace batch {

// Lets jobs in while the memory they announce stays within a bound, in the order
// in which they came, so that a large one is not kept waiting by small ones.
class MemoryGate
{
public:
    explicit MemoryGate(qint64 capacity)
        : m_capacity(capacity)
    {
    }
    qint64 capacity() const { return m_capacity; }

    // A share of the memory, given back with the object.
    class Share
    {
    public:
        // Waits. The need must not exceed the gate's capacity.
        Share(MemoryGate &gate, qint64 need);
        ~Share();
        Share(const Share &) = delete;
        Share &operator=(const Share &) = delete;

    private:
        MemoryGate &m_gate;
        qint64 m_need;
    };

private:
    const qint64 m_capacity;
    qint64 m_taken = 0;
    quint64 m_nextTicket = 0;
    quint64 m_served = 0;
    std::mutex m_lock;
    std::condition_variable m_changed;
};

} // namespace batch
