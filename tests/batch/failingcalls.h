#pragma once

#include "tests/batch/batchprocess.h"
#include "tests/support/preload.h"

// The setting for a run of the program in which the calls of these words fail,
// see tests/support/failingcalls.cpp.
inline QStringList failingCalls(const QString &words)
{
    return preloaded(CRAYVELL_FAILING_CALLS) << QStringLiteral("FAILING_CALLS=") + words;
}

// The setting for a run in which a command of the shell runs at a moment: fsync,
// or when a file is opened whose name ends so.
inline QStringList runningAt(const QString &moment, const QString &command)
{
    return preloaded(CRAYVELL_FAILING_CALLS)
        << QStringLiteral("AT_CALL=") + moment << QStringLiteral("RUN_AT_CALL=") + command;
}
