#include "canvas/tarngraphicsview.h"

#include <QGraphicsScene>
#include <QMetaMethod>
#include <QResizeEvent>
#include <QScrollBar>
#include <QSettings>

#include <limits>

#include "tests/support/testmain.h"

namespace {

// A view whose protected handlers can be called as the toolkit calls them.
class OpenView : public TarnGraphicsView
{
public:
    using TarnGraphicsView::leaveEvent;
    using TarnGraphicsView::mouseMoveEvent;
    using TarnGraphicsView::mousePressEvent;
    using TarnGraphicsView::mouseReleaseEvent;
    using TarnGraphicsView::resizeEvent;
};

QMouseEvent mouseEvent(QEvent::Type type, QPointF position = {10, 10})
{
    return {type, position, position, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier};
}

// Sees whether an event got as far as the base class: it makes the scene
// deliver an event of its own.
class ListeningScene : public QGraphicsScene
{
public:
    int presses = 0, moves = 0, releases = 0;

protected:
    void mousePressEvent(QGraphicsSceneMouseEvent *event) override
    {
        ++presses;
        QGraphicsScene::mousePressEvent(event);
    }
    void mouseMoveEvent(QGraphicsSceneMouseEvent *event) override
    {
        ++moves;
        QGraphicsScene::mouseMoveEvent(event);
    }
    void mouseReleaseEvent(QGraphicsSceneMouseEvent *event) override
    {
        ++releases;
        QGraphicsScene::mouseReleaseEvent(event);
    }
};

} // namespace

class TarnGraphicsViewTest : public QObject
{
    Q_OBJECT

private slots:
    void startsWithoutATool();
    void signalsInOrder_data();
    void signalsInOrder();
    void toolNumbers();
    void withoutASceneOnlyTheButtonIsNoted();
    void everyToolPassesEventsOn_data();
    void everyToolPassesEventsOn();
    void resizeScales_data();
    void resizeScales();
    void resizeKeepsTheHostsZoom();
    void resizeWithoutASceneDoesNothing();
    void leaveWithoutAnOutlineDoesNothing();
    void sameSizeSettings();
    void separateSettings();
    void sizesKeepTheirLowByte_data();
    void sizesKeepTheirLowByte();
};

void TarnGraphicsViewTest::startsWithoutATool()
{
    const TarnGraphicsView view(nullptr);
    QCOMPARE(view.toolMode, int(TarnGraphicsView::ModeNone));
    QVERIFY(!view.pathItem);
    QVERIFY(!view.cursorItem);
    QCOMPARE(view.lastPos, QPoint(0, 0));
    QVERIFY(!view.mousePressed);
    QVERIFY(!view.scene());
}

void TarnGraphicsViewTest::signalsInOrder_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<QByteArray>("names");
    QTest::newRow("diagnostic text")
        << 0 << QByteArray("ProgressStage(char*)") << QByteArray("msg");
    QTest::newRow("keep brush") << 1 << QByteArray("KeepBrush(QRect)") << QByteArray("rect");
    QTest::newRow("remove brush") << 2 << QByteArray("RemoveBrush(QRect)") << QByteArray("rect");
    QTest::newRow("any brush") << 3 << QByteArray("AnyBrush(QRect,bool)") << QByteArray("rect,now");
    QTest::newRow("hand") << 4 << QByteArray("HandTool(QPoint,QPoint)") << QByteArray(",");
    QTest::newRow("wire marker") << 5 << QByteArray("WireMarker(QRegion)") << QByteArray("rgn");
    QTest::newRow("smart select") << 6 << QByteArray("SmartSelect(QRect,bool,bool)")
                                  << QByteArray("rect,pressed,right");
    QTest::newRow("smart select, clone")
        << 7 << QByteArray("SmartSelect(QRect,bool)") << QByteArray("rect,pressed");
}

void TarnGraphicsViewTest::signalsInOrder()
{
    QFETCH(int, index);
    QFETCH(QByteArray, signature);
    QFETCH(QByteArray, names);
    const QMetaObject &meta = TarnGraphicsView::staticMetaObject;
    QCOMPARE(meta.className(), "TarnGraphicsView");
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 8);
    const QMetaMethod method = meta.method(meta.methodOffset() + index);
    QCOMPARE(method.methodType(), QMetaMethod::Signal);
    QCOMPARE(method.methodSignature(), signature);
    QCOMPARE(method.parameterNames().join(','), names);
}

