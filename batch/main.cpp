#include <QCoreApplication>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <langinfo.h>
#include <memory>

#include "batch/batchrun.h"
#include "batch/cli/commandline.h"
#include "batch/cli/helptext.h"
#include "batch/cli/standardstreams.h"
#include "batch/interruption.h"

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

// The image readers' own warnings name no file; what matters becomes a failure.
void dropMessage(QtMsgType, const QMessageLogContext &, const QString &)
{
}

int complain(const char *what)
{
    const std::string name = programName;
    writeMessage(name + ": " + printable(what) + "\nTry '" + name + " --help'.\n");
    return static_cast<int>(ExitCode::WrongUsage);
}

int sketchPhotos(const Options &options)
{
    // Shared with the thread that waits for signals, to the process's very end.
    const auto reporter = std::make_shared<Reporter>(options);
    watchSignals([reporter] { reporter->silence(); });
    return static_cast<int>(BatchRun(options, *reporter).run());
}

int runProgram(int argc, char *argv[])
{
    try {
        const Options options = parseCommandLine(argc, argv);
        if (options.help) {
            std::cout << helpText();
            return 0;
        }
        if (options.version) {
            std::cout << programName << " " << CRAYVELL_VERSION << "\n";
            return 0;
        }
        settleStandardStreams();
        ensureUtf8Locale();
        qInstallMessageHandler(dropMessage);
        const QCoreApplication application(argc, argv);
        std::setlocale(LC_MESSAGES, "C"); // the system's reasons in the language of ours
        return sketchPhotos(options);
    } catch (const UsageError &error) {
        return complain(error.what());
    }
}

} // namespace

} // namespace batch

int main(int argc, char *argv[])
{
    return batch::runProgram(argc, argv);
}
