#include "tests/support/nthcallserver.h"

#include <sys/wait.h>

#include "tests/support/preload.h"

namespace nthcall {

namespace {

constexpr int patience = 120000; // milliseconds

bool readUntil(QProcess &process, QProcess::ProcessChannel channel, const QByteArray &marker,
               QByteArray &stream)
{
    process.setReadChannel(channel); // what comes on the other one is kept
    for (;;) {
        stream += process.readAll();
        if (stream.endsWith('\n') && stream.contains(marker))
            return true;
        if (!process.waitForReadyRead(patience))
            return false;
    }
}

// Cuts off the marker and what follows, which is returned.
int takeStatus(QByteArray &stream, const QByteArray &marker)
{
    const qsizetype at = stream.lastIndexOf(marker);
    const int status = stream.mid(at + marker.size()).trimmed().toInt();
    stream.truncate(at);
    return status;
}

} // namespace

Server::Server(QProcess &process, const char *library, const QString &program,
               const QStringList &arguments)
    : m_process(process)
{
    QProcessEnvironment environment = process.processEnvironment();
    // What each run would look up again is found once, when the program is loaded.
    const QStringList own = preloaded(library) + QStringList {"NTH_CALL_SERVER=1", "LD_BIND_NOW=1"};
    for (const QString &entry : own)
        environment.insert(entry.section(u'=', 0, 0), entry.section(u'=', 1));
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
}

Server::~Server()
{
    m_process.closeWriteChannel();
    if (!m_process.waitForFinished(1000))
        m_process.kill();
    m_process.waitForFinished();
}

Server::Outcome Server::run(const QStringList &settings)
{
    // Nothing that a program writes by itself ends so.
    const QByteArray marker = "\n\x1b end of run " + QByteArray::number(++m_runs) + ": ";
    const char nul = '\0';
    m_process.write(marker + nul + settings.join(QChar(u'\0')).toUtf8() + nul + nul);
    Outcome outcome;
    if (!readUntil(m_process, QProcess::StandardOutput, marker, outcome.output)
        || !readUntil(m_process, QProcess::StandardError, marker, outcome.errors)) {
        m_process.kill(); // or all that follow would have to wait as long
        return outcome;
    }
    takeStatus(outcome.output, marker);
    const int status = takeStatus(outcome.errors, marker);
    if (WIFEXITED(status))
        outcome.exitCode = WEXITSTATUS(status);
    else
        outcome.signal = WTERMSIG(status);
    return outcome;
}

} // namespace nthcall
