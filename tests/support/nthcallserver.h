#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>

namespace nthcall {

// Many runs of one program with the same arguments, in which nthcall.cpp lets calls fail.
// The program is loaded once for all of them, which takes three quarters of a short run.
class Server
{
public:
    struct Outcome
    {
        int exitCode = -1; // -1: ended by a signal, not started or not ended in time
        int signal = 0; // that it ended by
        QByteArray output;
        QByteArray errors;
    };

    // The process brings its environment, folder and child process modifier.
    Server(QProcess &process, const char *library, const QString &program,
           const QStringList &arguments);
    ~Server();
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    // Settings are variables of the environment, "NAME=value".
    Outcome run(const QStringList &settings);

private:
    QProcess &m_process;
    int m_runs = 0;
};

} // namespace nthcall
