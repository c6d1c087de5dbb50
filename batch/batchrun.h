#pragma once

#include <atomic>

#include "batch/cli/exitcode.h"
#include "batch/cli/reporter.h"
#include "batch/sketchjob.h"

namespace batch {

// One run of the program: plans all photos, then works on them.
class BatchRun
{
public:
    // The options must outlive the run.
    BatchRun(const Options &options, Reporter &reporter);

    // Throws UsageError. Fails a photo rather than the run.
    ExitCode run();

private:
    void report(const PlannedPhoto &photo, const PhotoResult &result);
    void rehearse();
    void work();
    void workOn(std::size_t index, MemoryGate &memory, IdleThreads &threads) noexcept;
    qint64 memoryForJobs() const;

    const Options &m_options;
    Reporter &m_reporter;
    Plan m_plan;
    qint64 m_memory;
    std::atomic<bool> m_someFailed = false;
};

} // namespace batch
