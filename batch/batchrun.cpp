#include "batch/batchrun.h"

#include <QImageReader>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <limits>
#include <new>
#include <string_view>
#include <sys/mman.h>
#include <thread>
#include <utility>

#include "batch/cli/standardstreams.h"
#include "batch/toolkit.h"
#include "photo/memorybudget.h"

namespace batch {

namespace {

// Leaves room for everything else that runs on the machine.
constexpr qint64 shareOfMemory = 2;

std::size_t threadCount(const Options &options)
{
    const unsigned wanted =
        options.jobs ? static_cast<unsigned>(options.jobs) : std::thread::hardware_concurrency();
    return std::max(wanted, 1U);
}

// The photos that are left out are no work worth a thread.
std::size_t workerCount(const Options &options, const Plan &plan)
{
    const std::size_t photos = plan.count(PlannedPhoto::Step::Sketch);
    return std::min(threadCount(options), std::max<std::size_t>(photos, 1));
}

PhotoResult plannedResult(const PlannedPhoto &photo)
{
    PhotoResult result;
    result.reason = photo.reason;
    result.replaces = photo.replaced.has_value();
    if (photo.step == PlannedPhoto::Step::Sketch)
        result.status = Status::Planned;
    else if (photo.step == PlannedPhoto::Step::Skip)
        result.status = Status::Skipped;
    return result;
}

// Address space that the threads' stacks leave to the work itself where there is a
// limit: the toolkit does not survive that there is none at all.
class AddressSpaceReserve
{
public:
    AddressSpaceReserve()
        : m_start(
            mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0))
    {
        if (m_start == MAP_FAILED)
            throw std::bad_alloc();
    }
    ~AddressSpaceReserve() { munmap(m_start, bytes); }
    AddressSpaceReserve(const AddressSpaceReserve &) = delete;
    AddressSpaceReserve &operator=(const AddressSpaceReserve &) = delete;

private:
    static constexpr std::size_t bytes = 64 << 20;
    void *m_start;
};

std::string fewerWorkers(std::size_t count, std::size_t wanted)
{
    return "works on " + std::to_string(count) + (count == 1 ? " photo" : " photos")
        + " at a time, not on " + std::to_string(wanted) + ": the system has no more threads";
}

} // namespace

BatchRun::BatchRun(const Options &options, Reporter &reporter)
    : m_options(options)
    , m_reporter(reporter)
    , m_memory(options.maximumMemory)
{
    if (m_memory == 0)
        m_memory = std::max<qint64>(photo::availableMemory() / shareOfMemory, 1);
    // The last guard against a file whose header lied.
    constexpr qint64 most = std::numeric_limits<int>::max();
    QImageReader::setAllocationLimit(static_cast<int>(std::clamp<qint64>(m_memory >> 20, 1, most)));
}

ExitCode BatchRun::run()
{
    InputList inputs = collectInputs(m_options, m_memory);
    for (const char *const file : std::exchange(inputs.leftOut, {}))
        m_reporter.note(printable(file) + ": left out: is no photo");
    m_plan = Plan(std::move(inputs), m_options);
    const bool conflicts = m_plan.hasConflicts();
    if (m_options.dryRun || conflicts)
        rehearse();
    else
        work();
    if (!m_reporter.end())
        m_someFailed = true;
    if (conflicts)
        return ExitCode::WrongUsage;
    return m_someFailed ? ExitCode::SomeFailed : ExitCode::AllDone;
}

void BatchRun::report(const PlannedPhoto &photo, const PhotoResult &result)
{
    if (result.status == Status::Failed)
        m_someFailed = true;
    m_reporter.photo(photo.input, photo.output, result);
}

// Tells without doing: all of it in a dry run, else only what forbids the run.
void BatchRun::rehearse()
{
    for (std::size_t i = 0; i < m_plan.size(); ++i) {
        if (!m_options.dryRun && m_plan.step(i) != PlannedPhoto::Step::Conflict)
            continue;
        const PlannedPhoto photo = m_plan.photo(i);
        report(photo, plannedResult(photo));
    }
}

// The plan's whole megabytes are taken already; some work goes on in any case.
qint64 BatchRun::memoryForJobs() const
{
    constexpr qint64 least = 16 << 20;
    const qint64 left = m_memory - (m_plan.memory() >> 20 << 20);
    return std::max(left, std::min(least, m_memory));
}

void BatchRun::work()
{
    MemoryGate memory(memoryForJobs());
    m_reporter.begin(m_plan.size());
    const std::size_t wanted = workerCount(m_options, m_plan);
    IdleThreads threads(static_cast<int>(threadCount(m_options) - wanted));
    std::atomic<std::size_t> next = 0;
    const auto worker = [&] {
        for (std::size_t i = next++; i < m_plan.size(); i = next++)
            workOn(i, memory, threads);
        threads.add(); // to the photos that others still work on
    };
    std::vector<std::jthread> others;
    try {
        others.reserve(wanted - 1);
        const AddressSpaceReserve reserve;
        while (others.size() + 1 < wanted)
            others.emplace_back([&] {
                if (enterToolkit())
                    worker();
            });
    } catch (const std::exception &) { // of the system, or no memory
        m_reporter.note(fewerWorkers(others.size() + 1, wanted));
    }
    worker();
}

// Never throws: there may be nobody to catch it.
void BatchRun::workOn(std::size_t index, MemoryGate &memory, IdleThreads &threads) noexcept
{
    errno = 0; // what it says at a crash is to be this photo's
    try {
        const PlannedPhoto photo = m_plan.photo(index);
        const bool isDue = photo.step == PlannedPhoto::Step::Sketch;
        report(photo,
               isDue ? sketchPhoto(photo, m_options, memory, threads) : plannedResult(photo));
    } catch (...) {
        m_someFailed = true;
        constexpr std::string_view line = "a photo's end cannot be told: no memory\n";
        writeFully(messageDescriptor(), line.data(), line.size());
    }
}

} // namespace batch
