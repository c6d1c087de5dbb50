#pragma once

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <sys/resource.h>

#include "tests/support/process.h"

// The real program, run in a temporary folder of its own.
class BatchProcess
{
public:
    struct Outcome
    {
        int exitCode = -1; // -1: ended by a signal, not started, or not ended in time
        int signal = 0; // that it ended by, unless that was ours
        QByteArray output;
        QByteArray errors;
    };

    static QString program() { return QStringLiteral(CRAYVELL_BATCH); }

    BatchProcess() { QDir(folder.path()).mkpath(QStringLiteral(".")); }

    Outcome run(const QStringList &arguments, const QByteArray &input = {},
                const QStringList &environment = {})
    {
        return runProgram(program(), arguments, input, environment);
    }

    // A command of the shell in which $batch is the program.
    Outcome shell(const QString &command)
    {
        return runProgram(QStringLiteral("sh"), {QStringLiteral("-c"), command}, {},
                          {QStringLiteral("batch=") + program()});
    }

    QString path(const QString &name) const { return folder.filePath(name); }
    bool exists(const QString &name) const { return QFile::exists(path(name)); }
    QByteArray contents(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void write(const QString &name, const QByteArray &bytes) const
    {
        QDir(folder.path()).mkpath(QFileInfo(name).path());
        QFile file(path(name));
        QVERIFY2(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(),
                 qPrintable(name));
    }
    // All files below the folder, hidden ones too, by name.
    QStringList files() const
    {
        QStringList names;
        const QDir top(folder.path());
        QDirIterator walk(top.path(), QDir::Files | QDir::Hidden | QDir::System,
                          QDirIterator::Subdirectories);
        while (walk.hasNext())
            names << top.relativeFilePath(walk.next());
        names.sort();
        return names;
    }

    QTemporaryDir folder;

    // For the child: what runs in the background of a shell, or under nohup, may have
    // been told to ignore some. An end by one leaves no core among the files.
    static void hearSignals()
    {
        for (const int number : {SIGINT, SIGQUIT, SIGHUP, SIGTERM})
            ::signal(number, SIG_DFL);
        constexpr rlimit none {0, 0};
        setrlimit(RLIMIT_CORE, &none);
    }

private:
    // In milliseconds, on a busy machine.
    static int patience() { return process::isSanitized() ? 2400000 : 240000; }

    Outcome runProgram(const QString &name, const QStringList &arguments, const QByteArray &input,
                       const QStringList &environment)
    {
        QProcess process;
        process.setWorkingDirectory(folder.path());
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        for (const char *display : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            variables.remove(QLatin1String(display));
        for (const QString &entry : environment)
            variables.insert(entry.section(u'=', 0, 0), entry.section(u'=', 1));
        process.setProcessEnvironment(variables);
        process.setChildProcessModifier(hearSignals);
        process.start(name, arguments);
        process.write(input);
        process.closeWriteChannel();
        Outcome outcome;
        // To the toolkit, what never started has ended by itself, and well.
        if (!process.waitForStarted())
            return outcome;
        const bool hasEnded = process.waitForFinished(patience());
        if (!hasEnded)
            process.kill();
        process.waitForFinished();
        if (process.exitStatus() == QProcess::NormalExit)
            outcome.exitCode = process.exitCode();
        else if (hasEnded)
            outcome.signal = process.exitCode();
        outcome.output = process.readAllStandardOutput();
        outcome.errors = process.readAllStandardError();
        return outcome;
    }
};

// Checks an exit code and shows what the program said when it is another.
#define COMPARE_EXIT(outcome, expected) \
    do { \
        const auto &ended = (outcome); /* may run the program: once */ \
        QVERIFY2(ended.exitCode == (expected), \
                 QByteArray("exit code " + QByteArray::number(ended.exitCode) + ": " \
                            + ended.errors.left(2000)) \
                     .constData()); \
    } while (false)
