#include "bench/batch/comparison.h"

#include <QElapsedTimer>
#include <QFile>
#include <QImage>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// What waiting for a process tells about it, which QProcess does not.
bool measure(Contender &contender)
{
    Cost &cost = contender.cost;
    std::vector<QByteArray> words;
    for (const QString &word : contender.command)
        words.push_back(QFile::encodeName(word));
    std::vector<char *> arguments;
    for (QByteArray &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    QElapsedTimer clock;
    clock.start();
    const pid_t child = fork();
    if (child == 0) {
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    rusage usage {};
    if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0)
        return false;
    const auto seconds = [](const timeval &time) { return time.tv_sec + time.tv_usec / 1e6; };
    const double processor = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    cost.processor = std::min(cost.processor, processor / contender.photos);
    cost.clock = std::min(cost.clock, clock.nsecsElapsed() / 1e9 / contender.photos);
    cost.kilobytes = std::max(cost.kilobytes, usage.ru_maxrss);
    cost.measured = true;
    return true;
}

double meanDifference(const QString &fileName, const QString &otherName)
{
    const QImage one = QImage(fileName).convertToFormat(QImage::Format_Grayscale8);
    const QImage other = QImage(otherName).convertToFormat(QImage::Format_Grayscale8);
    if (one.isNull() || one.size() != other.size())
        return 255;
    qint64 sum = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x)
            sum += qAbs(one.constScanLine(y)[x] - other.constScanLine(y)[x]);
    }
    return double(sum) / (double(one.width()) * one.height());
}
