#include "batch/cli/commandline.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <getopt.h>
#include <unistd.h>

#include "batch/cli/optiontable.h"

namespace batch {

namespace {

// Above every character, so that long options without a short name have a code.
constexpr int longOnly = 256;

std::vector<option> longOptions()
{
    std::vector<option> options;
    for (int i = 0; const OptionEntry &entry : optionTable()) {
        options.push_back({entry.longName, entry.argument ? required_argument : no_argument,
                           nullptr, longOnly + i++});
    }
    options.push_back({});
    return options;
}

// The colon in front makes getopt tell a missing argument from a wrong option.
std::string shortOptions()
{
    std::string names = ":";
    for (const OptionEntry &entry : optionTable()) {
        if (!entry.shortName)
            continue;
        names += entry.shortName;
        if (entry.argument)
            names += ':';
    }
    return names;
}

const OptionEntry &entryOf(int code)
{
    const auto table = optionTable();
    if (code >= longOnly)
        return table[code - longOnly];
    return *std::ranges::find(table, static_cast<char>(code), &OptionEntry::shortName);
}

void apply(Options &options, const OptionEntry &entry)
{
    const std::string wrong = entry.apply(options, optarg);
    if (!wrong.empty())
        throw UsageError(std::string("--").append(entry.longName) + ": " + wrong);
}

std::string given(char **argv)
{
    if (optopt > 0 && optopt < longOnly)
        return {'-', static_cast<char>(optopt)};
    return argv[optind - 1];
}

void require(bool condition, const char *message)
{
    if (!condition)
        throw UsageError(message);
}

void checkStandardInput(const Options &options)
{
    const bool photo = std::ranges::find(options.photos, "-") != options.photos.end();
    if (!photo)
        return;
    require(options.photos.size() == 1 && options.photoList.empty(),
            "standard input (-) must be the only photo");
    require(options.outputDirectory.empty(),
            "a photo from standard input has no name for "
            "--output-dir; use -o");
}

void checkSingleOutput(const Options &options)
{
    if (options.output.empty())
        return;
    require(options.outputDirectory.empty(), "-o and --output-dir exclude each other");
    require(options.photos.size() == 1 && options.photoList.empty(),
            "-o is for one photo; use --output-dir for several");
    std::error_code ignored;
    require(!std::filesystem::is_directory(options.output, ignored),
            "-o names a folder; use --output-dir");
}

void settleFormat(Options &options)
{
    if (options.output.empty() || options.output == "-") {
        options.format = options.format.value_or(OutputFormat::Jpeg);
        return;
    }
    const auto named = formatOfSuffix(options.output);
    require(named.has_value(), "-o: the name must end in .jpg, .jpeg or .png");
    require(!options.format || options.format == named,
            "--format and the suffix of -o name different formats");
    options.format = named;
}

void checkStandardOutput(const Options &options)
{
    if (options.output != "-")
        return;
    require(!options.json, "standard output cannot carry both the picture and JSON");
    require(options.existing == Existing::Fail && !options.preserveTime && !options.synchronise,
            "--overwrite, --skip-existing, --newer, --preserve and --fsync are for files, not for "
            "standard output");
    require(options.dryRun || !isatty(STDOUT_FILENO),
            "a picture is not written to a terminal; redirect it or use -o");
}

void check(Options &options)
{
    require(!options.photos.empty() || !options.photoList.empty(), "no photo given");
    require(std::ranges::find(options.photos, "") == options.photos.end(),
            "a photo's name is empty");
    require(!options.nullSeparated || !options.photoList.empty(), "--null needs --files-from");
    require(!options.keepFolders || !options.outputDirectory.empty(),
            "--keep-folders needs --output-dir");
    require(!options.quiet || !options.verbose, "--quiet and --verbose exclude each other");
    checkStandardInput(options);
    if (options.photos.size() == 1 && options.photos.front() == "-" && options.output.empty())
        options.output = "-";
    checkSingleOutput(options);
    settleFormat(options);
    checkStandardOutput(options);
}

} // namespace

std::optional<OutputFormat> formatOfSuffix(const std::string &fileName)
{
    std::string suffix = std::filesystem::path(fileName).extension().native();
    std::ranges::transform(suffix, suffix.begin(),
                           [](unsigned char letter) { return std::tolower(letter); });
    if (suffix == ".jpg" || suffix == ".jpeg")
        return OutputFormat::Jpeg;
    if (suffix == ".png")
        return OutputFormat::Png;
    return {};
}

const char *suffixOf(OutputFormat format)
{
    return format == OutputFormat::Png ? ".png" : ".jpg";
}

Options parseCommandLine(int argc, char **argv)
{
    Options options;
    const std::vector<option> longNames = longOptions();
    const std::string shortNames = shortOptions();
    opterr = 0;
    for (int code = 0;
         (code = getopt_long(argc, argv, shortNames.c_str(), longNames.data(), nullptr)) != -1;) {
        if (code == '?')
            throw UsageError("unknown or ambiguous option " + given(argv));
        if (code == ':')
            throw UsageError(given(argv) + " needs an argument");
        apply(options, entryOf(code));
    }
    options.photos.assign(argv + optind, argv + argc);
    if (!options.help && !options.version)
        check(options);
    return options;
}

} // namespace batch
