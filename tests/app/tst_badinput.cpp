#include <QBuffer>
#include <QProcess>

#include <functional>
#include <memory>

#include <sys/stat.h>

#include "tests/app/mainwindowprobe.h"
#include "tests/support/jpegfile.h"
#include "tests/support/pictures.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"

namespace {

QByteArray pngFile(const QImage &image)
{
    QByteArray file;
    QBuffer buffer(&file);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "png");
    return file;
}

void put(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write a test file");
}

// Makes the kinds of picture that the toolkit reads but does not write. The tool finds its
// formats by names that it writes large, which a Turkish "i" would not survive.
void magick(const QStringList &arguments)
{
    QProcess convert;
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    variables.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    convert.setProcessEnvironment(variables);
    convert.setProcessChannelMode(QProcess::ForwardedChannels);
    convert.start(QStringLiteral("convert"), arguments);
    if (!convert.waitForFinished() || convert.exitStatus() != QProcess::NormalExit
        || convert.exitCode() != 0)
        qFatal("ImageMagick's convert is missing or failed");
}

QImage grey16(int width, int height)
{
    QImage image(width, height, QImage::Format_Grayscale16);
    for (int y = 0; y < height; ++y) {
        auto *line = reinterpret_cast<quint16 *>(image.scanLine(y));
        for (int x = 0; x < width; ++x)
            line[x] = static_cast<quint16>(x * 1000 + y);
    }
    return image;
}

} // namespace

// What a file makes: a photo on the canvas or "Failed to read image".
class BadInputTest : public QObject
{
    Q_OBJECT

private slots:
    void fails_data();
    void fails();
    void opens_data();
    void opens();
    void unreadableFileFails();

private:
    using Maker = std::function<void(const QString &path)>;

    QTemporaryDir m_folder;
};

Q_DECLARE_METATYPE(std::function<void(const QString &)>)

void BadInputTest::fails_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<Maker>("make");
    const QByteArray png = pngFile(pictures::noise(80, 60));
    QTest::newRow("an empty file")
        << QStringLiteral("empty.png") << Maker([](const QString &path) { put(path, {}); });
    QTest::newRow("text named .jpg")
        << QStringLiteral("text.jpg")
        << Maker([](const QString &path) { put(path, "This is a letter, not a photo.\n"); });
    QTest::newRow("half a PNG") << QStringLiteral(
        "half.png") << Maker([=](const QString &path) { put(path, png.left(png.size() / 2)); });
    QTest::newRow("a PNG with a wrong checksum")
        << QStringLiteral("checksum.png") << Maker([=](const QString &path) {
               QByteArray wrong = png;
               const qsizetype data = wrong.indexOf("IDAT");
               wrong[data + 500] = static_cast<char>(wrong[data + 500] ^ 1);
               put(path, wrong);
           });
    QTest::newRow("a PNG with a wrong header checksum")
        << QStringLiteral("header.png") << Maker([=](const QString &path) {
               QByteArray wrong = png;
               wrong[30] = static_cast<char>(wrong[30] ^ 1);
               put(path, wrong);
           });
    QTest::newRow("a few bytes of a JPEG")
        << QStringLiteral("start.jpg") << Maker([](const QString &path) {
               put(path, jpegFile(pictures::noise(80, 60)).left(20));
           });
    QTest::newRow("a directory") << QStringLiteral("folder.png")
                                 << Maker([](const QString &path) { QDir().mkdir(path); });
    QTest::newRow("a dangling link")
        << QStringLiteral("link.png") << Maker([](const QString &path) {
               QFile::link(QStringLiteral("/nowhere/photo.png"), path);
           });
    QTest::newRow("a link to itself")
        << QStringLiteral("loop.png")
        << Maker([](const QString &path) { QFile::link(path, path); });
    QTest::newRow("a pipe that nobody writes to")
        << QStringLiteral("pipe.png")
        << Maker([](const QString &path) { mkfifo(QFile::encodeName(path).constData(), 0600); });
    QTest::newRow("no file") << QStringLiteral("missing.png") << Maker([](const QString &) {});
}

void BadInputTest::fails()
{
    QFETCH(QString, name);
    QFETCH(Maker, make);
    const QString path = m_folder.filePath(name);
    make(path);
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    MainWindowProbe::open(window, path);
    QCOMPARE(MainWindowProbe::ui(window).statusBar->currentMessage(),
             QStringLiteral("Failed to read image"));
    QCOMPARE(window.windowTitle(), QStringLiteral("Crayvell"));
    QVERIFY(MainWindowProbe::sourceImage(window).isNull());
    QVERIFY(MainWindowProbe::scene(window).items().isEmpty());
}

