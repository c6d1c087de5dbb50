#include "batch/cli/commandline.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <getopt.h>
#include <sys/stat.h>
#include <unistd.h>

#include "batch/cli/optiontable.h"
#include "batch/cli/wrongoption.h"

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

// The one that holds the letter which getopt complains of: it steps on to the next
// one when it takes the last letter.
std::string elementOfLetter(int argc, char **argv)
{
    const auto letter = static_cast<char>(optopt);
    const std::string former = argv[optind - 1];
    return optind == argc || (former.starts_with('-') && former.ends_with(letter)) ? former
                                                                                   : argv[optind];
}

std::string wrongOption(int argc, char **argv)
{
    if (optopt >= longOnly)
        return takesNoValue(argv[optind - 1], entryOf(optopt));
    if (optopt != 0)
        return unknownLetter(static_cast<char>(optopt), elementOfLetter(argc, argv));
    return unknownName(argv[optind - 1]);
}

std::string withoutArgument(char **argv)
{
    const std::string name =
        optopt < longOnly ? std::string {'-', static_cast<char>(optopt)} : argv[optind - 1];
    return name + " needs an argument";
}

void require(bool condition, const std::string &message)
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
            "-o: " + options.output + " is a folder; use --output-dir");
}

// Else each of the photos would fail for the same reason.
void checkOutputFolder(const std::string &folder)
{
    struct stat status
    {
    };
    const bool isThere = stat(folder.c_str(), &status) == 0;
    const int error = isThere ? 0 : errno;
    const bool isBrokenLink = error == ENOENT && lstat(folder.c_str(), &status) == 0;
    const bool isOther = (isThere && !S_ISDIR(status.st_mode)) || error == ENOTDIR || isBrokenLink;
    require(!isOther, "--output-dir: " + folder + " is no folder");
}

void settleFormat(Options &options)
{
    if (options.output.empty() || options.output == "-") {
        options.format = options.format.value_or(OutputFormat::Jpeg);
        return;
    }
    const auto named = formatOfSuffix(options.output);
    require(named.has_value(), "-o: " + options.output + " must end in .jpg, .jpeg or .png");
    require(!options.format || options.format == named,
            "--format and the suffix of -o, " + options.output + ", name different formats");
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
    if (!options.outputDirectory.empty())
        checkOutputFolder(options.outputDirectory);
    settleFormat(options);
    checkStandardOutput(options);
}

} // namespace

std::optional<OutputFormat> formatOfSuffix(const std::string &fileName)
{
    const std::string suffix = std::filesystem::path(fileName).extension().native();
    return suffix.empty() ? std::nullopt : formatOfName(suffix.c_str() + 1);
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
            throw UsageError(wrongOption(argc, argv));
        if (code == ':')
            throw UsageError(withoutArgument(argv));
        apply(options, entryOf(code));
    }
    options.photos.assign(argv + optind, argv + argc);
    if (!options.help && !options.version)
        check(options);
    return options;
}

} // namespace batch
