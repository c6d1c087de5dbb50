#include <QGraphicsPixmapItem>
#include <QPainter>

#include "tests/canvas/toolstage.h"
#include "tests/support/testmain.h"

namespace {

constexpr int width = 120; // of the photo, in scene units
constexpr int height = 90;
constexpr QRgb yellow = qRgb(255, 255, 10);
constexpr QRgb green = qRgb(50, 255, 50);

// A photo without two equal neighbours.
QRgb photoPixel(int x, int y)
{
    return qRgb(x * 2, y * 2, (x * 7 + y * 13) % 256);
}

QImage photo()
{
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, photoPixel(x, y));
    return image;
}

// The expected picture, in device pixels, made pixel by pixel where the shape
// is one of straight lines and with a plain painter where it is round.
class Expected
{
public:
    explicit Expected(int wholeZoom)
        : zoom(wholeZoom)
        , image(width * zoom, height * zoom, QImage::Format_RGB32)
    {
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                image.setPixel(x, y, photoPixel(x / zoom, y / zoom));
    }

    // A line one pixel wide with its ends included, straight or at 45 degrees.
    void line(QPoint from, QPoint to, QRgb colour)
    {
        const auto sign = [](int number) { return (number > 0) - (number < 0); };
        const QPoint step(sign(to.x() - from.x()), sign(to.y() - from.y()));
        for (QPoint p = from; p != to + step; p += step)
            image.setPixel(p, colour);
    }

    // Filled, and outlined by one pixel to the right and below.
    void square(QPoint corner, int side, QRgb colour)
    {
        for (int y = corner.y(); y <= corner.y() + side; ++y)
            line({corner.x(), y}, {corner.x() + side, y}, colour);
    }

    void circle(QRect square, const QPen &pen, const QBrush &brush, double opacity = 1)
    {
        QPainter painter(&image);
        painter.setOpacity(opacity);
        painter.setPen(pen);
        painter.setBrush(brush);
        painter.drawEllipse(square);
    }
    void disc(QRect square, QColor colour, double opacity = 1)
    {
        circle(square, QPen(colour, 0), colour, opacity);
    }
    void outline(QRect square) { circle(square, QPen(Qt::black, 0), Qt::NoBrush); }

    int zoom;
    QImage image;
};

// What is used, where, and what should be seen of it. Positions and rectangles
// are in device pixels.
struct Scenario
{
    void (*work)(ToolStage &stage);
    void (*draw)(Expected &picture);
};

const QList<QPair<const char *, Scenario>> scenarios {
    {"photo alone", {[](ToolStage &) {}, [](Expected &) {}}},
    {"hand",
     {[](ToolStage &stage) {
          stage.view.toolMode = TarnGraphicsView::ModeHand;
          stage.drag({{20, 20}, {70, 60}});
      },
      [](Expected &) {}}},
    {"pen",
     {[](ToolStage &stage) {
          stage.view.toolMode = TarnGraphicsView::ModePen;
          stage.drag({{20, 20}, {80, 20}, {80, 50}, {60, 70}, {20, 70}});
      },
      [](Expected &picture) {
          picture.line({20, 20}, {80, 20}, yellow);
          picture.line({80, 20}, {80, 50}, yellow);
          picture.line({80, 50}, {60, 70}, yellow);
          picture.line({60, 70}, {20, 70}, yellow);
      }}},
    {"keep marker",
     {[](ToolStage &stage) {
          stage.view.toolMode = TarnGraphicsView::ModeKeepMarker;
          stage.drag({{10, 10}, {30, 30}, {38, 36}, {80, 60}});
      },
      [](Expected &picture) {
          for (const QPoint corner : {QPoint(30, 30), QPoint(38, 36), QPoint(80, 60)})
              picture.square(corner, 10 * picture.zoom, green);
      }}},
    {"remove marker",
     {[](ToolStage &stage) {
          stage.view.toolMode = TarnGraphicsView::ModeRemoveMarker;
          stage.drag({{10, 10}, {30, 30}, {38, 36}});
      },
      [](Expected &picture) {
          const QSize size = QSize(12, 12) * picture.zoom;
          picture.disc({{30, 30}, size}, {255, 10, 10});
          picture.disc({{38, 36}, size}, {255, 10, 10});
      }}},
    {"blue marker",
     {[](ToolStage &stage) {
          stage.view.toolMode = TarnGraphicsView::ModeBlueMarker;
          stage.drag({{10, 10}, {40, 40}, {48, 44}});
      },
      [](Expected &picture) {
          picture.disc({30, 30, 20, 20}, {10, 10, 255}, 0.06);
          picture.disc({38, 34, 20, 20}, {10, 10, 255}, 0.06);
          picture.outline({38, 34, 20, 20});
      }}},
    {"blue marker at full opacity",
     {[](ToolStage &stage) {
          stage.view.toolMode = TarnGraphicsView::ModeBlueMarker;
          stage.view.markerOpacity = 10;
          stage.drag({{10, 10}, {40, 40}});
          stage.leave();
      },
      [](Expected &picture) {
          picture.disc({30, 30, 20, 20}, {10, 10, 255});
      }}},
    {"keep brush",
     {[](ToolStage &stage) {
          stage.view.toolMode = TarnGraphicsView::ModeKeepBrush;
          stage.drag({{20, 20}, {40, 40}, {50, 44}});
      },
      [](Expected &picture) {
          picture.outline({36, 30, 28, 28});
      }}},
    {"remove brush",
     {[](ToolStage &stage) {
          stage.view.toolMode = TarnGraphicsView::ModeRemoveBrush;
          stage.drag({{20, 20}, {40, 40}, {50, 44}});
      },
      [](Expected &picture) {
          picture.outline({40, 34, 20, 20});
      }}},
    {"brush that left the view",
     {[](ToolStage &stage) {
          stage.view.toolMode = TarnGraphicsView::ModeKeepBrush;
          stage.move({50, 44});
          stage.leave();
      },
      [](Expected &) {}}},
    {"wire smart marker",
     {[](ToolStage &stage) {
          stage.view.toolMode = TarnGraphicsView::ModeWireSmartMarker;
          stage.drag({{20, 20}, {52, 45}});
      },
      [](Expected &picture) {
          // The corner has lost its fraction of a scene unit.
          const QPoint corner(47 / picture.zoom * picture.zoom, 40);
          picture.outline({corner, QSize(10, 10)});
      }}},
    {"eraser",
     {[](ToolStage &stage) {
          stage.view.toolMode = TarnGraphicsView::ModeKeepMarker;
          stage.drag({{10, 10}, {30, 30}, {80, 60}});
          stage.view.toolMode = TarnGraphicsView::ModeRemoveMarker;
          stage.drag({{10, 10}, {34, 34}});
          stage.view.toolMode = TarnGraphicsView::ModePen;
          stage.drag({{20, 38}, {50, 38}});
          stage.view.toolMode = TarnGraphicsView::ModeEraser;
          expectNullItemWarning(); // for the stroke
          expectNullItemWarning(); // and for the photo
          stage.press({38, 38});
      },
      [](Expected &picture) {
          picture.square({80, 60}, 10 * picture.zoom, green);
          picture.line({20, 38}, {50, 38}, yellow);
      }}},
    {"a later sketch hides stamps but not the outline",
     {[](ToolStage &stage) {
          stage.view.toolMode = TarnGraphicsView::ModeKeepMarker;
          stage.drag({{10, 10}, {30, 30}});
          stage.scene.addPixmap(QPixmap::fromImage(photo()))->setZValue(10);
          stage.view.toolMode = TarnGraphicsView::ModeRemoveBrush;
          stage.move({50, 44});
      },
      [](Expected &picture) {
          picture.outline({40, 34, 20, 20});
      }}},
};