void TarnGraphicsViewTest::toolNumbers()
{
    using View = TarnGraphicsView;
    const QList<int> inOrder {
        View::ModeNone,        View::ModePen,          View::ModeEraser,
        View::ModeKeepMarker,  View::ModeRemoveMarker, View::ModeKeepBrush,
        View::ModeRemoveBrush, View::ModeHand,         View::ModeBlueMarker,
        View::ModeWireMarker,  View::ModeWireEraser,   View::ModeWireSmartMarker};
    for (int number = 0; number < inOrder.size(); ++number)
        QCOMPARE(inOrder[number], number);
}

void TarnGraphicsViewTest::withoutASceneOnlyTheButtonIsNoted()
{
    OpenView view;
    view.toolMode = TarnGraphicsView::ModeKeepBrush;
    view.keepBrushSize = 10;
    auto press = mouseEvent(QEvent::MouseButtonPress);
    view.mousePressEvent(&press);
    QVERIFY(view.mousePressed);
    auto move = mouseEvent(QEvent::MouseMove);
    view.mouseMoveEvent(&move);
    QVERIFY(view.mousePressed);
    QVERIFY(!view.cursorItem);
    auto release = mouseEvent(QEvent::MouseButtonRelease);
    view.mouseReleaseEvent(&release);
    QVERIFY(!view.mousePressed);
}

void TarnGraphicsViewTest::everyToolPassesEventsOn_data()
{
    QTest::addColumn<int>("mode");
    for (int mode = 0; mode <= 11; ++mode)
        QTest::addRow("tool %d", mode) << mode;
    QTest::newRow("number above the tools") << 12;
    QTest::newRow("negative number") << -1;
}

void TarnGraphicsViewTest::everyToolPassesEventsOn()
{
    QFETCH(int, mode);
    ListeningScene scene;
    scene.setSceneRect(0, 0, 100, 100);
    OpenView view;
    view.setScene(&scene);
    view.toolMode = mode;
    auto press = mouseEvent(QEvent::MouseButtonPress);
    view.mousePressEvent(&press);
    QCOMPARE(scene.presses, 1);
    QVERIFY(view.mousePressed);
    auto move = mouseEvent(QEvent::MouseMove, {20, 20});
    view.mouseMoveEvent(&move);
    QCOMPARE(scene.moves, 1);
    auto release = mouseEvent(QEvent::MouseButtonRelease, {20, 20});
    view.mouseReleaseEvent(&release);
    QCOMPARE(scene.releases, 1);
    QVERIFY(!view.mousePressed);
}

void TarnGraphicsViewTest::resizeScales_data()
{
    QTest::addColumn<QSizeF>("displayed");
    QTest::addColumn<QSize>("before");
    QTest::addColumn<QSize>("after");
    QTest::addColumn<double>("factor");
    const QSizeF usual(500, 400);
    QTest::newRow("half as wide") << usual << QSize(600, 400) << QSize(300, 400) << 0.5;
    QTest::newRow("wider than the picture")
        << usual << QSize(600, 400) << QSize(700, 400) << 700.0 / 600;
    QTest::newRow("the height changed more") << usual << QSize(600, 400) << QSize(550, 300) << 0.75;
    QTest::newRow("nothing changed, picture narrower")
        << usual << QSize(600, 400) << QSize(600, 400) << 1.0;
    QTest::newRow("growing under an overflowing picture")
        << QSizeF(1000, 1000) << QSize(600, 400) << QSize(700, 500) << 1.0;
    QTest::newRow("a tie takes the height's factor")
        << QSizeF(100, 100) << QSize(400, 400) << QSize(200, 800) << 2.0;
}

