#include "batch/memorygate.h"

namespace batch {

MemoryGate::Share::Share(MemoryGate &gate, qint64 need)
    : m_gate(gate)
    , m_need(need)
{
    std::unique_lock guard(gate.m_lock);
    const quint64 ticket = gate.m_nextTicket++;
    gate.m_changed.wait(
        guard, [&] { return ticket == gate.m_served && gate.m_taken + need <= gate.m_capacity; });
    gate.m_taken += need;
    ++gate.m_served;
    gate.m_changed.notify_all();
}

MemoryGate::Share::~Share()
{
    const std::lock_guard guard(m_gate.m_lock);
    m_gate.m_taken -= m_need;
    m_gate.m_changed.notify_all();
}

} // namespace batch
