#include "batch/plan.h"

#include <algorithm>
#include <sys/stat.h>
#include <utility>

#include "batch/outputerrors.h"
#include "batch/outputkey.h"
#include "batch/outputname.h"

namespace batch {

namespace {

using Step = PlannedPhoto::Step;

bool isOlder(const struct stat &file, const struct stat &other)
{
    return std::pair(file.st_mtim.tv_sec, file.st_mtim.tv_nsec)
        < std::pair(other.st_mtim.tv_sec, other.st_mtim.tv_nsec);
}

} // namespace

// Looks at the outputs of a plan.
class Planner
{
public:
    explicit Planner(Plan &plan)
        : m_plan(plan)
        , m_options(*plan.m_options)
        , m_files(plan.m_inputs.files)
    {
    }

    void plan()
    {
        std::ranges::sort(m_files);
        settleOutputs();
        findSharedOutputs();
        // Only now is known which sketches are left alone.
        for (const InTheWay &found : m_inTheWay)
            settleInTheWay(found.output, found.input);
    }

private:
    using Reason = Plan::Reason;
    using Entry = Plan::Entry;

    // An output by the hash of its key.
    struct Output
    {
        std::size_t hash;
        std::uint32_t index;

        auto operator<=>(const Output &) const = default;
    };

    // A photo that is the output of another one, or of itself.
    struct InTheWay
    {
        std::uint32_t output; // the photo that it is the output of
        std::uint32_t input;
    };

    static void settle(Entry &entry, Step step, Reason reason, std::size_t other = 0)
    {
        entry.step = step;
        entry.reason = reason;
        entry.other = static_cast<std::uint32_t>(other);
    }

    void settleOutputs()
    {
        m_outputs.reserve(m_plan.size());
        for (std::size_t i = 0; i < m_plan.size(); ++i) {
            Entry &entry = m_plan.m_entries[i];
            if (m_plan.m_inputs.photos[i].problem != 0) {
                settle(entry, Step::Fail, Reason::Unreadable);
                continue;
            }
            const std::string output = m_plan.outputOf(i);
            if (output == "-")
                continue;
            settleExisting(entry, i, output);
            const std::size_t hash = m_keys.keyOf(output, entry.outputIsLink).hash();
            m_outputs.push_back({hash, static_cast<std::uint32_t>(i)});
        }
    }

    void settleExisting(Entry &entry, std::size_t index, const std::string &output)
    {
        struct stat status
        {
        };
        if (lstat(output.c_str(), &status) != 0)
            return;
        entry.outputIsLink = S_ISLNK(status.st_mode);
        const bool isFollowed = !entry.outputIsLink || stat(output.c_str(), &status) == 0;
        const bool isRegular = isFollowed && S_ISREG(status.st_mode);
        if (isRegular)
            findInTheWay(status, index);
        switch (m_options.existing) {
        case Existing::Fail: settle(entry, Step::Fail, Reason::OutputExists); return;
        case Existing::Skip: settle(entry, Step::Skip, Reason::OutputThere); return;
        case Existing::RedoOlder:
            if (isRegular && !isOlderThanPhoto(status, index)) {
                settle(entry, Step::Skip, Reason::OutputNotOlder);
                return;
            }
            break;
        case Existing::Overwrite: break;
        }
        if (!isRegular) {
            settle(entry, Step::Fail, Reason::OutputIrregular);
            return;
        }
        m_plan.m_replaced.emplace_back(status, entry.outputIsLink);
        entry.other = static_cast<std::uint32_t>(m_plan.m_replaced.size());
    }

    bool isOlderThanPhoto(const struct stat &output, std::size_t index) const
    {
        const std::string_view input = m_plan.m_inputs.photos[index].path;
        struct stat status
        {
        };
        return input == "-" || stat(input.data(), &status) != 0 || isOlder(output, status);
    }

    // Outputs of one hash stand side by side, in the order of their photos.
    void findSharedOutputs()
    {
        std::ranges::sort(m_outputs);
        for (auto first = m_outputs.begin(); first != m_outputs.end();) {
            const auto end = std::find_if(first, m_outputs.end(), [&](const Output &output) {
                return output.hash != first->hash;
            });
            if (end - first > 1)
                compareKeys(first, end);
            first = end;
        }
        m_outputs = {};
    }

