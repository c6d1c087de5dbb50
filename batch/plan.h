#pragma once

#include <optional>
#include <vector>

#include "batch/inputlist.h"
#include "batch/knownfile.h"

namespace batch {

// What is to be done with one photo.
struct PlannedPhoto
{
    enum class Step : std::uint8_t {
        Sketch,
        Skip,
        Fail, // known before any work
        Conflict, // its output belongs to another photo, or is one
    };

    std::string input;
    std::string output;
    Step step = Step::Sketch;
    std::string reason; // for everything but Sketch
    std::optional<KnownFile> replaced; // an output that may be overwritten
};

// The output of every photo and what is in its way. It keeps what the texts are
// made from and makes them when they are asked for.
class Plan
{
public:
    Plan() = default;
    // Looks at the outputs, without writing anything. The options must outlive
    // the plan.
    Plan(InputList inputs, const Options &options);

    std::size_t size() const { return m_entries.size(); }
    PlannedPhoto::Step step(std::size_t index) const { return m_entries[index].step; }
    PlannedPhoto photo(std::size_t index) const;
    bool hasConflicts() const;
    std::size_t count(PlannedPhoto::Step step) const;
    qint64 memory() const; // in bytes

private:
    friend class Planner;

    enum class Reason : std::uint8_t {
        None,
        Unreadable,
        OutputExists,
        OutputIrregular,
        OutputThere,
        OutputNotOlder,
        SameOutput, // as the other photo
        OutputIsOther,
        OutputIsItself,
        SketchOfOther,
    };

    struct Entry
    {
        PlannedPhoto::Step step = PlannedPhoto::Step::Sketch;
        Reason reason = Reason::None;
        bool outputIsLink = false;
        std::uint32_t other = 0; // the other photo, or without a reason one more than
                                 // the index of the file replaced
    };

    std::string outputOf(std::size_t index) const;
    std::string reasonText(const Entry &entry, std::size_t index, const std::string &output) const;

    const Options *m_options = nullptr;
    InputList m_inputs;
    std::vector<Entry> m_entries;
    std::deque<KnownFile> m_replaced;
};

} // namespace batch
