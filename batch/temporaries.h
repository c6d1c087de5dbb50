#pragma once

#include <functional>
#include <mutex>
#include <set>
#include <string>

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
    void add(const std::string &path) { m_paths.insert(path); }
    void drop(const std::string &path) { m_paths.erase(path); }

    // Removes all that are left and lets no further step begin; for the end of
    // the process.
    void abandon();

private:
    std::mutex m_lock;
    std::set<std::string> m_paths;
};

} // namespace batch