    template <typename Iterator> void compareKeys(Iterator first, Iterator end)
    {
        for (; first != end; ++first) {
            const OutputKey key = keyOf(first->index);
            const auto rest = std::stable_partition(
                first + 1, end, [&](const Output &other) { return keyOf(other.index) == key; });
            for (auto same = first + 1; same != rest; ++same)
                markShared(first->index, same->index);
            first = rest - 1;
        }
    }

    OutputKey keyOf(std::size_t index)
    {
        return m_keys.keyOf(m_plan.outputOf(index), m_plan.m_entries[index].outputIsLink);
    }

    void markShared(std::size_t first, std::size_t index)
    {
        settle(m_plan.m_entries[index], Step::Conflict, Reason::SameOutput, first);
        if (m_plan.m_entries[first].step != Step::Conflict)
            settle(m_plan.m_entries[first], Step::Conflict, Reason::SameOutput, index);
    }

    void findInTheWay(const struct stat &status, std::size_t index)
    {
        const auto found =
            std::ranges::lower_bound(m_files, InputFile {status.st_dev, status.st_ino, 0});
        if (found != m_files.end() && found->device == status.st_dev
            && found->inode == status.st_ino)
            m_inTheWay.push_back({static_cast<std::uint32_t>(index), found->index});
    }

    void settleInTheWay(std::size_t output, std::size_t input)
    {
        Entry &entry = m_plan.m_entries[output];
        Entry &other = m_plan.m_entries[input];
        if (input == output)
            settle(entry, Step::Conflict, Reason::OutputIsItself);
        else if (entry.step == Step::Skip && other.step != Step::Conflict)
            settle(other, Step::Skip, Reason::SketchOfOther, output);
        else if (entry.step != Step::Conflict)
            settle(entry, Step::Conflict, Reason::OutputIsOther, input);
    }

    Plan &m_plan;
    const Options &m_options;
    std::deque<InputFile> &m_files;
    OutputKeys m_keys;
    std::vector<Output> m_outputs;
    std::deque<InTheWay> m_inTheWay;
};

Plan::Plan(InputList inputs, const Options &options)
    : m_options(&options)
    , m_inputs(std::move(inputs))
    , m_entries(m_inputs.photos.size())
{
    Planner(*this).plan();
    m_inputs.files = {};
}

std::string Plan::outputOf(std::size_t index) const
{
    return outputName(m_inputs.photos[index], *m_options);
}

bool Plan::hasConflicts() const
{
    return count(Step::Conflict) > 0;
}

std::size_t Plan::count(Step step) const
{
    return static_cast<std::size_t>(std::ranges::count(m_entries, step, &Entry::step));
}

qint64 Plan::memory() const
{
    return m_inputs.memory() + static_cast<qint64>(m_replaced.size() * sizeof(KnownFile));
}

PlannedPhoto Plan::photo(std::size_t index) const
{
    const Entry &entry = m_entries[index];
    PlannedPhoto photo;
    photo.input = m_inputs.photos[index].path;
    photo.step = entry.step;
    if (entry.reason != Reason::Unreadable)
        photo.output = outputOf(index);
    photo.reason = reasonText(entry, index, photo.output);
    if (entry.reason == Reason::None && entry.other > 0)
        photo.replaced = m_replaced[entry.other - 1];
    return photo;
}

std::string Plan::reasonText(const Entry &entry, std::size_t index, const std::string &output) const
{
    const auto other = [&] { return std::string(m_inputs.photos[entry.other].path); };
    switch (entry.reason) {
    case Reason::None: break;
    case Reason::Unreadable: return problemText(m_inputs.photos[index].problem);
    case Reason::OutputExists: return ::batch::OutputExists(output).what();
    case Reason::OutputIrregular: return "the output " + output + " is no regular file";
    case Reason::OutputThere: return ::batch::OutputExists::skipped;
    case Reason::OutputNotOlder: return "the output is not older";
    case Reason::SameOutput: return "has the same output as " + other() + ": " + output;
    case Reason::OutputIsOther: return "the output " + output + " is the photo " + other();
    case Reason::OutputIsItself: return "the output " + output + " is the photo itself";
    case Reason::SketchOfOther: return "is the sketch of " + other();
    }
    return {};
}

} // namespace batch
