#include <QColorSpace>
#include <QGraphicsEllipseItem>
#include <QGraphicsPathItem>
#include <QGraphicsPixmapItem>
#include <QMouseEvent>
#include <QRegion>

#include "canvas/tarngraphicsview.h"
#include "tests/app/mainwindowprobe.h"
#include "tests/support/testmain.h"

namespace {

const QRgb unmarked = qRgba(0, 0, 0, 0);
const QRgb marked = qRgba(255, 0, 0, 150);

// A main window with its canvas, and photos of one colour to open.
class Stage
{
public:
    Stage()
    {
        window.show(); // before a photo: the first resize event has no old size
        canvas = window.findChild<TarnGraphicsView *>();
        canvas->keepBrushSize = 4;
    }

    void open(QSize size)
    {
        QImage photo(size, QImage::Format_RGB32);
        photo.fill(QColor(40, 80, 120));
        const QString path = folder.filePath(QStringLiteral("photo.png"));
        photo.save(path);
        QMetaObject::invokeMethod(&window, "open", Q_ARG(QString, path));
    }
    void mark(const QRegion &region)
    {
        QMetaObject::invokeMethod(&window, "ProcessWireMarker", Q_ARG(QRegion, region));
    }

    QGraphicsScene &scene() { return MainWindowProbe::scene(window); }
    QGraphicsPixmapItem *overlay() { return MainWindowProbe::wireOverlayItem(window); }
    QImage picture()
    {
        return overlay()->pixmap().toImage().convertToFormat(QImage::Format_ARGB32);
    }

    void send(QEvent::Type type, QPointF scenePosition)
    {
        const QPointF position = canvas->mapFromScene(scenePosition);
        const bool move = type == QEvent::MouseMove;
        QMouseEvent event(type, position, canvas->viewport()->mapToGlobal(position),
                          move ? Qt::NoButton : Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(canvas->viewport(), &event);
    }

    MainWindow window;
    TarnGraphicsView *canvas = nullptr;

private:
    QTemporaryDir folder;
};

// The first pixel that is not as the rule says, in words.
template <typename Rule> QString firstWrongPixel(const QImage &image, const Rule &expected)
{
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) != expected(x, y))
                return QStringLiteral("(%1, %2) is %3 instead of %4")
                    .arg(x)
                    .arg(y)
                    .arg(image.pixel(x, y), 8, 16)
                    .arg(expected(x, y), 8, 16);
    return {};
}

// What the toolkit alone makes of marks, one after the other: each is painted on a
// copy of the pixels that the last one left.
QImage plainlyMarked(QSize size, const QList<QRegion> &regions)
{
    QImage picture(size, QImage::Format_ARGB32);
    picture.fill(Qt::transparent);
    for (const QRegion &region : regions) {
        QImage copy = picture.copy();
        QPainter painter(&copy);
        painter.setClipRegion(region);
        painter.fillRect(copy.rect(), QColor(255, 0, 0, 150));
        painter.end();
        picture = QPixmap::fromImage(copy).toImage();
    }
    return picture;
}

bool within(QRect rect, int x, int y)
{
    return x >= rect.x() && x < rect.x() + rect.width() && y >= rect.y()
        && y < rect.y() + rect.height();
}

} // namespace

class WireOverlayTest : public QObject
{
    Q_OBJECT

private slots:
    void paintsTheRegion();
    void isAnEmptiedCopyOfThePhoto();
    void marksAddUp();
    void overlapsGetRedder();
    void equalsPlainPainting_data();
    void equalsPlainPainting();
    void keepsItsMemory();
    void leavesAHostsCopyAlone();
    void changesNothing_data();
    void changesNothing();
    void withoutAPhoto();
    void anotherPhotoStartsAfresh();
    void liesOverTheSketch();
    void isConnectedByHostsOnly();
    void openingForgetsTheToolsItems();
    void openingInMidDrag_data();
    void openingInMidDrag();
};

