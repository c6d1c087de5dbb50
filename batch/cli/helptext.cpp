#include "batch/cli/helptext.h"

#include <algorithm>
#include <sstream>

#include "batch/cli/optiontable.h"

namespace batch {

namespace {

constexpr std::size_t helpColumn = 26; // where the explanations begin
constexpr std::size_t helpWidth = 80;

struct Example
{
    const char *command;
    const char *meaning;
};

constexpr Example examples[] = {
    {"crayvell-batch beach.jpg", "makes beach-sketch.jpg"},
    {"crayvell-batch -r --output-dir out album", "a whole tree of photos"},
    {"crayvell-batch -o - --black 40 - <in.png >out.jpg", "in a pipe"},
};

constexpr const char *manualDate = "2026-11-22"; // of its last change
constexpr const char *purpose = "turn photos into pencil sketches";
constexpr const char *synopsis = "crayvell-batch [OPTION]... PHOTO|FOLDER|-...";
constexpr const char *exitCodes = "Exit code: 0 all done, 1 some photos failed, 2 wrong usage, "
                                  "130 interrupted.";

std::string longName(const OptionEntry &entry)
{
    return std::string("--") + entry.longName;
}

// As in "-o, --output FILE", the long names below each other.
std::string usageOf(const OptionEntry &entry)
{
    std::string text = entry.shortName ? std::string("-") + entry.shortName + ", " : "    ";
    text += longName(entry);
    return entry.argument ? text + " " + entry.argument : text;
}

std::string padded(std::string text, std::size_t width)
{
    text.resize(std::max(text.size() + 1, width), ' ');
    return text;
}

std::string helpLine(const std::string &usage, const std::string &brief)
{
    return padded("  " + usage, helpColumn) + brief + "\n";
}

// The names of the options that there is no room to explain.
std::string otherOptions()
{
    std::string text;
    std::string line = "More, in the manual (man crayvell-batch):";
    const char *separator = " ";
    for (const OptionEntry &entry : optionTable()) {
        if (entry.isExplained)
            continue;
        const std::string name = separator + longName(entry);
        separator = ", ";
        if (line.size() + name.size() >= helpWidth) {
            text += line + ",\n";
            line = "  " + longName(entry);
        } else {
            line += name;
        }
    }
    return text + line + "\n";
}

std::string replaced(std::string text, const std::string &from, const std::string &to)
{
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

// Text for troff: a plain hyphen would become a typographic one, and a leading
// dot a request.
std::string troff(const std::string &text)
{
    return replaced(replaced(text, "\\", "\\e"), "-", "\\-");
}

// Text between single quotes of a shell.
std::string quoted(const std::string &text)
{
    return "'" + replaced(text, "'", "'\\''") + "'";
}

// A line for each sentence, and none longer than a reader of the source likes.
std::string manualText(const std::string &text)
{
    constexpr std::size_t width = 78;
    std::istringstream words(troff(text));
    std::string lines, line;
    for (std::string word; words >> word;) {
        const bool isFull = line.size() + 1 + word.size() > width;
        if (!line.empty() && (isFull || line.ends_with('.'))) {
            lines += line + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    return lines + line + "\n";
}

std::string manualOption(const OptionEntry &entry)
{
    std::string text = ".TP\n";
    std::string names =
        entry.shortName ? "\\fB\\-" + std::string(1, entry.shortName) + "\\fR, " : "";
    names += "\\fB" + troff(longName(entry)) + "\\fR";
    if (entry.argument)
        names += " \\fI" + troff(entry.argument) + "\\fR";
    return text + names + "\n" + manualText(entry.description);
}

std::string manualExamples()
{
    std::string text = ".SH EXAMPLES\n";
    for (const Example &example : examples) {
        text += ".TP\n.B " + troff(example.command) + "\n" + troff(example.meaning) + "\n";
    }
    return text;
}

constexpr const char *manualBody = R"(.SH DESCRIPTION
Every photo is sketched as the window program does it, and written as a picture
of one channel.
Without \-o and \-\-output\-dir the sketch of beach.jpg is beach\-sketch.jpg
beside it.
With \- as the only photo, standard input is read and standard output written.
.PP
JPEG, PNG, TIFF, WebP, BMP, GIF, PPM and PGM are read, told by their content.
Photos are turned upright.
.PP
Nothing is lost: no output is replaced unless that is asked for, no photo is
ever written onto, and when two photos would have one output nothing is written
at all.
Every sketch appears under its name in one step, complete, whenever the program
is stopped.
)";

constexpr const char *manualEnd = R"(.SH JSON
With \-\-json, each photo is one object on a line of its own, with these fields:
.TP
.BR input ", " output
The names of the photo and of its sketch.
Bytes that are no UTF\-8 are replaced.
.TP
.B status
done, skipped, failed, or in a dry run planned.
.TP
.B reason
Why it was skipped or has failed; else empty.
.TP
.B warning
What a sketch that was made lacks; mostly empty.
.TP
.B milliseconds
How long the work on the sketch took.
.TP
.BR width ", " height
Of the sketch in pixels; 0 where they did not come to light.
.SH MEMORY
A JPEG, a PNG and most TIFFs are decoded, sketched and written in bands of 32
rows, and never stand in memory as a whole.
Progressive JPEGs, interlaced PNGs and the other formats take 3 to 16 bytes a
pixel.
Photos in work together stay within \-\-max\-memory: the next one waits for its
turn, and one that needs more by itself is refused.
The names of the photos take 80 to 150 bytes each.
.SH EXIT STATUS
.TP
0
All photos are done, or were skipped as asked for.
.TP
1
Some failed; each is one line on standard error.
.TP
2
Wrong usage, or outputs that collide; nothing was written.
.PP
Ended by a signal, the program leaves nothing half done, and a shell counts 128
and the signal's number: 129 for SIGHUP, 130 for SIGINT, 143 for SIGTERM.
Signals that the caller ignores are ignored.
.SH ENVIRONMENT
.TP
.B NO_COLOR
With any value, the progress bar has no colours.
.TP
.B TERM
With the value dumb there is no progress bar.
.SH SEE ALSO
.BR crayvell (1),
.BR find (1),
.BR notify\-send (1),
.BR parallel (1)
)";

// ---- completions ----

std::string bashWords(const OptionEntry &entry)
{
    std::string words = longName(entry);
    if (entry.shortName)
        words += std::string(" -") + entry.shortName;
    return words;
}

std::string bashCase(const OptionEntry &entry)
{
    const std::string pattern = replaced(bashWords(entry), " ", "|");
    switch (entry.kind) {
    case ArgumentKind::None: return {};
    case ArgumentKind::File: return "    " + pattern + ") _filedir; return ;;\n";
    case ArgumentKind::Folder: return "    " + pattern + ") _filedir -d; return ;;\n";
    case ArgumentKind::Choice:
        return "    " + pattern + ") COMPREPLY=($(compgen -W " + quoted(entry.choices)
            + " -- \"$cur\")); return ;;\n";
    case ArgumentKind::Other: break;
    }
    return "    " + pattern + ") return ;;\n";
}

std::string zshAction(const OptionEntry &entry)
{
    const std::string name = replaced(entry.argument ? entry.argument : "", "|", " or ");
    switch (entry.kind) {
    case ArgumentKind::None: return {};
    case ArgumentKind::File: return ":" + name + ":_files";
    case ArgumentKind::Folder: return ":" + name + ":_files -/";
    case ArgumentKind::Choice: return ":" + name + ":(" + entry.choices + ")";
    case ArgumentKind::Other: break;
    }
    return ":" + name + ": ";
}

std::string fishArgument(const OptionEntry &entry)
{
    switch (entry.kind) {
    case ArgumentKind::None: return {};
    case ArgumentKind::File: return " -r -F";
    case ArgumentKind::Folder: return " -x -a '(__fish_complete_directories)'";
    case ArgumentKind::Choice: return " -x -a " + quoted(entry.choices);
    case ArgumentKind::Other: break;
    }
    return " -x";
}

} // namespace

std::string helpText()
{
    std::string text;
    for (const Example &example : examples)
        text += padded(example.command, 50) + "# " + example.meaning + "\n";
    text += std::string("Usage: ") + synopsis + "\n";
    for (const OptionEntry &entry : optionTable()) {
        if (entry.isExplained)
            text += helpLine(usageOf(entry), entry.brief);
    }
    return text + otherOptions() + exitCodes + "\n";
}

std::string manualPage(const std::string &version)
{
    std::string text =
        std::string(".TH CRAYVELL\\-BATCH 1 ") + manualDate + " \"Crayvell " + version + "\"\n";
    text += ".SH NAME\n" + troff(programName) + " \\- " + purpose + "\n";
    text += ".SH SYNOPSIS\n.B " + troff(programName) + "\n"
        + troff(std::string(synopsis).substr(sizeof programName)) + "\n";
    text += std::string(manualBody) + ".SH OPTIONS\n";
    for (const OptionEntry &entry : optionTable())
        text += manualOption(entry);
    return text + manualEnd + manualExamples();
}

std::string bashCompletion()
{
    std::string words, cases;
    for (const OptionEntry &entry : optionTable()) {
        words += (words.empty() ? "" : " ") + bashWords(entry);
        cases += bashCase(entry);
    }
    return "# bash completion for crayvell-batch\n"
           "_crayvell_batch()\n{\n"
           "    local cur prev words cword split=false i\n"
           "    _init_completion -s || return\n"
           "    for ((i = 1; i < cword; i++)); do\n"
           "        [[ ${words[i]} == -- ]] || continue\n"
           "        _filedir\n"
           "        return\n"
           "    done\n"
           "    case $prev in\n"
        + cases
        + "    esac\n"
          "    if $split; then\n"
          "        return\n" // no option that takes a value
          "    elif [[ $cur == -* ]]; then\n"
          "        COMPREPLY=($(compgen -W "
        + quoted(words)
        + " -- \"$cur\"))\n"
          "    else\n"
          "        _filedir\n"
          "    fi\n"
          "}\n"
          "complete -F _crayvell_batch crayvell-batch\n";
}

std::string zshCompletion()
{
    std::string text = "#compdef crayvell-batch\n_arguments -s -S \\\n";
    for (const OptionEntry &entry : optionTable()) {
        const std::string brief = replaced(replaced(entry.brief, "[", "\\["), "]", "\\]");
        const std::string rest = "[" + brief + "]" + zshAction(entry);
        // The argument of a letter may stand at it, that of a name behind "=".
        if (entry.shortName) {
            const char *const isJoined = entry.argument ? "+" : "";
            text += "  " + quoted(std::string("-") + entry.shortName + isJoined + rest) + " \\\n";
        }
        text += "  " + quoted(longName(entry) + (entry.argument ? "=" : "") + rest) + " \\\n";
    }
    return text + "  '*:photo or folder:_files'\n";
}

std::string fishCompletion()
{
    std::string text = "# fish completion for crayvell-batch\n";
    for (const OptionEntry &entry : optionTable()) {
        text += "complete -c crayvell-batch -l " + std::string(entry.longName);
        if (entry.shortName)
            text += std::string(" -s ") + entry.shortName;
        text += fishArgument(entry) + " -d " + quoted(entry.brief) + "\n";
    }
    return text;
}

} // namespace batch
