#include "batch/cli/notification.h"

#include <QProcess>

#include <csignal>
#include <pthread.h>

namespace batch {

namespace {

constexpr int patience = 3000; // milliseconds

QString counted(std::size_t count, const char *one, const char *several)
{
    const QString number = count == 0 ? QStringLiteral("No") : QString::number(count);
    return number + u' ' + QLatin1String(count == 0 || count == 1 ? one : several);
}

QString summaryOf(const RunOutcome &outcome)
{
    return counted(outcome.done, "sketch made", "sketches made");
}

// The first failure stands for all: a notification has two or three lines.
QString failuresOf(const RunOutcome &outcome)
{
    return counted(outcome.failed, "photo failed", "photos failed")
        + QLatin1String(outcome.failed == 1 ? ": " : ", the first: ")
        + QString::fromStdString(outcome.firstFailure);
}

QString bodyOf(const RunOutcome &outcome)
{
    QStringList lines;
    if (outcome.skipped > 0)
        lines << counted(outcome.skipped, "photo skipped", "photos skipped");
    if (outcome.failed > 0)
        lines << failuresOf(outcome);
    return lines.join(u'\n');
}

// The child must not inherit what this process does about signals: it would be deaf
// to the Ctrl+C that ends both.
void listenToSignals()
{
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    std::signal(SIGXFSZ, SIG_DFL);
}

// The desktop takes a body for markup.
void show(const QString &summary, const QString &body)
{
    QStringList arguments {QStringLiteral("--app-name=Crayvell"),
                           QStringLiteral("--icon=image-x-generic"), QStringLiteral("--"), summary};
    if (!body.isEmpty())
        arguments << body.toHtmlEscaped();
    QProcess process;
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.setChildProcessModifier(listenToSignals);
    process.start(QStringLiteral("notify-send"), arguments);
    if (process.waitForFinished(patience))
        return;
    process.kill();
    process.waitForFinished(patience);
}

} // namespace

void notifyOfOutcome(const RunOutcome &outcome)
{
    show(summaryOf(outcome), bodyOf(outcome));
}

void notifyOfRefusal(const std::string &reason)
{
    show(summaryOf({}), QString::fromStdString(reason));
}

} // namespace batch
