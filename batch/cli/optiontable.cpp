#include "batch/cli/optiontable.h"

#include <QByteArray>

#include <charconv>
#include <cstring>

namespace batch {

namespace {

using Value = const char *;

// What is wanted, and what came instead.
std::string refusal(const std::string &wanted, Value value)
{
    return "needs " + wanted + ", not '" + value + "'";
}

std::string readNumber(Value value, int least, int most, int &number)
{
    const char *const end = value + std::strlen(value);
    int read = 0;
    const auto [stop, error] = std::from_chars(value, end, read);
    if (error != std::errc() || stop != end || read < least || read > most) {
        return refusal(
            "a whole number from " + std::to_string(least) + " to " + std::to_string(most), value);
    }
    number = read;
    return {};
}

std::string readName(Value value, std::string &name)
{
    if (!*value)
        return "needs a name";
    name = value;
    return {};
}

// Binary powers, as in "2G", "2GB" and "2GiB"; nothing for another unit.
std::optional<int> shiftOfUnit(const char *unit)
{
    int shift = 0;
    if (!*unit)
        return shift;
    for (const char *const letter : {"K", "M", "G", "T"}) {
        shift += 10;
        for (const char *const rest : {"", "B", "iB"}) {
            if (qstricmp(unit, (std::string(letter) + rest).c_str()) == 0)
                return shift;
        }
    }
    return {};
}

std::string readSize(Value value, qint64 &bytes)
{
    qint64 number = 0;
    const auto [unit, error] = std::from_chars(value, value + std::strlen(value), number);
    const std::optional<int> shift = shiftOfUnit(unit);
    if (error != std::errc() || number <= 0 || !shift || number > (qint64(1) << 50) >> *shift)
        return refusal("a size such as 800M or 2G", value);
    bytes = number << *shift;
    return {};
}

std::string readFormat(Value value, Options &options)
{
    options.format = formatOfName(value);
    return options.format ? "" : refusal("jpg or png", value);
}

std::string setExisting(Options &options, Existing existing)
{
    if (options.existing != Existing::Fail && options.existing != existing)
        return "only one of --overwrite, --skip-existing and --newer can be given";
    options.existing = existing;
    return {};
}

template <bool Options::*flag> std::string setFlag(Options &options, Value)
{
    options.*flag = true;
    return {};
}

template <std::string Options::*name> std::string setName(Options &options, Value value)
{
    return readName(value, options.*name);
}

template <int Options::*number, int least, int most>
std::string setNumber(Options &options, Value value)
{
    return readNumber(value, least, most, options.*number);
}

template <Existing existing> std::string setExistingTo(Options &options, Value)
{
    return setExisting(options, existing);
}

constexpr auto none = ArgumentKind::None;

const OptionEntry table[] = {
    {'r', "recursive", nullptr, none, nullptr, true, "descend into the folders given",
     "Take the photos of all folders below the folders given, too. Hidden files and folders, and "
     "links to folders, are left out.",
     setFlag<&Options::recursive>},
    {0, "files-from", "FILE", ArgumentKind::File, nullptr, true, "take photos from a list",
     "Take the names of photos and folders from FILE, one a line, after those on the command "
     "line. With - they come from standard input.",
     setName<&Options::photoList>},
    {0, "null", nullptr, none, nullptr, false, "a NUL byte ends each name of the list",
     "The names in the list of --files-from end with a NUL byte, not with a line's end, as "
     "find -print0 writes them.",
     setFlag<&Options::nullSeparated>},
    {'o', "output", "FILE", ArgumentKind::File, nullptr, true,
     "write one sketch here (- for standard output)",
     "Write the sketch of the one photo given to FILE, in the format that its suffix names. With - "
     "it goes to standard output.",
     setName<&Options::output>},
    {0, "output-dir", "DIR", ArgumentKind::Folder, nullptr, true,
     "write sketches to DIR, folders mirrored",
     "Write the sketches to DIR, which is created where it is missing. A photo keeps its name, "
     "with the suffix of the sketch's format; the tree below a folder given is mirrored.",
     setName<&Options::outputDirectory>},
    {0, "keep-folders", nullptr, none, nullptr, false, "in DIR, keep the folders of names as given",
     "Keep the folders of photos and folders as they are named, below the DIR of --output-dir: "
     "album/june/beach.jpg becomes DIR/album/june/beach.jpg.",
     setFlag<&Options::keepFolders>},
    {0, "format", "jpg|png", ArgumentKind::Choice, "jpg png", true, "format of the sketches (jpg)",
     "The format of the sketches: jpg, the default, or png. Both have one channel.",
     [](Options &options, Value value) { return readFormat(value, options); }},
    {0, "quality", "N", ArgumentKind::Other, nullptr, true, "quality of a JPEG, 1 to 100 (100)",
     "The quality of a JPEG, 1 to 100; the default is 100. It has no effect on a PNG, which is "
     "always exact.",
     [](Options &options, Value value) {
         return readNumber(value, 1, bestQuality, options.quality.emplace());
     }},
    {0, "black", "N", ArgumentKind::Other, nullptr, true, "black level, 0 to 255 (0)",
     "The black level, 0 to 255: tones below it become black. The default is 0.",
     setNumber<&Options::blackLevel, 0, 255>},
    {0, "white", "N", ArgumentKind::Other, nullptr, true, "white level, 0 to 255 (255)",
     "The white level, 0 to 255: tones above it become white. The default is 255.",
     setNumber<&Options::whiteLevel, 0, 255>},
    {'j', "jobs", "N", ArgumentKind::Other, nullptr, true, "photos at a time (one a processor)",
     "How many photos to work on at a time; the default is one for each processor. The sketches "
     "are the same for every number.",
     setNumber<&Options::jobs, 1, 1024>},
    {0, "max-memory", "SIZE", ArgumentKind::Other, nullptr, false, "memory for all photos in work",
     "The most memory that the photos in work may take together, in bytes or as in 800M, 2G or "
     "2GB; "
     "the default is half of what the machine has available. Photos wait for their turn, "
     "and one that needs more by itself is refused.",
     [](Options &options, Value value) { return readSize(value, options.maximumMemory); }},
    {0, "overwrite", nullptr, none, nullptr, true, "replace outputs that exist",
     "Replace outputs that exist. Otherwise they make their photo fail.",
     setExistingTo<Existing::Overwrite>},
    {0, "skip-existing", nullptr, none, nullptr, true, "leave out photos whose output exists",
     "Leave out photos whose output exists: run again like this, the program does the rest of an "
     "interrupted run.",
     setExistingTo<Existing::Skip>},
    {0, "newer", nullptr, none, nullptr, false, "replace only outputs older than their photo",
     "Leave out photos whose output exists and is not older than the photo; replace the older "
     "ones.",
     setExistingTo<Existing::RedoOlder>},
    {0, "allow-truncated", nullptr, none, nullptr, false, "take what damaged photos still hold",
     "Sketch what can be read of a truncated or damaged photo instead of refusing it.",
     setFlag<&Options::allowTruncated>},
    {0, "strip", nullptr, none, nullptr, true, "drop the EXIF data",
     "Do not carry the photo's EXIF data (date, camera, place) over to the sketch. Otherwise they "
     "are kept, without their thumbnail and with the orientation that the sketch has.",
     setFlag<&Options::stripMetadata>},
    {0, "preserve", nullptr, none, nullptr, false, "give the sketch its photo's time",
     "Give the sketch the access and modification time of its photo.",
     setFlag<&Options::preserveTime>},
    {0, "fsync", nullptr, none, nullptr, false, "wait until each sketch is on the disk",
     "Wait until each sketch is on the disk before it gets its name, so that a loss of power "
     "leaves no empty file either.",
     setFlag<&Options::synchronise>},
    {'n', "dry-run", nullptr, none, nullptr, true, "only print what would be done",
     "Write nothing, but print on standard output what would be done with each photo. Outputs that "
     "are in the way are named on standard error, and the exit code counts them.",
     setFlag<&Options::dryRun>},
    {0, "json", nullptr, none, nullptr, true, "a line of JSON for each photo",
     "Report each photo as one line of JSON on standard output.", setFlag<&Options::json>},
    {'q', "quiet", nullptr, none, nullptr, true, "tell only failures",
     "Report nothing but failures.", setFlag<&Options::quiet>},
    {'v', "verbose", nullptr, none, nullptr, true, "tell every photo",
     "Report every photo, and every file that was left out.", setFlag<&Options::verbose>},
    {0, "notify", nullptr, none, nullptr, false, "tell the outcome by a desktop notification",
     "Tell at the end, by a notification of the desktop, how many sketches were made and how many "
     "photos failed or were skipped. It is shown by notify-send, of the package libnotify-bin; "
     "where there is none, or where the desktop does not answer within a few seconds, nothing is "
     "shown. The exit code stays the same.",
     setFlag<&Options::notify>},
    {'h', "help", nullptr, none, nullptr, true, "this text", "Show a short help and exit.",
     setFlag<&Options::help>},
    {0, "version", nullptr, none, nullptr, false, "show the version", "Show the version and exit.",
     setFlag<&Options::version>},
};

} // namespace

std::span<const OptionEntry> optionTable()
{
    return table;
}

std::optional<OutputFormat> formatOfName(const char *name)
{
    if (qstricmp(name, "jpg") == 0 || qstricmp(name, "jpeg") == 0)
        return OutputFormat::Jpeg;
    if (qstricmp(name, "png") == 0)
        return OutputFormat::Png;
    return {};
}

} // namespace batch