void WireOverlayTest::paintsTheRegion()
{
    Stage stage;
    stage.open({60, 40});
    QVERIFY(!stage.overlay());
    const QRect a(5, 6, 10, 4), b(50, 30, 20, 20);
    stage.mark(QRegion(a) + b);
    QVERIFY(stage.overlay());
    QCOMPARE(stage.overlay()->scene(), &stage.scene());
    QCOMPARE(stage.overlay()->pos(), QPointF(0, 0));
    QCOMPARE(stage.overlay()->zValue(), 11.0);
    QCOMPARE(stage.picture().size(), QSize(60, 40));
    const QString wrong = firstWrongPixel(stage.picture(), [&](int x, int y) {
        return within(a, x, y) || within(b, x, y) ? marked : unmarked;
    });
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
}

// Of the photo it has all but the pixels.
void WireOverlayTest::isAnEmptiedCopyOfThePhoto()
{
    Stage stage;
    stage.open({60, 40});
    QImage &photo = MainWindowProbe::sourceImage(stage.window);
    photo.setText(QStringLiteral("Comment"), QStringLiteral("at the sea"));
    photo.setDotsPerMeterX(11811);
    photo.setDotsPerMeterY(5906);
    photo.setColorSpace(QColorSpace::AdobeRgb);
    photo.setOffset({3, -4});
    for (int call = 0; call < 2; ++call) { // the second overlay begins as the first one
        stage.mark(QRegion(60, 40, 1, 1));
        const QImage overlay = stage.overlay()->pixmap().toImage();
        QCOMPARE(overlay.text(QStringLiteral("Comment")), QStringLiteral("at the sea"));
        QCOMPARE(overlay.dotsPerMeterX(), 11811);
        QCOMPARE(overlay.dotsPerMeterY(), 5906);
        QCOMPARE(overlay.colorSpace(), QColorSpace(QColorSpace::AdobeRgb));
        QCOMPARE(overlay.offset(), QPoint(3, -4));
        QCOMPARE(firstWrongPixel(stage.picture(), [](int, int) { return unmarked; }), QString());
    }
    QCOMPARE(photo.pixel(0, 0), qRgb(40, 80, 120));
}

void WireOverlayTest::marksAddUp()
{
    Stage stage;
    stage.open({60, 40});
    const auto before = stage.scene().items().size();
    const QRect a(5, 6, 10, 4), b(30, 20, 8, 8);
    stage.mark(a);
    stage.mark(b);
    QCOMPARE(stage.scene().items().size(), before + 1);
    const QString wrong = firstWrongPixel(stage.picture(), [&](int x, int y) {
        return within(a, x, y) || within(b, x, y) ? marked : unmarked;
    });
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
}

void WireOverlayTest::overlapsGetRedder()
{
    Stage stage;
    stage.open({60, 40});
    const QRect a(5, 5, 20, 20), b(15, 15, 20, 20);
    stage.mark(a);
    stage.mark(b);
    // 150 over 150: 150 + 150 * (255 - 150) / 255 = 211.8
    const QString wrong = firstWrongPixel(stage.picture(), [&](int x, int y) {
        const int layers = int(within(a, x, y)) + int(within(b, x, y));
        return layers == 2 ? qRgba(255, 0, 0, 212) : layers == 1 ? marked : unmarked;
    });
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
}

void WireOverlayTest::equalsPlainPainting_data()
{
    using Regions = QList<QRegion>;
    const QRegion left(5, 5, 20, 20), right(15, 12, 30, 20);
    const QRegion circle(20, 4, 25, 25, QRegion::Ellipse);
    QTest::addColumn<Regions>("regions");
    QTest::newRow("apart") << Regions {QRect(0, 0, 5, 5), QRect(50, 30, 10, 10)};
    QTest::newRow("overlapping") << Regions {left, right, circle};
    QTest::newRow("of several parts") << Regions {left + circle, right.xored(circle), left - right};
    QTest::newRow("partly and wholly outside")
        << Regions {QRect(-5, -5, 20, 20), QRect(55, 35, 20, 20), QRect(70, 0, 5, 5), left};
    QTest::newRow("empty in between") << Regions {left, {}, right};
    QTest::newRow("the same place until nothing shines through") << Regions(12, left);
    QTest::newRow("all of it until nothing shines through") << Regions(12, QRect(0, 0, 60, 40));
    QTest::newRow("all of it, then a part") << (Regions(12, QRect(0, 0, 60, 40)) << left << circle);
}

