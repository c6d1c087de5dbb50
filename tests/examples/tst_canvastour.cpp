#include <QRegularExpression>
#include <QSettings>

#include "tests/examples/tourstage.h"
#include "tests/support/testmain.h"

namespace {

const QRgb yellow = qRgb(255, 255, 10);
const QRgb green = qRgb(50, 255, 50);
const QRgb red = qRgb(255, 10, 10);
const QRgb black = qRgb(0, 0, 0);

// The rectangle in a line of the tour's list.
QRectF reportedRect(const QString &line)
{
    static const QRegularExpression rect(
        QStringLiteral("\\((-?\\d+), (-?\\d+)\\) (\\d+) x (\\d+)"));
    const auto match = rect.match(line);
    return {match.captured(1).toDouble(), match.captured(2).toDouble(),
            match.captured(3).toDouble(), match.captured(4).toDouble()};
}

} // namespace

// What each tool paints and reports. Each row leaves a picture of the screen in
// the build folder.
class CanvasTourTest : public QObject, private TourStage
{
    Q_OBJECT

private slots:
    void initTestCase() { openScreen(); }
    void tellsWhatIsWrong_data();
    void tellsWhatIsWrong();

    void photoOnItsSideStandsUpright();

    void init() { lines.clear(); }
    void cleanup() { closeTour(); }
    void pen_data() { scales(); }
    void pen();
    void eraser_data() { scales(); }
    void eraser();
    void markers_data();
    void markers();
    void blueMarker_data() { scales(); }
    void blueMarker();
    void brushes_data();
    void brushes();
    void hand_data() { scales(); }
    void hand();
    void smartWireMarker_data() { scales(); }
    void smartWireMarker();
    void withoutAnAction_data();
    void withoutAnAction();
    void sizesGoThroughTheSettings_data() { scales(); }
    void sizesGoThroughTheSettings();
};

void CanvasTourTest::tellsWhatIsWrong_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("message");
    const QString here = QFINDTESTDATA("tst_canvastour.cpp");
    QTest::newRow("no picture") << QStringList() << 2 << QByteArray("usage: canvas-tour PICTURE");
    QTest::newRow("two pictures") << QStringList({here, here}) << 2
                                  << QByteArray("usage: canvas-tour PICTURE");
    QTest::newRow("missing file") << QStringList(QStringLiteral("/nowhere/photo.png")) << 1
                                  << QByteArray("cannot read /nowhere/photo.png: File not found");
    QTest::newRow("no picture in it")
        << QStringList(here) << 1 << QByteArray("Unsupported image format");
}

void CanvasTourTest::tellsWhatIsWrong()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, message);
    tour.setProcessEnvironment(server.environment());
    tour.start(QStringLiteral(CANVAS_TOUR), arguments);
    QVERIFY(tour.waitForFinished());
    QCOMPARE(tour.exitCode(), exitCode);
    const QByteArray said = tour.readAllStandardError();
    QVERIFY2(said.contains(message), said.constData());
}

void CanvasTourTest::photoOnItsSideStandsUpright()
{
    QVERIFY2(startTour(1, "side.tif"), qPrintable(server.errorString()));
    QVERIFY(area.height() > area.width());
    finish("side");
}

void CanvasTourTest::pen()
{
    QFETCH(int, displayScale);
    QVERIFY2(startTour(displayScale), qPrintable(server.errorString()));
    QVERIFY(selectTool("p", 1));
    QVERIFY(server.drag({at(20, 20), at(80, 20), at(50, 60), at(20, 80)}));
    QTRY_COMPARE_WITH_TIMEOUT(output("ProgressStage").value(lines.size() - 1),
                              QStringLiteral("ProgressStage Released"), XServer::patience);
    QCOMPARE(lines.first(), QStringLiteral("ProgressStage mouse moved"));
    QCOMPARE(lines.value(1), QStringLiteral("ProgressStage path empty"));
    QCOMPARE(lines.count(QStringLiteral("ProgressStage path z is 0")), 3);
    // The first line alone has a pixel for every one of its columns.
    const int least = area.width() * 60 / 100;
    QVERIFY(eventually([&] { return count(screen, area, yellow) > least; }));
    // One device pixel wide on a dense display too.
    QCOMPARE(count(screen, QRect(at(50, 20) - QPoint(0, 4), QSize(1, 9)), yellow), 1);
    finish("pen");
}

void CanvasTourTest::eraser()
{
    QFETCH(int, displayScale);
    QVERIFY2(startTour(displayScale), qPrintable(server.errorString()));
    QVERIFY(selectTool("k", 3));
    QVERIFY(server.drag({at(20, 20), at(30, 40), at(60, 60)}));
    const QRect first(at(28, 38), at(40, 52));
    const QRect second(at(58, 58), at(70, 72));
    QVERIFY(eventually(
        [&] { return count(screen, first, green) > 50 && count(screen, second, green) > 50; }));
    const int whole = count(screen, second, green);
    QVERIFY(selectTool("e", 2));
    QVERIFY(server.click(at(30, 40) + QPoint(4, 4) * scale));
    QVERIFY(eventually([&] { return count(screen, first, green) == 0; }));
    QCOMPARE(count(screen, second, green), whole);
    QVERIFY(output().isEmpty());
    finish("eraser");
}

