#pragma once

#include <QFile>
#include <QMap>
#include <QStringList>

// Runs of a program in which the n-th call of a kind fails, see nthcall.cpp.
namespace nthcall {

struct Fault
{
    const char *kind;
    const char *error;
    bool persists = false; // the calls that follow fail too
};

// What is tried on every call.
inline constexpr Fault faults[] = {
    {"open", "EMFILE"},      {"open", "ENOMEM"},
    {"open", "EINTR"},       {"open", "EIO"},
    {"open", "ENOSPC"},      {"write", "ENOSPC"},
    {"write", "EIO"},        {"write", "EINTR"},
    {"write", "short"},      {"fsync", "EIO"},
    {"fsync", "ENOSPC"},     {"fsync", "EINTR"},
    {"linkat", "ENOSPC"},    {"linkat", "EIO"},
    {"linkat", "EINTR"},     {"linkat", "ENOMEM"},
    {"renameat2", "ENOSPC"}, {"renameat2", "EIO"},
    {"renameat2", "EINTR"},  {"renameat2", "ENOMEM"},
    {"rename", "ENOSPC"},    {"rename", "EIO"},
    {"rename", "EINTR"},     {"rename", "ENOMEM"},
    {"close", "EIO"},        {"close", "EINTR"},
    {"close", "ENOSPC"},     {"fallocate", "EIO"},
    {"fallocate", "ENOSPC"}, {"fallocate", "EOPNOTSUPP"},
    {"ftruncate", "EIO"},    {"mmap", "ENOMEM"},
    {"malloc", "ENOMEM"},    {"malloc", "ENOMEM", true},
};

// A run takes memory some hundred times, of which the everyday tests try some; all with
// the environment variable CRAYVELL_EVERY_CALL set.
inline int stepOf(const Fault &fault)
{
    constexpr int someOfMany = 23;
    const bool isMany = qstrcmp(fault.kind, "malloc") == 0;
    return isMany && qEnvironmentVariableIsEmpty("CRAYVELL_EVERY_CALL") ? someOfMany : 1;
}

inline QString setting(const Fault &fault, int number)
{
    return QStringLiteral("NTH_CALL=%1 %2%3 %4")
        .arg(QLatin1String(fault.kind), QString::number(number),
             QLatin1String(fault.persists ? "+" : ""), QLatin1String(fault.error));
}

// By kind, from the file that NTH_CALL_COUNTS named.
inline QMap<QByteArray, int> countsIn(const QString &fileName)
{
    QMap<QByteArray, int> counts;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return counts;
    for (const QByteArray &line : file.readAll().split('\n')) {
        const QList<QByteArray> words = line.split(' ');
        if (words.size() == 2)
            counts[words[0]] = words[1].toInt();
    }
    return counts;
}

// The words of NTH_CALL_REFUSED that refused nothing in a run with these counts.
inline QStringList withoutEffect(const QString &refused, const QMap<QByteArray, int> &counts)
{
    QStringList words = refused.split(u' ', Qt::SkipEmptyParts);
    words.removeIf(
        [&](const QString &word) { return counts.value("refused-" + word.toUtf8()) > 0; });
    return words;
}

} // namespace nthcall