void WireOverlayTest::equalsPlainPainting()
{
    QFETCH(QList<QRegion>, regions);
    Stage stage;
    stage.open({60, 40});
    for (qsizetype count = 1; count <= regions.size(); ++count) {
        stage.mark(regions[count - 1]);
        const QImage shown = stage.overlay()->pixmap().toImage();
        const QImage expected = plainlyMarked({60, 40}, regions.first(count));
        QCOMPARE(shown.format(), expected.format());
        QCOMPARE(shown, expected);
    }
}

// A copy of a large picture would take a hundred times as long as a small mark.
void WireOverlayTest::keepsItsMemory()
{
    Stage stage;
    stage.open({60, 40});
    const auto memory = [&] { return stage.overlay()->pixmap().toImage().constBits(); };
    stage.mark(QRegion(5, 5, 20, 20));
    const uchar *const first = memory();
    for (const QRect region : {QRect(15, 15, 20, 20), QRect(0, 0, 60, 40), QRect(70, 0, 5, 5)}) {
        stage.mark(region);
        QCOMPARE(memory(), first);
    }
}

void WireOverlayTest::leavesAHostsCopyAlone()
{
    Stage stage;
    stage.open({60, 40});
    stage.mark(QRegion(5, 5, 20, 20));
    const QPixmap kept = stage.overlay()->pixmap();
    stage.mark(QRegion(15, 15, 20, 20));
    QCOMPARE(kept.toImage(), plainlyMarked({60, 40}, {QRect(5, 5, 20, 20)}));
    QCOMPARE(stage.overlay()->pixmap().toImage(),
             plainlyMarked({60, 40}, {QRect(5, 5, 20, 20), QRect(15, 15, 20, 20)}));
}

void WireOverlayTest::changesNothing_data()
{
    QTest::addColumn<QRegion>("region");
    QTest::newRow("empty region") << QRegion();
    QTest::newRow("right of the photo") << QRegion(60, 0, 30, 30);
    QTest::newRow("left of the photo") << QRegion(-30, 0, 30, 30);
}

void WireOverlayTest::changesNothing()
{
    QFETCH(QRegion, region);
    Stage stage;
    stage.open({60, 40});
    const auto before = stage.scene().items().size();
    stage.mark(region);
    QCOMPARE(stage.scene().items().size(), before + 1);
    QCOMPARE(firstWrongPixel(stage.picture(), [](int, int) { return unmarked; }), QString());
    stage.overlay()->setZValue(3); // a mark that only this item carries
    stage.mark(region);
    QCOMPARE(stage.overlay()->zValue(), 11.0);
    QCOMPARE(stage.scene().items().size(), before + 1);
}

void WireOverlayTest::withoutAPhoto()
{
    Stage stage;
    stage.mark(QRegion(0, 0, 10, 10));
    QVERIFY(stage.overlay());
    QVERIFY(stage.overlay()->pixmap().isNull());
    QCOMPARE(stage.overlay()->zValue(), 11.0);
    QCOMPARE(stage.scene().items(), QList<QGraphicsItem *>({stage.overlay()}));
    stage.mark(QRegion(0, 0, 10, 10));
    QCOMPARE(stage.scene().items(), QList<QGraphicsItem *>({stage.overlay()}));
}