void CanvasTourTest::markers_data()
{
    QTest::addColumn<QByteArray>("mnemonic");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QRgb>("colour");
    QTest::addColumn<int>("displayScale");
    for (const int displayScale : {1, 2}) {
        QTest::addRow("keep marker, %dx", displayScale)
            << QByteArray("k") << 3 << green << displayScale;
        QTest::addRow("remove marker, %dx", displayScale)
            << QByteArray("r") << 4 << red << displayScale;
    }
}

void CanvasTourTest::markers()
{
    QFETCH(QByteArray, mnemonic);
    QFETCH(int, mode);
    QFETCH(QRgb, colour);
    QFETCH(int, displayScale);
    QVERIFY2(startTour(displayScale), qPrintable(server.errorString()));
    QVERIFY(selectTool(mnemonic, mode));
    QVERIFY(server.drag({at(20, 20), at(30, 30), at(50, 50), at(70, 60)}));
    // Three stamps of 10 by 10 scene units, on a photo of 480.
    const double unit = area.width() / 480.0;
    const double square = 10 * unit * 10 * unit;
    QVERIFY(eventually([&] { return count(screen, area, colour) > 3 * square * 0.7; }));
    QVERIFY(count(screen, area, colour) < 3 * (square + 44 * unit));
    QCOMPARE(screen.pixel(at(50, 50) + QPoint(5, 5) * unit) & RGB_MASK, colour & RGB_MASK);
    finish(mnemonic == "k" ? "keep-marker" : "remove-marker");
}

void CanvasTourTest::blueMarker()
{
    QFETCH(int, displayScale);
    QVERIFY2(startTour(displayScale), qPrintable(server.errorString()));
    const QImage before = screen;
    QVERIFY(selectTool("b", 8));
    QList<QPoint> strokes;
    for (int i = 0; i < 40; ++i)
        strokes.append(at(30, 30) + QPoint(i, i / 4) * scale);
    QVERIFY(server.drag(strokes));
    const auto bluer = [&](QPoint p) {
        return qBlue(screen.pixel(p)) > qBlue(before.pixel(p))
            && qRed(screen.pixel(p)) < qRed(before.pixel(p));
    };
    QVERIFY(eventually([&] { return bluer(strokes[5]) && bluer(strokes[20]); }));
    QVERIFY(output().isEmpty());
    finish("blue-marker");
}

void CanvasTourTest::brushes_data()
{
    QTest::addColumn<QByteArray>("mnemonic");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("displayScale");
    for (const int displayScale : {1, 2}) {
        QTest::addRow("keep brush, %dx", displayScale)
            << QByteArray("u") << 5 << QStringLiteral("keep") << displayScale;
        QTest::addRow("remove brush, %dx", displayScale)
            << QByteArray("m") << 6 << QStringLiteral("remove") << displayScale;
    }
}

void CanvasTourTest::brushes()
{
    QFETCH(QByteArray, mnemonic);
    QFETCH(int, mode);
    QFETCH(QString, name);
    QFETCH(int, displayScale);
    QVERIFY2(startTour(displayScale), qPrintable(server.errorString()));
    QVERIFY(selectTool(mnemonic, mode));
    QVERIFY(server.drag({at(30, 30), at(40, 40), at(50, 50)}));
    // On a photo of 480 by 360; the last report is of the last position.
    const auto reported = [&](const QString &line, QPointF pointer) {
        return line.contains(name) && (reportedRect(line).center() - pointer).manhattanLength() < 6;
    };
    QTRY_VERIFY_WITH_TIMEOUT(reported(output("AnyBrush").value(lines.size() - 1), {240, 180}),
                             XServer::patience);
    QVERIFY2(reported(lines.first(), {144, 108}), qPrintable(lines.first()));
    QVERIFY(lines.size() > 1);
    for (int i = 0; i < lines.size(); ++i)
        QCOMPARE(lines[i].endsWith(QStringLiteral(" now")), i == 0);
    const QRect around(at(50, 50) - QPoint(8, 8) * scale, QSize(16, 16) * scale);
    QVERIFY(eventually([&] { return count(screen, around, black) > 15 * scale; }));
    finish(qPrintable(name + QStringLiteral("-brush")));
}

void CanvasTourTest::hand()
{
    QFETCH(int, displayScale);
    QVERIFY2(startTour(displayScale), qPrintable(server.errorString()));
    const QRect fitted = area;
    QVERIFY(server.key(
        {QStringLiteral("ctrl+plus"), QStringLiteral("ctrl+plus"), QStringLiteral("ctrl+plus")}));
    QImage before = screen;
    const QRgb corner = before.pixel(at(15, 15));
    QVERIFY(eventually([&] {
        return screen.pixel(at(15, 15)) != corner && screen == std::exchange(before, screen);
    }));
    QVERIFY(selectTool("h", 7));
    const QPoint from = fitted.center(), to = from - QPoint(60, 40) * scale;
    QVERIFY(server.drag({from, from - QPoint(20, 30) * scale, to}));
    QTRY_VERIFY_WITH_TIMEOUT(!output("HandTool").isEmpty(), XServer::patience);
    // What was under the pointer has come with it.
    QVERIFY(!alike(before.pixel(from), before.pixel(to), 3));
    QVERIFY(eventually([&] { return alike(screen.pixel(to), before.pixel(from), 3); }));
    finish("hand");
}

