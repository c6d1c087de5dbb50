#include "tests/support/xserver.h"

#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

#include <csignal>
#include <cstdlib>
#include <memory>
#include <sys/prctl.h>
#include <xcb/xcb.h>

namespace {

// Seconds between two moves of a drag. The toolkit merges those that come before it has
// dealt with the former, which a loaded machine does late: slower where each one counts.
QString handPace(qsizetype moves)
{
    constexpr qsizetype fewMoves = 10;
    return moves > fewMoves ? QStringLiteral("0.05") : QStringLiteral("0.5");
}

void endWithTheTest(QProcess &process)
{
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
}

void stop(QProcess &process)
{
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate();
    if (!process.waitForFinished(XServer::patience))
        process.kill();
    process.waitForFinished();
}

QStringList moveArguments(QPoint position)
{
    return {QStringLiteral("mousemove"), QString::number(position.x()),
            QString::number(position.y())};
}

} // namespace

XServer::XServer(QSize screenSize)
    : screen(screenSize)
{
    endWithTheTest(server);
    endWithTheTest(windowManager);
}

XServer::~XServer()
{
    stop(windowManager);
    stop(server);
}

QString XServer::missingProgram()
{
    for (const char *program : {"Xvfb", "openbox", "xdotool", "xwininfo"}) {
        const QString name = QString::fromLatin1(program);
        if (QStandardPaths::findExecutable(name).isEmpty())
            return name;
    }
    return {};
}

bool XServer::start()
{
    return startServer() && startWindowManager();
}

bool XServer::startServer()
{
    const QString mode = QStringLiteral("%1x%2x24").arg(screen.width()).arg(screen.height());
    // The server picks a free display itself and writes its number once it
    // listens; without -noreset it would start afresh after each xdotool. Keys repeat (-r
    // turns that off) where a loaded machine comes late to their release.
    server.start(QStringLiteral("Xvfb"),
                 {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                  QStringLiteral("0"), mode, QStringLiteral("-nolisten"), QStringLiteral("tcp"),
                  QStringLiteral("-noreset"), QStringLiteral("-r")});
    while (!server.canReadLine()) {
        if (!server.waitForReadyRead(patience))
            return fail(QStringLiteral("Xvfb: ")
                        + QString::fromLocal8Bit(server.readAllStandardError()));
    }
    displayName = QLatin1Char(':') + QString::fromLatin1(server.readLine().trimmed());
    return true;
}

bool XServer::startWindowManager()
{
    QProcessEnvironment own = environment();
    own.remove(QStringLiteral("XDG_CONFIG_DIRS")); // its configuration is the system's
    windowManager.setProcessEnvironment(own);
    windowManager.setProcessChannelMode(QProcess::MergedChannels);
    windowManager.start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")});
    const bool managed = QTest::qWaitFor(
        [this] { return xdotool({QStringLiteral("get_num_desktops")}).has_value(); }, patience);
    return managed
        || fail(QStringLiteral("openbox: ")
                + QString::fromLocal8Bit(windowManager.readAllStandardOutput()));
}

QProcessEnvironment XServer::environment() const
{
    QProcessEnvironment result = QProcessEnvironment::systemEnvironment();
    for (const char *desktop :
         {"WAYLAND_DISPLAY", "XDG_CURRENT_DESKTOP", "QT_QPA_PLATFORMTHEME", "QT_STYLE_OVERRIDE"})
        result.remove(QString::fromLatin1(desktop));
    result.insert(QStringLiteral("DISPLAY"), displayName);
    result.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    result.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    return result;
}

QString XServer::waitForWindow(const QString &title, int milliseconds)
{
    QString window;
    const bool appeared = QTest::qWaitFor(
        [&] {
            const auto found = xdotool({QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                        QStringLiteral("--name"), title});
            window = QString::fromLatin1(found.value_or(QByteArray()).split('\n').first());
            return !window.isEmpty();
        },
        milliseconds);
    return appeared ? window : QString();
}

bool XServer::activate(const QString &window)
{
    // A window that is new, or was behind a dialog until now, may not be active yet even so.
    return QTest::qWaitFor(
        [&] {
            return xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"), window})
                && xdotool({QStringLiteral("getactivewindow")}).value_or(QByteArray()).trimmed()
                == window.toLatin1();
        },
        patience);
}

// Not with xdotool, which counts the frame twice.
QRect XServer::geometry(const QString &window)
{
    const QString text = QString::fromLatin1(
        run(QStringLiteral("xwininfo"), {QStringLiteral("-id"), window}).value_or(QByteArray()));
    const auto number = [&text](const char *label) {
        const QRegularExpression line(QLatin1String(label) + QStringLiteral(":\\s*(-?\\d+)"));
        return line.match(text).captured(1).toInt();
    };
    return {number("Absolute upper-left X"), number("Absolute upper-left Y"), number("Width"),
            number("Height")};
}

bool XServer::key(const QStringList &keys)
{
    return xdotool(QStringList(QStringLiteral("key")) + keys).has_value();
}

bool XServer::type(const QString &text)
{
    return xdotool({QStringLiteral("type"), QStringLiteral("--"), text}).has_value();
}

bool XServer::moveTo(QPoint position)
{
    return xdotool(moveArguments(position)).has_value();
}

bool XServer::click(QPoint position, int button)
{
    return drag({position}, button);
}

bool XServer::drag(const QList<QPoint> &points, int button)
{
    const QString number = QString::number(button);
    QStringList commands = moveArguments(points.first());
    commands << QStringLiteral("mousedown") << number;
    for (const QPoint point : points.mid(1))
        commands << moveArguments(point) << QStringLiteral("sleep") << handPace(points.size());
    commands << QStringLiteral("mouseup") << number;
    return xdotool(commands).has_value();
}

QImage XServer::screenshot()
{
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(displayName.toLatin1(), nullptr), xcb_disconnect);
    if (xcb_connection_has_error(connection.get()))
        return {};
    const xcb_screen_t *const root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data;
    const int width = root->width_in_pixels, height = root->height_in_pixels;
    const auto cookie = xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, root->root, 0, 0,
                                      root->width_in_pixels, root->height_in_pixels, ~0U);
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
        xcb_get_image_reply(connection.get(), cookie, nullptr), std::free);
    // Of depth 24 as the server was told, four bytes in the order of this machine's.
    if (!reply || xcb_get_image_data_length(reply.get()) != 4 * width * height)
        return {};
    return QImage(xcb_get_image_data(reply.get()), width, height, QImage::Format_RGB32).copy();
}

std::optional<QByteArray> XServer::xdotool(const QStringList &arguments)
{
    return run(QStringLiteral("xdotool"), arguments);
}

std::optional<QByteArray> XServer::run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessEnvironment(environment());
    process.start(program, arguments);
    if (process.waitForFinished(patience) && process.exitStatus() == QProcess::NormalExit
        && process.exitCode() == 0)
        return process.readAllStandardOutput();
    error = program + QLatin1Char(' ') + arguments.join(QLatin1Char(' ')) + QStringLiteral(": ")
        + QString::fromLocal8Bit(process.readAllStandardError());
    return std::nullopt;
}

bool XServer::fail(const QString &reason)
{
    error = reason;
    return false;
}
