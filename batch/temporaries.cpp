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
    for (const std::string &path : m_paths)
        unlink(path.c_str());
}

} // namespace batch
