// The built program in a real window: an X server and a window manager of the
// test's own, the program as a user starts it, and everything by keyboard.

#include <QDir>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include "tests/support/pictures.h"
#include "tests/support/testreport.h"
#include "tests/support/xserver.h"

class RealWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void keyboardAlone_data();
    void keyboardAlone();
    void menusOpenByKeyboard();
    void toolBarByKeyboard();

private:
    QString path(const QString &name) const { return m_folder.filePath(name); }
    void start(const QString &scale = QStringLiteral("1"));
    void openPhoto(const QString &name);
    void quit();
    // Keeps a screenshot beside the test program, to be looked at.
    QImage keepScreenshot(const QString &name);

    QTemporaryDir m_folder;
    QImage m_photo = pictures::scene(320, 200);
    XServer m_screen;
    QProcess m_program;
    QString m_window;
};

void RealWindowTest::initTestCase()
{
    const QString missing = XServer::missingProgram();
    if (!missing.isEmpty())
        QSKIP(qPrintable(QStringLiteral("%1 is not installed").arg(missing)));
    QVERIFY(m_photo.save(path(QStringLiteral("photo.png"))));
    QVERIFY2(m_screen.start(), qPrintable(m_screen.errorString()));
}

void RealWindowTest::init()
{
    m_program.setProgram(QStringLiteral(CRAYVELL_PROGRAM));
    m_program.setWorkingDirectory(m_folder.path());
}

void RealWindowTest::cleanup()
{
    if (m_program.state() == QProcess::NotRunning)
        return;
    m_program.kill();
    m_program.waitForFinished();
}

void RealWindowTest::start(const QString &scale)
{
    QProcessEnvironment environment = m_screen.environment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
    environment.insert(QStringLiteral("HOME"), m_folder.path());
    environment.insert(QStringLiteral("QT_SCALE_FACTOR"), scale);
    m_program.setProcessEnvironment(environment);
    m_program.start();
    QVERIFY2(m_program.waitForStarted(), qPrintable(m_program.errorString()));
    m_window = m_screen.waitForWindow(QStringLiteral("^Crayvell$"));
    QVERIFY2(!m_window.isEmpty(), qPrintable(m_screen.errorString()));
    QVERIFY(m_screen.activate(m_window));
}

void RealWindowTest::openPhoto(const QString &name)
{
    QVERIFY(m_screen.key({QStringLiteral("ctrl+o")}));
    const QString dialog = m_screen.waitForWindow(QStringLiteral("^Open Image$"));
    QVERIFY2(!dialog.isEmpty(), qPrintable(m_screen.errorString()));
    QVERIFY(m_screen.activate(dialog));
    QVERIFY(m_screen.type(name)); // its folder's name may be beyond the keys of the server
    QVERIFY(m_screen.key({QStringLiteral("Return")}));
    const QString title = QStringLiteral("^Crayvell - %1$").arg(QRegularExpression::escape(name));
    QVERIFY2(!m_screen.waitForWindow(title).isEmpty(), qPrintable(m_screen.errorString()));
    QVERIFY(m_screen.activate(m_window));
}

void RealWindowTest::quit()
{
    QVERIFY(m_screen.key({QStringLiteral("ctrl+q")}));
    QVERIFY(m_program.waitForFinished(30000));
    QCOMPARE(m_program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_program.exitCode(), 0);
}

QImage RealWindowTest::keepScreenshot(const QString &name)
{
    const QImage screenshot = m_screen.screenshot();
    screenshot.save(QDir(QCoreApplication::applicationDirPath()).filePath(name));
    return screenshot;
}

void RealWindowTest::keyboardAlone_data()
{
    QTest::addColumn<QString>("scale");
    QTest::newRow("usual screen") << QStringLiteral("1");
    QTest::newRow("screen of double resolution") << QStringLiteral("2");
}

// Ctrl+O, a path, Process, a slider, Ctrl+S, a path, Ctrl+Q.
void RealWindowTest::keyboardAlone()
{
    QFETCH(QString, scale);
    start(scale);
    openPhoto(QStringLiteral("photo.png"));
    keepScreenshot(QStringLiteral("realwindow-%1x-photo.png").arg(scale));

    // The black level slider has the focus; Tab goes on to the white one, the
    // canvas and along the tool bar: Open, Save, Process.
    const QString tab = QStringLiteral("Tab");
    QVERIFY(m_screen.key({tab, tab, tab, tab, tab, QStringLiteral("space")}));
    const QString shiftTab = QStringLiteral("shift+Tab");
    QVERIFY(m_screen.key({shiftTab, shiftTab, shiftTab, shiftTab, shiftTab}));
    const QStringList right(30, QStringLiteral("Right"));
    QVERIFY(m_screen.key(right));

    const QString sketch = QStringLiteral("sketch-%1.png").arg(scale);
    QVERIFY(m_screen.key({QStringLiteral("ctrl+s")}));
    const QString dialog = m_screen.waitForWindow(QStringLiteral("^Save Image$"));
    QVERIFY2(!dialog.isEmpty(), qPrintable(m_screen.errorString()));
    QVERIFY(m_screen.activate(dialog));
    QVERIFY(m_screen.type(sketch));
    QVERIFY(m_screen.key({QStringLiteral("Return")}));
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(path(sketch)), XServer::patience);
    QVERIFY(m_screen.activate(m_window));
    keepScreenshot(QStringLiteral("realwindow-%1x-sketch.png").arg(scale));
    quit();
    QCOMPARE(pictures::difference(QImage(path(sketch)), pictures::expectedSketch(m_photo, 30, 255)),
             QString());
}

// Help has no shortcuts: its entries must be reachable through the menu bar.
void RealWindowTest::menusOpenByKeyboard()
{
    start();
    QVERIFY(m_screen.key({QStringLiteral("Alt_L"), QStringLiteral("Right"), QStringLiteral("Down"),
                          QStringLiteral("Down"), QStringLiteral("Return")}));
    const QString about = m_screen.waitForWindow(QStringLiteral("^(About )?Crayvell 2.0$"));
    QVERIFY2(!about.isEmpty(), qPrintable(m_screen.errorString()));
    QVERIFY(m_screen.activate(about));
    QVERIFY(m_screen.key({QStringLiteral("Escape")}));
    QVERIFY(m_screen.activate(m_window));
    quit();
}

// Zooming has no shortcut either: the picture grows when its button is pressed.
void RealWindowTest::toolBarByKeyboard()
{
    start();
    openPhoto(QStringLiteral("photo.png"));
    const auto pictureWidth = [](const QImage &screen) {
        int widest = 0;
        for (int y = 0; y < screen.height(); ++y) {
            int count = 0;
            for (int x = 0; x < screen.width(); ++x) {
                const QColor colour = screen.pixelColor(x, y);
                count += colour.red() > 180 && colour.green() < 110 && colour.blue() < 90;
            }
            widest = std::max(widest, count); // the red disc of the photo
        }
        return widest;
    };
    int width = 0;
    QTRY_VERIFY_WITH_TIMEOUT((width = pictureWidth(m_screen.screenshot())) > 20, XServer::patience);
    const QStringList tabs(6, QStringLiteral("Tab"));
    QVERIFY(m_screen.key(tabs + QStringList {QStringLiteral("space"), QStringLiteral("space")}));
    QTRY_VERIFY_WITH_TIMEOUT(pictureWidth(m_screen.screenshot()) > width * 5 / 4,
                             XServer::patience);
    quit();
}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    RealWindowTest tests;
    return runTestsOf(tests, argc, argv);
}
#include "tst_realwindow.moc"
