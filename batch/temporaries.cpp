#include "batch/temporaries.h"

#include <unistd.h>

namespace batch {

// Says who is in a step while it is.
class Temporaries::Owner
{
public:
    explicit Owner(std::atomic<std::thread::id> &owner)
        : m_owner(owner)
    {
        m_owner = std::this_thread::get_id();
    }
    ~Owner() { m_owner = std::thread::id(); }
    Owner(const Owner &) = delete;
    Owner &operator=(const Owner &) = delete;

private:
    std::atomic<std::thread::id> &m_owner;
};

Temporaries &Temporaries::instance()
{
    // Never destroyed: the signal thread may outlive the statics of main().
    static auto *const temporaries = new Temporaries;
    return *temporaries;
}

void Temporaries::during(const std::function<void()> &step)
{
    const std::lock_guard guard(m_lock);
    const Owner owner(m_owner);
    step();
}

void Temporaries::abandon()
{
    if (m_owner == std::this_thread::get_id())
        return; // its step has crashed and will never end
    m_lock.lock(); // and never unlocked
    for (const auto &[folder, name] : m_names)
        unlinkat(folder, name.c_str(), 0);
}

} // namespace batch
