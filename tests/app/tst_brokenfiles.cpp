// Broken, odd and malicious picture files that others have collected: whatever
// is in them, an open ends in a photo or in the message, and soon.

#include <QDirIterator>
#include <QElapsedTimer>

#include "tests/app/mainwindowprobe.h"
#include "tests/support/testmain.h"

class BrokenFilesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyFileEndsInAReaction();

private:
    QStringList m_files;
};

void BrokenFilesTest::initTestCase()
{
    const QString collection =
        QStringLiteral("/usr/libexec/installed-tests/gdk-pixbuf/test-images");
    QDirIterator files(collection, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext())
        m_files += files.next();
    if (m_files.isEmpty())
        QSKIP("the pictures of Debian's package gdk-pixbuf-tests are not installed");
}

void BrokenFilesTest::everyFileEndsInAReaction()
{
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto *statusBar = MainWindowProbe::ui(window).statusBar;
    int opened = 0;
    int refused = 0;
    for (const QString &file : std::as_const(m_files)) {
        statusBar->clearMessage();
        window.setWindowTitle(QStringLiteral("before"));
        QElapsedTimer timer;
        timer.start();
        MainWindowProbe::open(window, file);
        QVERIFY2(timer.elapsed() < 20000, qPrintable(file)); // far from any hang
        const bool isOpen =
            window.windowTitle() == QStringLiteral("Crayvell - ") + QFileInfo(file).fileName();
        const bool isRefused = statusBar->currentMessage() == QStringLiteral("Failed to read image")
            && window.windowTitle() == QStringLiteral("before");
        QVERIFY2(isOpen != isRefused, qPrintable(file));
        opened += isOpen;
        refused += isRefused;
        if (isOpen)
            MainWindowProbe::ui(window).actionProcess->trigger();
    }
    qInfo("%d opened, %d refused", opened, refused);
    QVERIFY(opened > 50);
    QVERIFY(refused > 10);
}

CRAYVELL_TEST_MAIN(BrokenFilesTest)
#include "tst_brokenfiles.moc"
