#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>

namespace batch {

// The named files of this process that are not finished. Every step that makes
// such a name, gives it its final one or removes it happens under one lock, so
// that a signal finds each output either untouched or complete.
class Temporaries
{
public:
    static Temporaries &instance();

    // Runs a step, which may call add() and drop(), under the lock.
    void during(const std::function<void()> &step);
    // A name within an open folder, which stays open until the name is dropped. Dropping
    // takes no memory: it happens when that has run out, too.
    void add(int folder, const std::string &name) { m_names.emplace(folder, name); }
    void drop(int folder, const std::string &name) noexcept
    {
        std::erase_if(m_names, [&](const auto &known) {
            return known.first == folder && known.second == name;
        });
    }

    // Removes all that are left and lets no further step begin; for the end of the
    // process. Within a step, which has crashed then, it does nothing.
    void abandon();

private:
    class Owner;

    std::mutex m_lock;
    std::atomic<std::thread::id> m_owner; // who is in a step
    std::set<std::pair<int, std::string>> m_names;
};

} // namespace batch
