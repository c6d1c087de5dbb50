#pragma once

#include <QApplication>
#include <QTemporaryDir>
#include <QtTest>

#include "tests/support/testreport.h"

// Calls function offscreen (or on the platform that QT_QPA_PLATFORM names), with
// the program's own names but with a settings store that lives in a temporary
// folder, never the user's.
template <typename Function>
int runInTestApplication(int argc, char **argv, const Function &function)
{
    const QTemporaryDir home;
    for (const char *variable : {"HOME", "XDG_CONFIG_HOME", "XDG_CONFIG_DIRS"})
        qputenv(variable, QFile::encodeName(home.path()));
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Crayvell 1.0"));
    QApplication::setOrganizationName(QStringLiteral("Dellumbra software"));
    return function();
}

// A program that runs the tests of one class.
#define CRAYVELL_TEST_MAIN(Tests) \
    int main(int argc, char **argv) \
    { \
        return runInTestApplication(argc, argv, [&] { \
            Tests tests; \
            return runTestsOf(tests, argc, argv); \
        }); \
    }
