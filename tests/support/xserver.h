#pragma once

#include <QImage>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRect>
#include <QString>
#include <QStringList>

#include <optional>

// A virtual screen of its own for a test that drives a real program in a real
// window: an X server, a window manager, and hands and eyes from outside.
// The program under test is another process, started by the test with
// environment(). Both servers end with this object, or with the test should it
// crash.
class XServer
{
public:
    static constexpr int patience = 30000; // milliseconds, for a loaded machine

    explicit XServer(QSize screen = {1280, 960});
    ~XServer();
    XServer(const XServer &) = delete;
    XServer &operator=(const XServer &) = delete;

    // Which of the programs needed here is not installed; empty when all are.
    // The only reason for which a real-window test may be skipped.
    static QString missingProgram();

    // True once the server listens and the window manager has taken over.
    bool start();
    // Why the last call here failed, for the message of a test.
    QString errorString() const { return error; }

    QString display() const { return displayName; } // ":1"
    // What a program started by the test needs to appear on this screen, in
    // English, with the toolkit's own dialogs.
    QProcessEnvironment environment() const;

    // The X window whose title matches an extended regular expression, once it
    // is visible; empty when none has appeared in time.
    QString waitForWindow(const QString &title, int milliseconds = patience);
    // Gives the window the keyboard.
    bool activate(const QString &window);
    // Where the window's contents are on the screen, without its frame.
    QRect geometry(const QString &window);

    // Keys as xdotool names them: {"ctrl+o"}, {"Tab", "Return"}.
    bool key(const QStringList &keys);
    // Letters of the keyboard that every server starts with, ASCII that is.
    bool type(const QString &text);
    // Positions are pixels of the screen.
    bool moveTo(QPoint position);
    bool click(QPoint position, int button = 1);
    // One press, a move to each further point and a release, at a hand's pace:
    // the toolkit merges moves that arrive faster than it handles them.
    bool drag(const QList<QPoint> &points, int button = 1);

    // What is on the whole screen now; null when it could not be taken.
    QImage screenshot();

    // The output of one call of xdotool; nothing when it failed.
    std::optional<QByteArray> xdotool(const QStringList &arguments);

private:
    std::optional<QByteArray> run(const QString &program, const QStringList &arguments);
    bool startServer();
    bool startWindowManager();
    bool fail(const QString &reason);

    QSize screen;
    QProcess server;
    QProcess windowManager;
    QString displayName;
    QString error;
};
