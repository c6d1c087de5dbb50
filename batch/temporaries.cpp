#include "batch/temporaries.h"

#include <unistd.h>

namespace batch {

Temporaries &Temporaries::instance()
{
    // Never destroyed: the signal thread may outlive the statics of main().
    static auto *const temporaries = new Temporaries;
    return *temporaries;
}

void Temporaries::during(const std::function<void()> &step)
{
    const std::lock_guard guard(m_lock);
    step();
}

void Temporaries::abandon()
{
    m_lock.lock(); // and never unlocked
    for (const auto &[folder, name] : m_names)
        unlinkat(folder, name.c_str(), 0);
}

} // namespace batch
