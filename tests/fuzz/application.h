#pragma once

#include <QApplication>

// The application object of a fuzz target, without a screen and without messages.
inline void startApplication()
{
    static int count = 1;
    static char name[] = "fuzz";
    static char *names[] = {name, nullptr};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    static auto *const application = new QApplication(count, names);
    Q_UNUSED(application)
}
