#include "tests/app/mainwindowprobe.h"
#include "tests/support/jpegfile.h"
#include "tests/support/pictures.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"

class MemoryTest : public QObject
{
    Q_OBJECT

private slots:
    void opensGrowByTheEdgeBuffersOnly();
};

// 24 megapixels: each open may keep its edge buffer of 24 MB and nothing else.
void MemoryTest::opensGrowByTheEdgeBuffersOnly()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer keeps freed memory");
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("photo.jpg"));
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(jpegFile(pictures::scene(6000, 4000)));
    }
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const auto openAndProcess = [&] {
        MainWindowProbe::open(window, path);
        MainWindowProbe::ui(window).actionProcess->trigger();
        QApplication::processEvents();
    };
    openAndProcess();
    const qint64 before = process::residentMemory();
    constexpr int opens = 5;
    constexpr qint64 edgeBuffer = 24'000'000;
    for (int i = 0; i < opens; ++i) {
        QTest::ignoreMessage(QtWarningMsg, "QGraphicsScene::removeItem: cannot remove 0-item");
        openAndProcess();
    }
    const qint64 growth = process::residentMemory() - before;
    QVERIFY2(growth < opens * edgeBuffer + edgeBuffer / 2, qPrintable(QString::number(growth)));
    QVERIFY2(growth > opens * edgeBuffer - edgeBuffer / 2, qPrintable(QString::number(growth)));
}

CRAYVELL_TEST_MAIN(MemoryTest)
#include "tst_memory.moc"