// The first pixels that differ, in words; empty when none does.
QString differences(const QImage &actual, const QImage &expected)
{
    QStringList found;
    for (int y = 0; y < expected.height() && found.size() < 5; ++y)
        for (int x = 0; x < expected.width() && found.size() < 5; ++x)
            if ((actual.pixel(x, y) ^ expected.pixel(x, y)) & 0xffffff)
                found.append(QStringLiteral("(%1, %2) is %3 instead of %4")
                                 .arg(x)
                                 .arg(y)
                                 .arg(QColor(actual.pixel(x, y)).name(),
                                      QColor(expected.pixel(x, y)).name()));
    return found.join(QStringLiteral(", "));
}

} // namespace

class ToolPicturesTest : public QObject
{
    Q_OBJECT

private slots:
    void pictures_data();
    void pictures();
};

void ToolPicturesTest::pictures_data()
{
    QTest::addColumn<int>("scenario");
    QTest::addColumn<int>("zoom");
    for (int i = 0; i < scenarios.size(); ++i)
        for (const int zoom : {1, 2})
            QTest::addRow("%s, zoom %d", scenarios[i].first, zoom) << i << zoom;
}

void ToolPicturesTest::pictures()
{
    QFETCH(int, scenario);
    QFETCH(int, zoom);
    ToolStage stage(TarnGraphicsView::ModeNone, QRectF(0, 0, width, height));
    stage.scene.addPixmap(QPixmap::fromImage(photo()))->setZValue(1);
    stage.zoom(zoom);
    stage.view.keepMarkerSize = 10;
    stage.view.removeMarkerSize = 12;
    stage.view.keepBrushSize = 28;
    stage.view.removeBrushSize = stage.view.blueMarkerSize = 20;
    stage.view.eraserSize = 8;
    stage.view.markerOpacity = 0.6;
    scenarios[scenario].second.work(stage);

    Expected expected(zoom);
    scenarios[scenario].second.draw(expected);
    const QImage actual = stage.view.viewport()
                              ->grab(expected.image.rect())
                              .toImage()
                              .convertToFormat(QImage::Format_RGB32);
    const QString wrong = differences(actual, expected.image);
    if (!wrong.isEmpty()) {
        actual.save(QStringLiteral("toolpicture_actual.png"));
        expected.image.save(QStringLiteral("toolpicture_expected.png"));
    }
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
}

CRAYVELL_TEST_MAIN(ToolPicturesTest)
#include "tst_toolpictures.moc"
