#include "batch/cli/reporter.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "batch/cli/standardstreams.h"

namespace batch {

namespace {

constexpr int narrowestBar = 4;
constexpr int widestBar = 40;
constexpr int barText = 48; // columns for the numbers behind the bar
constexpr std::string_view barEraser = "\r\x1b[K";

bool terminalCanRedraw()
{
    const char *const terminal = std::getenv("TERM");
    return isatty(messageDescriptor()) && terminal && *terminal && std::string(terminal) != "dumb";
}

// See no-color.org: any value that is not empty counts.
bool wantsColours()
{
    const char *const without = std::getenv("NO_COLOR");
    return !without || !*without;
}

// What reads the JSON there may write to the terminal, between two states of the bar.
bool outputIsPipe()
{
    struct stat status
    {
    };
    return fstat(STDOUT_FILENO, &status) == 0
        && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

int terminalColumns()
{
    winsize size {};
    const bool known = ioctl(messageDescriptor(), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}

const char *statusName(Status status)
{
    switch (status) {
    case Status::Done: return "done";
    case Status::Planned: return "planned";
    case Status::Skipped: return "skipped";
    case Status::Failed: break;
    }
    return "failed";
}

std::string minutes(double seconds)
{
    const auto whole = static_cast<long>(seconds + 0.5);
    char text[32];
    std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    return text;
}

// A photo's line of text. The names are printable.
std::string lineFor(const std::string &input, const std::string &output, const PhotoResult &result)
{
    switch (result.status) {
    case Status::Done:
        return input + " -> " + output + ", " + std::to_string(result.size.width()) + " x "
            + std::to_string(result.size.height()) + ", " + std::to_string(result.milliseconds)
            + " ms";
    case Status::Planned: return input + " -> " + output + (result.replaces ? " (replaced)" : "");
    case Status::Skipped: return input + ": skipped: " + printable(result.reason);
    case Status::Failed: break;
    }
    return input + ": " + printable(result.reason);
}

std::string octal(unsigned char code)
{
    char text[8];
    std::snprintf(text, sizeof text, "\\%03o", code);
    return text;
}

} // namespace

void writeMessage(const std::string &text)
{
    writeFully(messageDescriptor(), text.data(), text.size()); // if anybody is listening
}

std::string printable(const std::string &name)
{
    std::string text;
    for (const char letter : name) {
        const auto code = static_cast<unsigned char>(letter);
        if (letter == '\\')
            text += "\\\\";
        else if (letter == '\n')
            text += "\\n";
        else if (letter == '\t')
            text += "\\t";
        else if (code < 0x20 || code == 0x7f)
            text += octal(code);
        else
            text += letter;
    }
    return text;
}

Reporter::Reporter(const Options &options)
    : m_options(options)
    , m_showsBar(!options.quiet && !options.dryRun && terminalCanRedraw()
                 && !(options.json && outputIsPipe()))
    , m_colours(wantsColours())
    , m_outputIsTerminal(isatty(STDOUT_FILENO))
{
    m_clock.start();
}

// A warning in full only for those who ask.
std::string Reporter::warningFor(const std::string &warning) const
{
    return m_options.verbose ? warning : warning.substr(0, warning.find(':'));
}

void Reporter::begin(std::size_t photos)
{
    const std::lock_guard guard(m_lock);
    m_total = photos;
    drawBar();
}

void Reporter::note(const std::string &line)
{
    const std::lock_guard guard(m_lock);
    if (m_options.verbose)
        writeLine(line);
}

void Reporter::photo(const std::string &input, const std::string &output, const PhotoResult &result)
{
    const std::lock_guard guard(m_lock);
    ++m_ended;
    ++m_counts[static_cast<int>(result.status)];
    if (result.status == Status::Done)
        m_megapixels += double(result.size.width()) * result.size.height() / 1e6;
    if (m_options.json)
        writeJson(input, output, result);
    writeText(input, output, result);
    if (result.status == Status::Done && !result.warning.empty() && !m_options.quiet)
        writeLine(printable(input) + ": " + printable(warningFor(result.warning)));
    drawBar();
}

void Reporter::writeText(const std::string &input, const std::string &output,
                         const PhotoResult &result)
{
    const bool isFailure = result.status == Status::Failed;
    const bool isPlan = m_options.dryRun && !m_options.json && !isFailure && !m_options.quiet;
    if (!isFailure && !isPlan && !(m_options.verbose && !m_options.quiet))
        return;
    const std::string line = lineFor(printable(input), printable(output), result);
    if (isFailure && m_firstFailure.empty())
        m_firstFailure = line;
    if (isPlan)
        writeOutput(line + '\n');
    else
        writeLine(line);
}

// The line of the terminal, where both are shown there, belongs to it alone.
void Reporter::writeOutput(const std::string &line)
{
    if (m_outputIsTerminal)
        clearBar();
    m_lostOutput |= !writeFully(STDOUT_FILENO, line.data(), line.size());
}

void Reporter::writeJson(const std::string &input, const std::string &output,
                         const PhotoResult &result)
{
    QJsonObject object {
        {QStringLiteral("input"), QString::fromStdString(input)},
        {QStringLiteral("output"), QString::fromStdString(output)},
        {QStringLiteral("status"), QLatin1String(statusName(result.status))},
        {QStringLiteral("reason"), QString::fromStdString(result.reason)},
        {QStringLiteral("warning"), QString::fromStdString(result.warning)},
        {QStringLiteral("milliseconds"), result.milliseconds},
        {QStringLiteral("width"), std::max(result.size.width(), 0)},
        {QStringLiteral("height"), std::max(result.size.height(), 0)},
    };
    writeOutput(QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString() + '\n');
}

bool Reporter::end()
{
    const std::lock_guard guard(m_lock);
    clearBar();
    if (m_lostOutput) {
        const std::string what = m_options.json ? "JSON" : "plan";
        writeLine("crayvell-batch: cannot write all of the " + what + " to standard output");
    }
    const bool isWanted = m_options.verbose || (m_showsBar && m_total > 1);
    if (isWanted)
        writeLine(totals());
    return !m_lostOutput;
}

std::string Reporter::totals() const
{
    const auto counted = [&](Status status) {
        return std::to_string(count(status)) + " " + statusName(status);
    };
    return counted(Status::Done) + ", " + counted(Status::Skipped) + ", " + counted(Status::Failed);
}

RunOutcome Reporter::outcome()
{
    const std::lock_guard guard(m_lock);
    return {count(Status::Done), count(Status::Skipped), count(Status::Failed), m_firstFailure};
}

void Reporter::silence()
{
    // Never unlocked again.
    if (m_lock.try_lock_for(std::chrono::milliseconds(200)) && m_barIsDrawn)
        writeIfRoom(messageDescriptor(), barEraser.data(), barEraser.size());
}

void Reporter::writeLine(const std::string &line)
{
    clearBar();
    writeMessage(line + '\n');
}

void Reporter::clearBar()
{
    if (m_barIsDrawn)
        writeMessage(std::string(barEraser));
    m_barIsDrawn = false;
}

void Reporter::drawBar()
{
    if (!m_showsBar || m_total == 0)
        return;
    const int width = std::clamp(terminalColumns() - barText, narrowestBar, widestBar);
    const auto filled = static_cast<std::size_t>(width) * m_ended / m_total;
    const double seconds = std::max<qint64>(m_clock.elapsed(), 1) / 1e3;
    std::string bar = std::string(filled, '#') + std::string(width - filled, '.');
    if (m_colours)
        bar = "\x1b[32m" + bar + "\x1b[0m";
    std::string text = "\r[" + bar + "] " + std::to_string(m_ended) + "/" + std::to_string(m_total);
    if (m_ended > 0) {
        char speed[32];
        std::snprintf(speed, sizeof speed, ", %.0f MP/s, ", m_megapixels / seconds);
        const auto left = static_cast<double>(m_total - m_ended);
        text += speed + minutes(seconds * left / static_cast<double>(m_ended)) + " left";
    }
    writeMessage(text + "\x1b[K");
    m_barIsDrawn = true;
}

} // namespace batch
