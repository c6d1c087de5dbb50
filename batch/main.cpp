#include <QCoreApplication>

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>
#include <malloc.h>
#include <memory>
#include <new>
#include <unistd.h>

#include "batch/batchrun.h"
#include "batch/cli/commandline.h"
#include "batch/cli/helptext.h"
#include "batch/cli/notification.h"
#include "batch/cli/standardstreams.h"
#include "batch/interruption.h"
#include "batch/toolkit.h"

namespace batch {

namespace {

// Without a UTF-8 locale, as on many servers, the toolkit takes this one itself
// and says so on standard error with every start.
void ensureUtf8Locale()
{
    std::setlocale(LC_ALL, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0)
        setenv("LC_ALL", "C.UTF-8", 1);
}

// Gives what a photo took back to the system as soon as it is done: many jobs
// would otherwise hold far more than they need.
void settleAllocator()
{
    constexpr int band = 256 << 10; // less than the bands of a photo of some size
    mallopt(M_ARENA_MAX, 2);
    mallopt(M_MMAP_THRESHOLD, band); // and no longer growing by itself
    mallopt(M_TRIM_THRESHOLD, band);
}

// Without taking memory, of which there may be none.
int giveUp(const char *why)
{
    char line[1000];
    std::snprintf(line, sizeof line, "%s: %.900s\n", programName, why);
    writeFully(messageDescriptor(), line, std::strlen(line));
    return static_cast<int>(ExitCode::SomeFailed);
}

int complain(const char *what)
{
    const std::string name = programName;
    writeMessage(name + ": " + printable(what) + "\nTry '" + name + " --help'.\n");
    return static_cast<int>(ExitCode::WrongUsage);
}

// To standard output, of what was asked for and is no picture.
int tell(const std::string &text)
{
    if (writeFully(STDOUT_FILENO, text.data(), text.size()))
        return static_cast<int>(ExitCode::AllDone);
    return giveUp(std::strerror(errno));
}

int sketchPhotos(const Options &options)
{
    // Shared with the thread that waits for signals, to the process's very end.
    const auto reporter = std::make_shared<Reporter>(options);
    if (!watchSignals([reporter] { reporter->silence(); }))
        reporter->note("no thread can be had: a signal leaves unfinished files behind");
    if (options.quality && options.format == OutputFormat::Png && !options.quiet)
        writeMessage(std::string(programName) + ": --quality has no effect on PNG\n");
    const bool isToNotify = options.notify && !options.dryRun;
    try {
        const ExitCode code = BatchRun(options, *reporter).run();
        if (isToNotify)
            notifyOfOutcome(reporter->outcome());
        return static_cast<int>(code);
    } catch (const UsageError &error) {
        if (isToNotify)
            notifyOfRefusal(printable(error.what()));
        throw;
    }
}

int run(int argc, char *argv[])
{
    const Options options = parseCommandLine(argc, argv);
    if (options.help)
        return tell(helpText());
    if (options.version)
        return tell(std::string(programName) + " " + CRAYVELL_VERSION + "\n");
    settleStandardStreams();
    ensureUtf8Locale();
    prepareToolkit();
    const QCoreApplication application(argc, argv);
    std::setlocale(LC_MESSAGES, "C"); // the system's reasons in the language of ours
    return sketchPhotos(options);
}

// Whatever happens is one line and an exit code.
int runProgram(int argc, char *argv[])
{
    try {
        settleAllocator();
        return run(argc, argv);
    } catch (const UsageError &error) {
        return complain(error.what());
    } catch (const std::bad_alloc &) {
        return giveUp("needs more memory than there is");
    } catch (const std::exception &error) {
        return giveUp(error.what());
    } catch (...) {
        return giveUp("cannot go on");
    }
}

} // namespace

} // namespace batch

int main(int argc, char *argv[])
{
    return batch::runProgram(argc, argv);
}
