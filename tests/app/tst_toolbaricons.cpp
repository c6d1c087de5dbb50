// The tool bar on a screen of double resolution.

#include "app/mainwindow.h"

#include <QImageReader>
#include <QToolButton>

#include "tests/app/mainwindowprobe.h"
#include "tests/support/testmain.h"

namespace {

constexpr int opaqueEnough = 128;

// A picture as its file has it; the reader would give the same pixels a ratio.
QImage pictureIn(const QString &path)
{
    QImage picture = QImageReader(path).read().convertToFormat(QImage::Format_ARGB32);
    picture.setDevicePixelRatio(1);
    return picture;
}

// What of a picture is to be seen.
QRect drawnPart(const QImage &picture)
{
    QRect drawn;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            if (qAlpha(picture.pixel(x, y)) >= opaqueEnough)
                drawn |= QRect(x, y, 1, 1);
    return drawn;
}

// Whether a picture has enough that nothing shines through to be told from another.
bool hasOpaquePart(const QImage &picture)
{
    int opaque = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            opaque += qAlpha(picture.pixel(x, y)) == 255;
    return opaque > 200;
}

// Whether a picture stands in another one, at a position, unchanged where it is opaque.
bool standsAt(const QImage &shown, const QImage &picture, QPoint position)
{
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QRgb expected = picture.pixel(x, y);
            if (qAlpha(expected) == 255 && shown.pixel(position + QPoint(x, y)) != expected)
                return false;
        }
    }
    return true;
}

// In its middle, that is: the style rounds by a pixel of single resolution.
bool standsOn(QWidget &button, const QImage &picture)
{
    QImage shown = button.grab().toImage().convertToFormat(QImage::Format_ARGB32);
    shown.setDevicePixelRatio(1);
    const QSize border = (shown.size() - picture.size()) / 2;
    for (int y = -2; y <= 2; ++y)
        for (int x = -2; x <= 2; ++x)
            if (standsAt(shown, picture, QPoint(border.width() + x, border.height() + y)))
                return true;
    return false;
}

} // namespace

class ToolBarIconsTest : public QObject
{
    Q_OBJECT

private slots:
    void pictures_data() { iconRows(); }
    void pictures();
    void buttonShowsThePicture_data() { iconRows(); }
    void buttonShowsThePicture();
    void buttonsAreOfOneSize();
    void oneSizeInARow_data() { iconRows(); }
    void oneSizeInARow();

private:
    static void iconRows();
};

void ToolBarIconsTest::iconRows()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("icon");
    QTest::addColumn<QSize>("size"); // at single resolution
    const auto row = [](const char *action, const char *icon, int size) {
        QTest::newRow(action) << QString::fromLatin1(action)
                              << QStringLiteral(":/icons/") + QString::fromLatin1(icon)
                              << QSize(size, size);
    };
    row("actionOpen", "openHS", 16);
    row("actionSave", "saveHS", 16);
    row("actionProcess", "FormRunHS", 16);
    row("actionZoomPlus", "ZoomInMs", 25);
    row("actionZoomMinus", "ZoomOutMs", 25);
    row("actionHome", "HomeHS", 16);
}

void ToolBarIconsTest::pictures()
{
    QFETCH(QString, icon);
    QFETCH(QSize, size);
    QCOMPARE(pictureIn(icon + QStringLiteral(".png")).size(), size);
    QCOMPARE(pictureIn(icon + QStringLiteral("@2x.png")).size(), size * 2);
}

// Its very pixels: a picture that is scaled is blurred.
void ToolBarIconsTest::buttonShowsThePicture()
{
    QFETCH(QString, action);
    QFETCH(QString, icon);
    QCOMPARE(qApp->devicePixelRatio(), 2.0);
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto *opened = window.findChild<QAction *>(action);
    QWidget *button = MainWindowProbe::ui(window).mainToolBar->widgetForAction(opened);
    const QImage picture = pictureIn(icon + QStringLiteral("@2x.png"));
    QVERIFY(hasOpaquePart(picture));
    QVERIFY(standsOn(*button, picture));
    opened->setText(QStringLiteral("another")); // as in another language
    QVERIFY(standsOn(*button, picture));
}

void ToolBarIconsTest::buttonsAreOfOneSize()
{
    MainWindow window;
    window.show();
    const QToolBar *toolBar = MainWindowProbe::ui(window).mainToolBar;
    const QList<QAction *> actions = toolBar->actions();
    for (QAction *action : actions)
        QCOMPARE(toolBar->widgetForAction(action)->size(),
                 toolBar->widgetForAction(actions.first())->size());
}

// Whatever the frames: what is drawn is about as large in each, and in the middle.
void ToolBarIconsTest::oneSizeInARow()
{
    QFETCH(QString, icon);
    const QImage picture = pictureIn(icon + QStringLiteral("@2x.png"));
    const QRect drawn = drawnPart(picture);
    const int larger = std::max(drawn.width(), drawn.height());
    QVERIFY2(larger >= 28 && larger <= 31, qPrintable(QString::number(larger)));
    QVERIFY(std::min(drawn.width(), drawn.height()) >= 24);
    const QPoint offset = drawn.center() - picture.rect().center();
    QVERIFY2(std::abs(offset.x()) <= 2 && std::abs(offset.y()) <= 2,
             qPrintable(QStringLiteral("%1, %2").arg(offset.x()).arg(offset.y())));
}

int main(int argc, char **argv)
{
    qputenv("QT_SCALE_FACTOR", "2");
    return runInTestApplication(argc, argv, [&] {
        ToolBarIconsTest tests;
        return runTestsOf(tests, argc, argv);
    });
}

#include "tst_toolbaricons.moc"
