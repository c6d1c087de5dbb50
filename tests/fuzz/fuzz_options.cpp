#include <cstdint>
#include <cstdlib>
#include <getopt.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "batch/cli/commandline.h"
#include "batch/inputlist.h"
#include "batch/plan.h"
#include "tests/fuzz/application.h"
#include "tests/fuzz/memoryfile.h"

namespace {

batch::Options parsed(std::vector<std::string> words)
{
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    const auto count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    optind = 0; // begins anew, also where it stopped within a bundle of letters
    return batch::parseCommandLine(count, arguments.data());
}

// Out of the folder that the target works in, by more than one step.
bool leadsOut(const std::string &name)
{
    return name.starts_with('/') || name.find("../") != std::string::npos;
}

// Whatever separates its names.
bool hasNameThatLeadsOut(const std::string &list)
{
    return leadsOut(list) || list.find("\n/") != std::string::npos
        || list.find(std::string("\0/", 2)) != std::string::npos;
}

// Photos of the list only, and no output elsewhere: the machine's own files are no part
// of this.
void plan(batch::Options options, const std::string &list)
{
    constexpr qint64 memory = 64 << 20;
    options.photos.clear();
    options.photoList = list;
    options.recursive = false;
    if (leadsOut(options.output) || leadsOut(options.outputDirectory))
        return;
    const batch::Plan plan(batch::collectInputs(options, memory), options);
    for (std::size_t i = 0; i < plan.size(); ++i) {
        const batch::PlannedPhoto photo = plan.photo(i);
        if (photo.step != batch::PlannedPhoto::Step::Sketch && photo.reason.empty())
            __builtin_trap(); // left out without a word
    }
}

} // namespace

// A command line, an argument a line up to an empty one, and a list of names behind that.
extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    startApplication();
    // Both are removed, so that nothing is left: names lead nowhere then, and ".." leads
    // to a folder without entries. Only a second step up would lead to the machine's own.
    char folder[] = "/tmp/fuzz-options-XXXXXX";
    if (!mkdtemp(folder))
        __builtin_trap();
    const std::string inner = folder + std::string("/inner");
    if (mkdir(inner.c_str(), S_IRWXU) != 0 || chdir(inner.c_str()) != 0)
        __builtin_trap();
    if (rmdir(inner.c_str()) != 0 || rmdir(folder) != 0)
        __builtin_trap();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t count)
{
    const std::string text(reinterpret_cast<const char *>(bytes), count);
    std::vector<std::string> words {"crayvell-batch"};
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        const std::string word = text.substr(at, end - at);
        at = end + 1;
        if (word.empty())
            break;
        words.push_back(word.c_str()); // an argument ends at a zero
    }
    const std::string names = text.substr(std::min(at, text.size()));
    if (hasNameThatLeadsOut(names))
        return 0;
    const MemoryFile list(reinterpret_cast<const std::uint8_t *>(names.data()), names.size());
    try {
        const batch::Options options = parsed(words);
        if (!options.help && !options.version)
            plan(options, list.name());
    } catch (const batch::UsageError &) {
    }
    return 0;
}