void CanvasTourTest::smartWireMarker()
{
    QFETCH(int, displayScale);
    QVERIFY2(startTour(displayScale), qPrintable(server.errorString()));
    const QImage before = screen;
    QVERIFY(selectTool("s", 11));
    QList<QPoint> wire;
    for (int i = 0; i <= 30; ++i)
        wire.append(at(30, 40) + QPoint(6 * i, i) * scale);
    QVERIFY(server.drag(wire));
    QTRY_VERIFY_WITH_TIMEOUT(output("WireMarker").size() > 4, XServer::patience);
    QCOMPARE(output("SmartSelect.* pressed$").size(), 1);
    // Red with alpha 150 over the photo.
    const auto isMarked = [&](QPoint p) {
        const QRgb under = before.pixel(p);
        const auto mixed = [](int colour, int below) { return (colour * 150 + below * 105) / 255; };
        const QRgb expected =
            qRgb(mixed(255, qRed(under)), mixed(0, qGreen(under)), mixed(0, qBlue(under)));
        return alike(screen.pixel(p), expected, 4);
    };
    // Where the toolkit merged moves there are gaps: look at what was reported.
    const auto onScreen = [&](const QString &line) {
        return area.topLeft() + (reportedRect(line).center() * area.width() / 480.0).toPoint();
    };
    const QPoint start = onScreen(output("SmartSelect.* pressed").first());
    const QPoint middle = onScreen(output("SmartSelect").at(3));
    QVERIFY(eventually([&] { return isMarked(start) && isMarked(middle); }));
    QVERIFY(server.click(start, 3));
    QTRY_COMPARE_WITH_TIMEOUT(output("SmartSelect.* pressed right").size(), 1, XServer::patience);
    server.moveTo(at(50, 50)); // the outline away
    QVERIFY(eventually([&] { return alike(screen.pixel(start), before.pixel(start), 1); }));
    QVERIFY(isMarked(middle));
    finish("smart-wire-marker");
}

void CanvasTourTest::withoutAnAction_data()
{
    QTest::addColumn<QByteArray>("mnemonic");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("no tool") << QByteArray("n") << 0 << QByteArray("no-tool");
    QTest::newRow("wire marker") << QByteArray("w") << 9 << QByteArray("wire-marker");
    QTest::newRow("wire eraser") << QByteArray("i") << 10 << QByteArray("wire-eraser");
}

void CanvasTourTest::withoutAnAction()
{
    QFETCH(QByteArray, mnemonic);
    QFETCH(int, mode);
    QFETCH(QByteArray, name);
    QVERIFY2(startTour(1), qPrintable(server.errorString()));
    const QImage before = screen.copy(area);
    QVERIFY(selectTool(mnemonic, mode));
    QVERIFY(server.drag({at(30, 30), at(50, 50)}));
    // The same tool again tells when all of that has been handled.
    QVERIFY(server.key({QStringLiteral("alt+") + QString::fromLatin1(mnemonic)}));
    QTRY_VERIFY_WITH_TIMEOUT(!output().isEmpty(), XServer::patience);
    QCOMPARE(lines, QStringList(QStringLiteral("toolMode %1").arg(mode)));
    QVERIFY(eventually([&] { return screen.copy(area) == before; }));
    finish(name);
}

// The buttons are one stop of Tab, the check box is the next, then comes the
// size of the keep marker.
void CanvasTourTest::sizesGoThroughTheSettings()
{
    QFETCH(int, displayScale);
    QVERIFY2(startTour(displayScale), qPrintable(server.errorString()));
    QVERIFY(selectTool("k", 3));
    const auto stored = [] {
        return QSettings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Crayvell"),
                         QStringLiteral("canvas-tour"))
            .value(QStringLiteral("KEEPMSIZE"))
            .toInt();
    };
    const int size = displayScale == 1 ? 40 : 30;
    QVERIFY(server.key({QStringLiteral("Tab"), QStringLiteral("Tab"), QStringLiteral("ctrl+a")}));
    QVERIFY(server.type(QString::number(size)));
    QVERIFY(server.drag({at(20, 20), at(40, 40)}));
    const double side = size * area.width() / 480.0;
    QVERIFY(eventually([&] { return count(screen, area, green) > side * side * 0.95; }));
    QVERIFY(count(screen, area, green) < side * side * 1.15);
    finish("sizes");
    QVERIFY(server.key({QStringLiteral("alt+F4")}));
    QVERIFY(tour.waitForFinished());
    QCOMPARE(stored(), size);
}

CRAYVELL_TEST_MAIN(CanvasTourTest)
#include "tst_canvastour.moc"
