#pragma once

#include <QElapsedTimer>

#include <mutex>
#include <string>

#include "batch/cli/options.h"
#include "batch/cli/photoresult.h"
#include "batch/cli/runoutcome.h"

namespace batch {

// Tells the user what happens: failures and, as wished, every photo and a
// progress bar on standard error, JSON and the plan of a dry run on standard output.
// Thread-safe.
class Reporter
{
public:
    explicit Reporter(const Options &options);

    void begin(std::size_t photos);
    void note(const std::string &line); // for --verbose
    // One photo has ended; its names as the user would give them.
    void photo(const std::string &input, const std::string &output, const PhotoResult &result);
    // False when standard output did not take all of the JSON or the plan.
    bool end();
    RunOutcome outcome();
    // Takes the bar away and lets nobody write any more; for the end of the
    // process. Does not wait for a reader that has stopped reading.
    void silence();

private:
    void writeJson(const std::string &input, const std::string &output, const PhotoResult &result);
    void writeText(const std::string &input, const std::string &output, const PhotoResult &result);
    void writeOutput(const std::string &line);
    std::size_t count(Status status) const { return m_counts[static_cast<int>(status)]; }
    std::string totals() const;
    std::string warningFor(const std::string &warning) const;
    void writeLine(const std::string &line);
    void drawBar();
    void clearBar();

    const Options &m_options;
    std::timed_mutex m_lock;
    QElapsedTimer m_clock;
    bool m_showsBar = false;
    bool m_colours = false;
    bool m_barIsDrawn = false;
    const bool m_outputIsTerminal;
    bool m_lostOutput = false;
    std::string m_firstFailure;
    std::size_t m_total = 0;
    std::size_t m_counts[4] = {}; // by Status
    std::size_t m_ended = 0;
    double m_megapixels = 0;
};

// A file name for a line of text: control characters, which could break the line
// or steer the terminal, are written as \n, \t or octal, a backslash doubled.
std::string printable(const std::string &name);

// Writes text to where messages go, as far as somebody listens.
void writeMessage(const std::string &text);

} // namespace batch
