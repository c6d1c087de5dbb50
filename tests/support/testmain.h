#pragma once

#include <QApplication>
#include <QTemporaryDir>
#include <QtTest>

// Runs the tests of one class offscreen (or on the platform that
// QT_QPA_PLATFORM names), with the program's own names but with a settings
// store that lives in a temporary folder, never the user's.
template <typename Tests> int runTests(int argc, char **argv)
{
    const QTemporaryDir home;
    for (const char *variable : {"HOME", "XDG_CONFIG_HOME", "XDG_CONFIG_DIRS"})
        qputenv(variable, QFile::encodeName(home.path()));
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Crayvell 1.0"));
    QApplication::setOrganizationName(QStringLiteral("Dellumbra software"));
    Tests tests;
    return QTest::qExec(&tests, argc, argv);
}

#define CRAYVELL_TEST_MAIN(Tests) \
    int main(int argc, char **argv) \
    { \
        return runTests<Tests>(argc, argv); \
    }