void WireOverlayTest::anotherPhotoStartsAfresh()
{
    Stage stage;
    stage.open({60, 40});
    stage.mark(QRegion(0, 0, 60, 40));
    stage.open({30, 20});
    QVERIFY(!stage.overlay());
    QCOMPARE(stage.scene().items().size(), 2); // margin and photo
    stage.mark(QRegion(0, 0, 1, 1));
    QCOMPARE(stage.picture().size(), QSize(30, 20));
    const QString wrong = firstWrongPixel(
        stage.picture(), [](int x, int y) { return x == 0 && y == 0 ? marked : unmarked; });
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
}

// At the origin of the scene, not at the picture's corner: (10, 10) of the
// overlay is on (0, 0) of the picture.
void WireOverlayTest::liesOverTheSketch()
{
    Stage stage;
    stage.open({60, 40});
    stage.mark(QRegion(10, 10, 1, 1));
    QMetaObject::invokeMethod(&stage.window, "on_actionProcess_triggered");
    QImage shown(80, 60, QImage::Format_RGB32);
    QPainter painter(&shown);
    stage.scene().render(&painter, shown.rect(), stage.scene().sceneRect());
    painter.end();
    // The sketch of a photo of one colour is white: what the mark lets through
    // is 255 * (255 - 150) / 255 of its green and blue.
    QCOMPARE(shown.pixelColor(9, 9), QColor(255, 255, 255));
    QCOMPARE(shown.pixelColor(10, 10), QColor(255, 105, 105));
    QCOMPARE(shown.pixelColor(11, 11), QColor(255, 255, 255));
}

void WireOverlayTest::isConnectedByHostsOnly()
{
    Stage stage;
    stage.open({60, 40});
    const auto emitWireMarker = [&] {
        QMetaObject::invokeMethod(stage.canvas, "WireMarker", Q_ARG(QRegion, QRegion(0, 0, 5, 5)));
    };
    emitWireMarker();
    QVERIFY(!stage.overlay());
    QVERIFY(connect(stage.canvas, SIGNAL(WireMarker(QRegion)), &stage.window,
                    SLOT(ProcessWireMarker(QRegion))));
    emitWireMarker();
    QVERIFY(stage.overlay());
    const QMetaObject *meta = stage.window.metaObject();
    const int slot = meta->indexOfSlot("ProcessWireMarker(QRegion)");
    QCOMPARE(meta->method(slot).parameterNames(), QByteArrayList({"rgn"}));
}

void WireOverlayTest::openingForgetsTheToolsItems()
{
    Stage stage;
    stage.open({60, 40});
    stage.canvas->toolMode = TarnGraphicsView::ModePen;
    stage.send(QEvent::MouseButtonPress, {30, 30});
    stage.canvas->toolMode = TarnGraphicsView::ModeKeepBrush;
    stage.send(QEvent::MouseMove, {40, 30});
    QVERIFY(stage.canvas->pathItem && stage.canvas->cursorItem);
    QCOMPARE(stage.scene().items().size(), 4);
    stage.open({50, 50});
    QVERIFY(!stage.canvas->pathItem);
    QVERIFY(!stage.canvas->cursorItem);
    QCOMPARE(stage.scene().items().size(), 2);
}

void WireOverlayTest::openingInMidDrag_data()
{
    QTest::addColumn<int>("tool");
    for (int tool = 0; tool <= 11; ++tool)
        QTest::addRow("tool %d", tool) << tool;
}

void WireOverlayTest::openingInMidDrag()
{
    QFETCH(int, tool);
    Stage stage;
    stage.open({60, 40});
    stage.canvas->toolMode = tool;
    stage.send(QEvent::MouseButtonPress, {30, 30});
    stage.send(QEvent::MouseMove, {40, 30});
    stage.open({50, 50});
    QCOMPARE(stage.scene().items().size(), 2);
    stage.send(QEvent::MouseMove, {30, 30});
    stage.send(QEvent::MouseButtonRelease, {30, 30});
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(stage.canvas, &leave);
    QVERIFY(!stage.canvas->cursorItem);
}

CRAYVELL_TEST_MAIN(WireOverlayTest)
#include "tst_wireoverlay.moc"
