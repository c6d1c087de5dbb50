#include "tests/examples/tourstage.h"

#include <QDir>
#include <QImageWriter>
#include <QRegularExpression>

namespace {

// A photo in which every place has a colour of its own, by which it is found on
// the screen at any zoom: green tells x, red tells y, and blue is the same
// everywhere.
constexpr int photoBlue = 200;

QImage photo()
{
    QImage image(480, 360, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb(20 + y / 3, 20 + x / 3, photoBlue));
    return image;
}

bool isPhoto(QRgb pixel)
{
    return qBlue(pixel) == photoBlue && qRed(pixel) <= 140 && qGreen(pixel) <= 180;
}

// Where the photo is on the screen; the window has a few pixels of that blue
// elsewhere, but no row of them.
QRect findPhoto(const QImage &screen)
{
    QRect found;
    for (int y = 0; y < screen.height(); ++y) {
        int first = -1, last = -1, count = 0;
        const auto *const line = reinterpret_cast<const QRgb *>(screen.constScanLine(y));
        for (int x = 0; x < screen.width(); ++x) {
            if (!isPhoto(line[x]))
                continue;
            first = first < 0 ? x : first;
            last = x;
            ++count;
        }
        if (count > 100)
            found |= QRect(first, y, last - first + 1, 1);
    }
    return found;
}

} // namespace

void TourStage::scales()
{
    QTest::addColumn<int>("displayScale");
    QTest::newRow("ordinary display") << 1;
    QTest::newRow("dense display") << 2;
}

void TourStage::openScreen()
{
    const QString missing = XServer::missingProgram();
    if (!missing.isEmpty())
        QSKIP(qPrintable(missing + QStringLiteral(" is not installed")));
    QVERIFY2(server.start(), qPrintable(server.errorString()));
    QVERIFY(photo().save(folder.filePath(QStringLiteral("photo.png"))));
    QImageWriter onItsSide(folder.filePath(QStringLiteral("side.tif")));
    onItsSide.setTransformation(QImageIOHandler::TransformationRotate90);
    QVERIFY(onItsSide.write(photo()));
    QVERIFY(QDir().mkpath(QStringLiteral(SCREENSHOTS)));
}

bool TourStage::startTour(int displayScale, const char *photo)
{
    scale = displayScale;
    QProcessEnvironment environment = server.environment();
    environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QString::number(scale));
    tour.setProcessEnvironment(environment);
    tour.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    tour.start(QStringLiteral(CANVAS_TOUR), {folder.filePath(QLatin1String(photo))});
    window = server.waitForWindow(QStringLiteral("^Canvas tour$"));
    // Drawn, and at rest in its place on the screen.
    QRect before;
    return !window.isEmpty() && server.activate(window) && eventually([&] {
        before = area;
        area = findPhoto(screen);
        return area.height() > 200 * scale && area == before;
    });
}

// Closes the window, as its user would, and wants a clean end.
void TourStage::closeTour()
{
    if (tour.state() == QProcess::NotRunning)
        return;
    QVERIFY2(server.key({QStringLiteral("alt+F4")}), qPrintable(server.errorString()));
    QVERIFY(tour.waitForFinished());
    QCOMPARE(tour.exitStatus(), QProcess::NormalExit);
    QCOMPARE(tour.exitCode(), 0);
}

bool TourStage::selectTool(const char *mnemonic, int mode)
{
    lines.clear();
    const QString chosen = QStringLiteral("toolMode %1").arg(mode);
    const bool done = server.key({QStringLiteral("alt+") + QString::fromLatin1(mnemonic)})
        && QTest::qWaitFor([&] { return output().contains(chosen); }, 30000);
    lines.clear();
    return done;
}

QPoint TourStage::at(int x, int y) const
{
    return area.topLeft() + QPoint(area.width() * x / 100, area.height() * y / 100);
}

QStringList TourStage::output(const char *signal)
{
    while (tour.canReadLine())
        lines.append(QString::fromLocal8Bit(tour.readLine()).trimmed());
    return lines.filter(QRegularExpression(QStringLiteral("^%1").arg(QLatin1String(signal))));
}

void TourStage::finish(const char *name)
{
    const QString file =
        QStringLiteral(SCREENSHOTS "/%1-%2x.png").arg(QLatin1String(name)).arg(scale);
    const QRect content = server.geometry(window);
    QVERIFY(screen.copy(content).save(file));
}