void TarnGraphicsViewTest::resizeScales()
{
    QFETCH(QSizeF, displayed);
    QFETCH(QSize, before);
    QFETCH(QSize, after);
    QFETCH(double, factor);
    QGraphicsScene scene;
    scene.setSceneRect(QRectF({0, 0}, displayed));
    OpenView view;
    view.setScene(&scene);
    QResizeEvent event(after, before);
    view.resizeEvent(&event);
    QCOMPARE(view.transform().m11(), factor);
    QCOMPARE(view.transform().m22(), factor);
    QCOMPARE(view.horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
    QCOMPARE(view.verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
}

void TarnGraphicsViewTest::resizeKeepsTheHostsZoom()
{
    QGraphicsScene scene;
    scene.setSceneRect(0, 0, 250, 200);
    OpenView view;
    view.setScene(&scene);
    view.scale(2, 2);
    QResizeEvent event(QSize(300, 400), QSize(600, 400));
    view.resizeEvent(&event);
    QCOMPARE(view.transform().m11(), 1.0);
}

void TarnGraphicsViewTest::resizeWithoutASceneDoesNothing()
{
    OpenView view;
    QResizeEvent event(QSize(300, 400), QSize(600, 400));
    view.resizeEvent(&event);
    QVERIFY(view.transform().isIdentity());
    QCOMPARE(view.horizontalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
}

void TarnGraphicsViewTest::leaveWithoutAnOutlineDoesNothing()
{
    QGraphicsScene scene;
    scene.addRect(0, 0, 10, 10);
    OpenView view;
    view.setScene(&scene);
    QEvent leave(QEvent::Leave);
    view.leaveEvent(&leave);
    QCOMPARE(scene.items().size(), 1);
    QVERIFY(!view.cursorItem);
}

void TarnGraphicsViewTest::sameSizeSettings()
{
    QTemporaryDir folder;
    QSettings settings(folder.filePath(QStringLiteral("tools.ini")), QSettings::IniFormat);
    TarnGraphicsView view;
    view.toolSettings = &settings;
    view.blueMarkerSize = 77;
    view.markerOpacity = 0.25;
    view.updatetoolssettings();
    QCOMPARE(view.keepMarkerSize, quint8(10));

    settings.setValue(QStringLiteral("KEEPMSIZE"), 24);
    settings.setValue(QStringLiteral("REMOVEBSIZE"), 30);
    settings.setValue(QStringLiteral("BLUEMSIZE"), 50);
    settings.setValue(QStringLiteral("MOPACITY"), 0.9);
    view.updatetoolssettings();
    for (const quint8 size : {view.keepMarkerSize, view.removeMarkerSize, view.keepBrushSize,
                              view.removeBrushSize, view.eraserSize})
        QCOMPARE(size, quint8(24));
    QCOMPARE(view.blueMarkerSize, quint8(77));
    QCOMPARE(view.markerOpacity, 0.25);
}

void TarnGraphicsViewTest::separateSettings()
{
    QTemporaryDir folder;
    QSettings settings(folder.filePath(QStringLiteral("tools.ini")), QSettings::IniFormat);
    settings.setValue(QStringLiteral("SAMESIZECHECKED"), false);
    TarnGraphicsView view;
    view.toolSettings = &settings;
    view.updatetoolssettings();
    for (const quint8 size : {view.keepMarkerSize, view.removeMarkerSize, view.keepBrushSize,
                              view.removeBrushSize, view.eraserSize, view.blueMarkerSize})
        QCOMPARE(size, quint8(10));
    QCOMPARE(view.markerOpacity, 0.6);

    const QStringList keys {QStringLiteral("KEEPMSIZE"),   QStringLiteral("REMOVEMSIZE"),
                            QStringLiteral("KEEPBSIZE"),   QStringLiteral("REMOVEBSIZE"),
                            QStringLiteral("ERASERMSIZE"), QStringLiteral("BLUEMSIZE")};
    for (int i = 0; i < keys.size(); ++i)
        settings.setValue(keys[i], i + 1);
    settings.setValue(QStringLiteral("MOPACITY"), QStringLiteral("0.35"));
    view.updatetoolssettings();
    const QList<int> sizes {view.keepMarkerSize,  view.removeMarkerSize, view.keepBrushSize,
                            view.removeBrushSize, view.eraserSize,       view.blueMarkerSize};
    QCOMPARE(sizes, QList<int>({1, 2, 3, 4, 5, 6}));
    QCOMPARE(view.markerOpacity, 0.35);
}

void TarnGraphicsViewTest::sizesKeepTheirLowByte_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<int>("size");
    QTest::newRow("300") << QStringLiteral("300") << 44;
    QTest::newRow("255") << QStringLiteral("255") << 255;
    QTest::newRow("256") << QStringLiteral("256") << 0;
    QTest::newRow("-1") << QStringLiteral("-1") << 255;
    QTest::newRow("no number") << QStringLiteral("large") << 0;
}

void TarnGraphicsViewTest::sizesKeepTheirLowByte()
{
    QFETCH(QString, stored);
    QFETCH(int, size);
    QTemporaryDir folder;
    QSettings settings(folder.filePath(QStringLiteral("tools.ini")), QSettings::IniFormat);
    settings.setValue(QStringLiteral("KEEPMSIZE"), stored);
    TarnGraphicsView view;
    view.toolSettings = &settings;
    view.updatetoolssettings();
    QCOMPARE(int(view.keepMarkerSize), size);
}

CRAYVELL_TEST_MAIN(TarnGraphicsViewTest)
#include "tst_tarngraphicsview.moc"