void BadInputTest::opens_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<Maker>("make");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QPoint>("place");
    QTest::addColumn<QRgb>("colour"); // at that place
    const auto image = [](const QImage &picture) {
        return Maker([=](const QString &path) { put(path, pngFile(picture)); });
    };
    const QImage plain = pictures::noise(80, 60);
    // The decoder fills what is missing and calls the file a picture.
    QTest::newRow("half a JPEG") << QStringLiteral("half.jpg") << Maker([](const QString &path) {
        QImage red(80, 60, QImage::Format_RGB32);
        red.fill(Qt::red);
        const QByteArray file = jpegFile(red);
        put(path, file.left(file.size() - 20));
    }) << QSize(80, 60) << QPoint(0, 0)
                                 << qRgb(254, 0, 0);
    for (const char *name :
         {"two words.png", "\"quoted\" 'twice'.png", "two\nlines.png", "schöne Grüße 写真.png",
          "-dash.png", "back\\slash.png", "100%1.png"}) {
        QTest::newRow(name) << QString::fromUtf8(name) << image(plain) << QSize(80, 60)
                            << QPoint(7, 5) << plain.pixel(7, 5);
    }
    QTest::newRow("a PNG named .jpg") << QStringLiteral("png.jpg") << image(plain) << QSize(80, 60)
                                      << QPoint(7, 5) << plain.pixel(7, 5);
    QTest::newRow("one pixel") << QStringLiteral("dot.png") << image(pictures::noise(1, 1))
                               << QSize(1, 1) << QPoint(0, 0) << pictures::noise(1, 1).pixel(0, 0);
    const QImage line = pictures::noise(1, 30000);
    QTest::newRow("one pixel wide, 30000 high")
        << QStringLiteral("line.png") << image(line) << QSize(1, 30000) << QPoint(0, 29999)
        << line.pixel(0, 29999);
    QImage mono(33, 20, QImage::Format_Mono);
    mono.setColorTable({qRgb(0, 0, 0), qRgb(255, 255, 255)});
    mono.fill(0);
    mono.setPixel(32, 19, 1);
    QTest::newRow("one bit a pixel") << QStringLiteral("mono.png") << image(mono) << QSize(33, 20)
                                     << QPoint(32, 19) << qRgb(255, 255, 255);
    QImage palette(40, 30, QImage::Format_Indexed8);
    palette.setColorTable({qRgb(10, 20, 30), qRgb(200, 100, 50)});
    palette.fill(1);
    QTest::newRow("8-bit palette") << QStringLiteral("palette.png") << image(palette)
                                   << QSize(40, 30) << QPoint(3, 3) << qRgb(200, 100, 50);
    // 30 * 1000 is 117 of 255 when its high byte is taken
    QTest::newRow("16-bit grey") << QStringLiteral("grey16.png") << image(grey16(60, 10))
                                 << QSize(60, 10) << QPoint(30, 0) << qRgb(117, 117, 117);
    QTest::newRow("CMYK JPEG") << QStringLiteral("cmyk.jpg") << Maker([](const QString &path) {
        magick({QStringLiteral("-size"), QStringLiteral("40x30"), QStringLiteral("xc:white"),
                QStringLiteral("-colorspace"), QStringLiteral("CMYK"), path});
    }) << QSize(40, 30) << QPoint(5, 5)
                               << qRgb(255, 255, 255);
    QTest::newRow("animated GIF, first picture")
        << QStringLiteral("moving.gif") << Maker([](const QString &path) {
               magick({QStringLiteral("-size"), QStringLiteral("40x30"), QStringLiteral("xc:red"),
                       QStringLiteral("xc:blue"), path});
           })
        << QSize(40, 30) << QPoint(5, 5) << qRgb(255, 0, 0);
    QTest::newRow("TIFF of several pages, first page")
        << QStringLiteral("pages.tif") << Maker([](const QString &path) {
               magick({QStringLiteral("-size"), QStringLiteral("40x30"), QStringLiteral("xc:red"),
                       QStringLiteral("xc:blue"), path});
           })
        << QSize(40, 30) << QPoint(5, 5) << qRgb(255, 0, 0);
    QTest::newRow("BMP with alpha")
        << QStringLiteral("alpha.bmp") << Maker([](const QString &path) {
               magick({QStringLiteral("-size"), QStringLiteral("40x30"),
                       QStringLiteral("xc:rgba(255,0,0,0.2)"), QStringLiteral("-define"),
                       QStringLiteral("bmp:format=bmp4"), path});
           })
        << QSize(40, 30) << QPoint(5, 5) << qRgba(255, 0, 0, 51);
}

void BadInputTest::opens()
{
    QFETCH(QString, name);
    QFETCH(Maker, make);
    QFETCH(QSize, size);
    QFETCH(QPoint, place);
    QFETCH(QRgb, colour);
    const QString path = m_folder.filePath(name);
    make(path);
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    MainWindowProbe::open(window, path);
    QCOMPARE(MainWindowProbe::ui(window).statusBar->currentMessage(), QString());
    QCOMPARE(window.windowTitle(), QStringLiteral("Crayvell - ") + name);
    const QImage &photo = MainWindowProbe::sourceImage(window);
    QCOMPARE(photo.size(), size);
    QCOMPARE(photo.format(), QImage::Format_ARGB32);
    QCOMPARE(QString::number(photo.pixel(place), 16), QString::number(colour, 16));
    MainWindowProbe::ui(window).actionProcess->trigger();
    QVERIFY(!window.grab().isNull());
    QCOMPARE(pictures::difference(MainWindowProbe::sketchImage(window),
                                  pictures::expectedSketch(photo, 0, 255)),
             QString());
}

void BadInputTest::unreadableFileFails()
{
    if (!process::OrdinaryUser::reaches(m_folder.path()))
        QSKIP("an ordinary user does not get to the temporary folder");
    QFile::setPermissions(m_folder.path(), QFile::Permissions(0x7777));
    const QString path = m_folder.filePath(QStringLiteral("secret.png"));
    put(path, pngFile(pictures::noise(20, 20)));
    QVERIFY(QFile::setPermissions(path, {}));
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    {
        const process::OrdinaryUser user;
        MainWindowProbe::open(window, path);
    }
    QCOMPARE(MainWindowProbe::ui(window).statusBar->currentMessage(),
             QStringLiteral("Failed to read image"));
    QVERIFY(MainWindowProbe::sourceImage(window).isNull());
}

CRAYVELL_TEST_MAIN(BadInputTest)
#include "tst_badinput.moc"
