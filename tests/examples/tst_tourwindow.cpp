#include <QCheckBox>
#include <QGraphicsPixmapItem>
#include <QListWidget>
#include <QMouseEvent>
#include <QPushButton>

#include "canvas/tarngraphicsview.h"
#include "examples/canvas-tour/tourwindow.h"
#include "tests/support/testmain.h"

namespace {

using View = TarnGraphicsView;

// The tour on a white picture, worked through the events of its widgets.
class Tour : public TourWindow
{
public:
    View *canvas = findChild<View *>();
    QListWidget *list = findChild<QListWidget *>();

    Tour()
    {
        show();
        QPixmap picture(300, 200);
        picture.fill(Qt::white);
        showPicture(picture);
    }

    void choose(const char *name)
    {
        for (auto *button : findChildren<QPushButton *>())
            if (button->text().remove(u'&') == QLatin1String(name))
                return button->click();
        qFatal("no tool named %s", name);
    }
    void press(QPoint onPicture) { send(QEvent::MouseButtonPress, onPicture, Qt::LeftButton); }
    void move(QPoint onPicture) { send(QEvent::MouseMove, onPicture, Qt::LeftButton); }
    void release(QPoint onPicture) { send(QEvent::MouseButtonRelease, onPicture, Qt::NoButton); }
    QColor shown(QPoint onPicture)
    {
        return canvas->viewport()->grab().toImage().pixelColor(canvas->mapFromScene(onPicture));
    }

private:
    void send(QEvent::Type type, QPoint onPicture, Qt::MouseButtons held)
    {
        const QPointF position = canvas->mapFromScene(onPicture);
        const auto button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
        QMouseEvent event(type, position, canvas->viewport()->mapToGlobal(position), button, held,
                          Qt::NoModifier);
        QApplication::sendEvent(canvas->viewport(), &event);
    }
};

} // namespace

// The window of the tour, from inside.
class TourWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void listKeepsTheLatestLines();
    void anotherToolTakesTheHandsCursorOff();
    void anotherToolEndsTheStroke();
    void wireMarksNeedNoPicture();
    void wireMarksAreHandedOn();
    void sameSizeForAllIsKept();
    void outlineFollowsWithoutAButton();
};

void TourWindowTest::listKeepsTheLatestLines()
{
    Tour tour;
    tour.choose("Hand");
    tour.press({50, 50});
    for (int i = 0; i < 1500; ++i)
        tour.move({50 + i % 2, 50});
    QCOMPARE(tour.list->count(), 1000);
    QVERIFY(tour.list->item(0)->text().startsWith(QStringLiteral("HandTool")));
    tour.choose("Pen");
    QCOMPARE(tour.list->count(), 1000);
    QCOMPARE(tour.list->item(999)->text(), QStringLiteral("toolMode 1"));
}

void TourWindowTest::anotherToolTakesTheHandsCursorOff()
{
    Tour tour;
    tour.choose("Hand");
    tour.press({50, 50});
    tour.release({50, 50});
    QCOMPARE(tour.canvas->viewport()->cursor().shape(), Qt::OpenHandCursor);
    tour.choose("Pen");
    QCOMPARE(tour.canvas->viewport()->cursor().shape(), Qt::ArrowCursor);
}

void TourWindowTest::anotherToolEndsTheStroke()
{
    Tour tour;
    tour.choose("Pen");
    tour.press({50, 50});
    QVERIFY(tour.canvas->pathItem);
    tour.choose("Hand");
    QVERIFY(!tour.canvas->pathItem);
}

void TourWindowTest::wireMarksNeedNoPicture()
{
    Tour tour;
    tour.choose("Smart wire marker");
    tour.press({50, 50});
    tour.move({90, 50});
    int pictures = 0;
    for (const QGraphicsItem *item : tour.canvas->scene()->items())
        pictures += qgraphicsitem_cast<const QGraphicsPixmapItem *>(item) ? 1 : 0;
    QCOMPARE(pictures, 1); // the photo
    // Red of alpha 150 over white, once, wherever marks overlap or not.
    tour.move({91, 50});
    tour.release({91, 50});
    tour.canvas->forgetItems();
    for (const QPoint marked : {QPoint(50, 50), QPoint(90, 50)})
        QCOMPARE(tour.shown(marked), QColor(255, 105, 105));
    QCOMPARE(tour.shown({70, 50}), QColor(Qt::white));
}

void TourWindowTest::wireMarksAreHandedOn()
{
    Tour tour;
    QSignalSpy made(&tour, SIGNAL(wiresPicked(QRegion)));
    QVERIFY(made.isValid());
    QSignalSpy marked(tour.canvas, &View::WireMarker);
    tour.choose("Smart wire marker");
    tour.press({50, 50});
    QCOMPARE(made.count(), 1);
    QCOMPARE(marked.count(), 1);
    QCOMPARE(marked[0][0], made[0][0]);
    QVERIFY(made[0][0].value<QRegion>().contains(QPoint(50, 50)));
}

void TourWindowTest::sameSizeForAllIsKept()
{
    for (const bool isChosen : {false, true}) { // which is as it was, in the end
        Tour tour;
        auto *same = tour.findChild<QCheckBox *>();
        QCOMPARE(same->isChecked(), isChosen);
        same->click();
    }
}

void TourWindowTest::outlineFollowsWithoutAButton()
{
    Tour tour;
    QVERIFY(QTest::qWaitForWindowExposed(&tour));
    tour.choose("Blue marker");
    const auto shown = [&] { return tour.canvas->viewport()->grab().toImage(); };
    const QImage before = shown();
    for (const QPointF point : {QPointF(40, 40), QPointF(50, 50)}) {
        const QPoint position = tour.canvas->mapFromScene(point);
        QTest::mouseMove(tour.windowHandle(), tour.canvas->viewport()->mapTo(&tour, position));
    }
    QTRY_VERIFY(shown() != before);
}

CRAYVELL_TEST_MAIN(TourWindowTest)
#include "tst_tourwindow.moc"
