#include <QColorSpace>
#include <QImageReader>
#include <QJsonDocument>
#include <QJsonObject>

#include <exiv2/exiv2.hpp>
#include <fcntl.h>
#include <sys/stat.h>

#include "tests/batch/batchprocess.h"
#include "tests/batch/testphotos.h"
#include "tests/support/testmain.h"

class tst_BatchOptions : public QObject
{
    Q_OBJECT

private slots:
    void wrongUsage_data();
    void wrongUsage();
    void helpStartsWithExamplesAndFitsAScreen();
    void version();
    void besideThePhoto();
    void outputNamesTheFormat();
    void formatAndSuffixes();
    void standardInputAndOutput();
    void pictureOnStandardOutputOnly();
    void listOfPhotos();
    void listEndedByNul();
    void listFromStandardInput();
    void recursive();
    void keepFolders();
    void jobsGiveTheSameBytes();
    void quietAndVerbose();
    void dryRunWritesNothing();
    void json();
    void jsonThatNobodyTakes();
    void noBarWithoutTerminal();
    void barOnTerminal_data();
    void barOnTerminal();
    void exifIsKept();
    void exifOfTurnedPhotoIsUpright();
    void exifInPng();
    void orientationOfPngAndWebP_data();
    void orientationOfPngAndWebP();
    void stripDropsExif();
    void colourProfileIsNotAttached();
    void preserveKeepsTime();
    void fsyncIsAccepted();
    void startsWithoutDisplayAndLocale();
    void shellsReadTheCompletions_data();
    void shellsReadTheCompletions();
    void manualNamesEveryOption();
};

void tst_BatchOptions::wrongUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("message");

    using List = QStringList;
    QTest::newRow("no photo") << List {} << QByteArray("no photo given");
    QTest::newRow("unknown option") << List {"--frobnicate", "a.jpg"} << QByteArray("--frobnicate");
    QTest::newRow("unknown letter") << List {"-z", "a.jpg"} << QByteArray("-z");
    QTest::newRow("missing argument") << List {"a.jpg", "--black"} << QByteArray("--black");
    for (const char *value : {"256", "-1", "x", "", "1.5", "99999999999"}) {
        QTest::addRow("black level '%s'", value)
            << List {"--black", value, "a.jpg"} << QByteArray("0 to 255");
        QTest::addRow("white level '%s'", value)
            << List {"--white", value, "a.jpg"} << QByteArray("0 to 255");
    }
    for (const char *value : {"0", "101", "best"}) {
        QTest::addRow("quality '%s'", value)
            << List {"--quality", value, "a.jpg"} << QByteArray("1 to 100");
    }
    for (const char *value : {"0", "-2", "many"})
        QTest::addRow("jobs '%s'", value) << List {"-j", value, "a.jpg"} << QByteArray("1 to 1024");
    for (const char *value : {"0", "12X", "G", "1GG", "-1G", "99999999T"}) {
        QTest::addRow("memory '%s'", value)
            << List {"--max-memory", value, "a.jpg"} << QByteArray("needs a size");
    }
    QTest::newRow("unknown format")
        << List {"--format", "gif", "a.jpg"} << QByteArray("jpg or png");
    QTest::newRow("unknown suffix") << List {"-o", "b.bmp", "a.jpg"} << QByteArray("must end in");
    QTest::newRow("format against suffix")
        << List {"-o", "b.jpg", "--format", "png", "a.jpg"} << QByteArray("different formats");
    QTest::newRow("one output for two photos")
        << List {"-o", "c.jpg", "a.jpg", "b.jpg"} << QByteArray("for one photo");
    QTest::newRow("output and folder")
        << List {"-o", "c.jpg", "--output-dir", "d", "a.jpg"} << QByteArray("exclude");
    QTest::newRow("output is a folder")
        << List {"-o", ".", "a.jpg"} << QByteArray("names a folder");
    QTest::newRow("folder without output folder") << List {"."} << QByteArray("needs --output-dir");
    QTest::newRow("null without a list") << List {"--null", "a.jpg"} << QByteArray("--files-from");
    QTest::newRow("folders kept nowhere")
        << List {"--keep-folders", "a.jpg"} << QByteArray("--output-dir");
    QTest::newRow("folders kept above the folder")
        << List {"--keep-folders", "--output-dir", "d", "../a.jpg"} << QByteArray("above");
    QTest::newRow("missing list") << List {"--files-from", "none"} << QByteArray("cannot be read");
    QTest::newRow("list is a folder") << List {"--files-from", "."} << QByteArray("cannot be read");
    QTest::newRow("overwrite and skip")
        << List {"--overwrite", "--skip-existing", "a.jpg"} << QByteArray("only one of");
    QTest::newRow("skip and newer")
        << List {"--skip-existing", "--newer", "a.jpg"} << QByteArray("only one of");
    QTest::newRow("quiet and verbose") << List {"-q", "-v", "a.jpg"} << QByteArray("exclude");
    QTest::newRow("standard input and a photo") << List {"-", "a.jpg"} << QByteArray("only photo");
    QTest::newRow("standard input into a folder")
        << List {"-", "--output-dir", "d"} << QByteArray("no name");
    QTest::newRow("picture and JSON") << List {"-o", "-", "--json", "a.jpg"} << QByteArray("both");
    QTest::newRow("overwriting standard output")
        << List {"-o", "-", "--overwrite", "a.jpg"} << QByteArray("not for");
    QTest::newRow("empty name") << List {""} << QByteArray("empty");
}

void tst_BatchOptions::wrongUsage()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, message);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const auto outcome = batch.run(arguments);
    COMPARE_EXIT(outcome, 2);
    QVERIFY2(outcome.errors.contains(message), outcome.errors.constData());
    QVERIFY(outcome.errors.startsWith("crayvell-batch: "));
    QCOMPARE(outcome.output, QByteArray());
    QCOMPARE(batch.files(), QStringList {"a.jpg"});
}

void tst_BatchOptions::helpStartsWithExamplesAndFitsAScreen()
{
    BatchProcess batch;
    const auto outcome = batch.run({"--help"});
    COMPARE_EXIT(outcome, 0);
    QList<QByteArray> lines = outcome.output.split('\n');
    QVERIFY(lines.takeLast().isEmpty());
    QVERIFY2(lines.size() <= 24, QByteArray::number(lines.size()).constData());
    for (int i = 0; i < 3; ++i)
        QVERIFY2(lines.at(i).startsWith("crayvell-batch "), lines.at(i).constData());
    for (const QByteArray &line : lines)
        QVERIFY2(line.size() <= 80, line.constData());
    QCOMPARE(batch.run({"-h"}).output, outcome.output);
}

void tst_BatchOptions::version()
{
    BatchProcess batch;
    const auto outcome = batch.run({"--version"});
    COMPARE_EXIT(outcome, 0);
    QVERIFY(outcome.output.startsWith("crayvell-batch "));
}

void tst_BatchOptions::besideThePhoto()
{
    BatchProcess batch;
    batch.write("album/beach.jpg", testphotos::jpeg());
    batch.write("dune.PNG", testphotos::encoded(testphotos::scene(20, 20), "png"));
    batch.write("photo.2020", testphotos::jpeg());
    COMPARE_EXIT(batch.run({"album/beach.jpg", "dune.PNG", "photo.2020"}), 0);
    QCOMPARE(batch.files(),
             QStringList({"album/beach-sketch.jpg", "album/beach.jpg", "dune-sketch.jpg",
                          "dune.PNG", "photo.2020", "photo.2020-sketch.jpg"}));
}

void tst_BatchOptions::outputNamesTheFormat()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    for (const char *name : {"new/folder/b.png", "b.jpg", "b.JPEG"})
        COMPARE_EXIT(batch.run({"-o", name, "a.jpg"}), 0);
    QCOMPARE(QImageReader::imageFormat(batch.path("new/folder/b.png")), "png");
    QCOMPARE(QImageReader::imageFormat(batch.path("b.jpg")), "jpeg");
    QCOMPARE(QImageReader::imageFormat(batch.path("b.JPEG")), "jpeg");
}

void tst_BatchOptions::formatAndSuffixes()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("b.tiff", testphotos::encoded(testphotos::scene(20, 20), "tiff"));
    COMPARE_EXIT(batch.run({"--format", "png", "--output-dir", "out", "a.jpg", "b.tiff"}), 0);
    QCOMPARE(batch.files(), QStringList({"a.jpg", "b.tiff", "out/a.png", "out/b.png"}));
    QCOMPARE(QImageReader::imageFormat(batch.path("out/a.png")), "png");
}

void tst_BatchOptions::standardInputAndOutput()
{
    BatchProcess batch;
    const QByteArray photo = testphotos::jpeg();
    batch.write("a.jpg", photo);
    COMPARE_EXIT(batch.run({"a.jpg"}), 0);
    const QByteArray expected = batch.contents("a-sketch.jpg");

    const auto piped = batch.run({"-"}, photo);
    COMPARE_EXIT(piped, 0);
    QCOMPARE(piped.output, expected);
    COMPARE_EXIT(batch.run({"-", "-o", "b.jpg"}, photo), 0);
    QCOMPARE(batch.contents("b.jpg"), expected);
    QCOMPARE(batch.run({"a.jpg", "-o", "-"}).output, expected);
    QCOMPARE(batch.run({"-", "--format", "png"}, photo).output.left(4), "\x89PNG");
}

void tst_BatchOptions::pictureOnStandardOutputOnly()
{
    BatchProcess batch;
    const auto broken = batch.run({"-"}, testphotos::jpeg().left(900));
    COMPARE_EXIT(broken, 1);
    QCOMPARE(broken.output, QByteArray());
    QVERIFY(broken.errors.startsWith("-: "));
    batch.write("a.jpg", testphotos::jpeg());
    QCOMPARE(batch.run({"-v", "a.jpg"}).output, QByteArray());
    const auto closed = batch.shell("\"$batch\" -o - a.jpg >&-");
    COMPARE_EXIT(closed, 1);
}

void tst_BatchOptions::listOfPhotos()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("b c.jpg", testphotos::jpeg());
    batch.write("-", testphotos::jpeg());
    batch.write("list", "b c.jpg\n\na.jpg\n-");
    COMPARE_EXIT(batch.run({"--files-from", "list"}), 0);
    QVERIFY(batch.exists("--sketch.jpg"));
    QVERIFY(batch.exists("a-sketch.jpg"));
    QVERIFY(batch.exists("b c-sketch.jpg"));
}

void tst_BatchOptions::listEndedByNul()
{
    BatchProcess batch;
    batch.write("a\nb.jpg", testphotos::jpeg());
    batch.write("-c.jpg", testphotos::jpeg());
    batch.write("list", QByteArray("a\nb.jpg\0-c.jpg\0", 15));
    COMPARE_EXIT(batch.run({"--null", "--files-from", "list", "--output-dir", "out"}), 0);
    QVERIFY(batch.exists("out/a\nb.jpg"));
    QVERIFY(batch.exists("out/-c.jpg"));
}

void tst_BatchOptions::listFromStandardInput()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    COMPARE_EXIT(batch.run({"--files-from", "-"}, "a.jpg\n"), 0);
    QVERIFY(batch.exists("a-sketch.jpg"));
}

void tst_BatchOptions::recursive()
{
    BatchProcess batch;
    const QByteArray photo = testphotos::jpeg();
    batch.write("album/a.jpg", photo);
    batch.write("album/june/b.jpeg", photo);
    batch.write("album/june/deep/c", photo);
    batch.write("album/notes.txt", "no photo");
    batch.write("album/.hidden.jpg", photo);
    QVERIFY(QFile::link(batch.path("album"), batch.path("album/june/loop")));

    COMPARE_EXIT(batch.run({"--output-dir", "flat", "album"}), 0);
    QVERIFY(batch.exists("flat/a.jpg"));
    QVERIFY(!batch.exists("flat/june"));
    // The output folder inside the album is no part of the album.
    for (int i = 0; i < 2; ++i) {
        COMPARE_EXIT(batch.run({"-r", "--overwrite", "--output-dir", "album/out", "album"}), 0);
        QDir out(batch.path("album/out"));
        QCOMPARE(out.entryList(QDir::Files | QDir::Hidden), QStringList {"a.jpg"});
        QVERIFY(batch.exists("album/out/june/b.jpg"));
        QVERIFY(batch.exists("album/out/june/deep/c.jpg"));
        QVERIFY(!batch.exists("album/out/june/loop"));
        QVERIFY(!batch.exists("album/out/out"));
    }
}

void tst_BatchOptions::keepFolders()
{
    BatchProcess batch;
    batch.write("album/june/a.jpg", testphotos::jpeg());
    batch.write("album/july/a.jpg", testphotos::jpeg());
    COMPARE_EXIT(
        batch.run({"--keep-folders", "--output-dir", "out", "./album/june/a.jpg", "album/july"}),
        0);
    QVERIFY(batch.exists("out/album/june/a.jpg"));
    QVERIFY(batch.exists("out/album/july/a.jpg"));
}

void tst_BatchOptions::jobsGiveTheSameBytes()
{
    BatchProcess batch;
    for (int i = 0; i < 12; ++i)
        batch.write(QStringLiteral("p/%1.jpg").arg(i), testphotos::jpeg(120 + i, 90, i));
    for (const char *format : {"jpg", "png"}) {
        for (const char *jobs : {"1", "2", "7"}) {
            COMPARE_EXIT(batch.run({"-j", jobs, "--format", format, "--output-dir",
                                    QStringLiteral("out") + jobs, "p"}),
                         0);
        }
        for (int i = 0; i < 12; ++i) {
            const QString name = QStringLiteral("/%1.%2").arg(i).arg(format);
            const QByteArray alone = batch.contents("out1" + name);
            QVERIFY(!alone.isEmpty());
            QCOMPARE(batch.contents("out2" + name), alone);
            QCOMPARE(batch.contents("out7" + name), alone);
        }
    }
}

void tst_BatchOptions::quietAndVerbose()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("b.jpg", "no photo at all");
    const auto quiet = batch.run({"-q", "--output-dir", "o1", "a.jpg", "b.jpg"});
    QCOMPARE(quiet.errors, QByteArray("b.jpg: is no picture of a known format\n"));
    const auto plain = batch.run({"--output-dir", "o2", "a.jpg", "b.jpg"});
    QCOMPARE(plain.errors, quiet.errors);
    const auto verbose = batch.run({"-v", "--output-dir", "o3", "a.jpg", "b.jpg"});
    QVERIFY(verbose.errors.contains("a.jpg -> o3/a.jpg, 64 x 48, "));
    QVERIFY(verbose.errors.contains("1 done, 0 skipped, 1 failed"));
}

void tst_BatchOptions::dryRunWritesNothing()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("b.jpg", testphotos::jpeg());
    batch.write("out/b.jpg", "mine");
    const QStringList before = batch.files();
    const auto blocked = batch.run({"-n", "--output-dir", "out", "a.jpg", "b.jpg"});
    COMPARE_EXIT(blocked, 1);
    QCOMPARE(blocked.errors,
             QByteArray("a.jpg -> out/a.jpg\n"
                        "b.jpg: the output out/b.jpg exists already\n"));
    const auto skipping =
        batch.run({"-n", "--skip-existing", "--output-dir", "out", "a.jpg", "b.jpg"});
    COMPARE_EXIT(skipping, 0);
    QVERIFY(skipping.errors.contains("b.jpg: skipped: "));
    const auto colliding = batch.run({"-n", "--output-dir", "new", "a.jpg", "./a.jpg"});
    COMPARE_EXIT(colliding, 2);
    QVERIFY(colliding.errors.contains("a.jpg: has the same output as ./a.jpg: new/a.jpg"));
    QCOMPARE(batch.files(), before);
    QVERIFY(!batch.exists("new"));
}

void tst_BatchOptions::json()
{
    BatchProcess batch;
    batch.write("a \"quoted\"\n.jpg", testphotos::jpeg());
    batch.write("b.jpg", "no photo");
    batch.write("c.jpg", testphotos::jpeg());
    batch.write("o/c.jpg", "mine");
    const auto outcome = batch.run({"--json", "-j", "1", "--skip-existing", "--output-dir", "o",
                                    "a \"quoted\"\n.jpg", "b.jpg", "c.jpg"});
    COMPARE_EXIT(outcome, 1);
    QList<QByteArray> lines = outcome.output.split('\n');
    QVERIFY(lines.takeLast().isEmpty());
    QCOMPARE(lines.size(), 3);
    QList<QJsonObject> objects;
    for (const QByteArray &line : lines) {
        objects << QJsonDocument::fromJson(line).object();
        QCOMPARE(objects.last().keys(),
                 QStringList(
                     {"height", "input", "milliseconds", "output", "reason", "status", "width"}));
    }
    QCOMPARE(objects[0]["input"].toString(), QStringLiteral("a \"quoted\"\n.jpg"));
    QCOMPARE(objects[0]["output"].toString(), QStringLiteral("o/a \"quoted\"\n.jpg"));
    QCOMPARE(objects[0]["status"].toString(), QStringLiteral("done"));
    QCOMPARE(objects[0]["width"].toInt(), 64);
    QCOMPARE(objects[0]["height"].toInt(), 48);
    QCOMPARE(objects[1]["status"].toString(), QStringLiteral("failed"));
    QVERIFY(!objects[1]["reason"].toString().isEmpty());
    QCOMPARE(objects[2]["status"].toString(), QStringLiteral("skipped"));
}

void tst_BatchOptions::jsonThatNobodyTakes()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const auto outcome = batch.shell("\"$batch\" --json a.jpg >/dev/full");
    COMPARE_EXIT(outcome, 1);
    QVERIFY(outcome.errors.contains("JSON"));
    QVERIFY(batch.exists("a-sketch.jpg"));
}

void tst_BatchOptions::noBarWithoutTerminal()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    QCOMPARE(batch.run({"a.jpg"}).errors, QByteArray());
}

void tst_BatchOptions::barOnTerminal_data()
{
    QTest::addColumn<QString>("setting");
    QTest::addColumn<bool>("bar");
    QTest::addColumn<bool>("colours");

    QTest::newRow("a terminal") << QString("TERM=xterm") << true << true;
    QTest::newRow("without colours") << QString("TERM=xterm NO_COLOR=1") << true << false;
    QTest::newRow("a dumb terminal") << QString("TERM=dumb") << false << false;
}

void tst_BatchOptions::barOnTerminal()
{
    QFETCH(QString, setting);
    QFETCH(bool, bar);
    QFETCH(bool, colours);
    if (QStandardPaths::findExecutable("script").isEmpty())
        QSKIP("script (util-linux) makes the terminal, and is not installed");
    BatchProcess batch;
    for (int i = 0; i < 3; ++i)
        batch.write(QStringLiteral("p/%1.jpg").arg(i), testphotos::jpeg(60, 60, i));
    const QString command = "\"$batch\" --output-dir out p";
    const auto outcome =
        batch.shell("env -u NO_COLOR " + setting + " script -qec '" + command + "' /dev/null");
    QCOMPARE(outcome.output.contains("3/3"), bar);
    QCOMPARE(outcome.output.contains(" MP/s"), bar);
    QCOMPARE(outcome.output.contains(" left"), bar);
    QCOMPARE(outcome.output.contains("\x1b[32m"), colours);
    QVERIFY(batch.exists("out/2.jpg"));
}

namespace {

// A photo with date, camera, place, thumbnail, orientation and sizes.
QByteArray photoWithExif(const QByteArray &photo, int orientation)
{
    Exiv2::ExifData exif;
    exif["Exif.Image.Make"] = "Tester";
    exif["Exif.Image.Orientation"] = uint16_t(orientation);
    exif["Exif.Photo.DateTimeOriginal"] = "2021:06:05 04:03:02";
    exif["Exif.Photo.PixelXDimension"] = uint32_t(64);
    exif["Exif.Photo.PixelYDimension"] = uint32_t(48);
    exif["Exif.GPSInfo.GPSLatitudeRef"] = "N";
    exif["Exif.GPSInfo.GPSLatitude"] = "54/1 20/1 0/1";
    const QByteArray thumbnail = testphotos::jpeg(16, 12);
    Exiv2::ExifThumb(exif).setJpegThumbnail(
        reinterpret_cast<const Exiv2::byte *>(thumbnail.constData()),
        static_cast<std::size_t>(thumbnail.size()));
    auto image = Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte *>(photo.constData()),
                                           static_cast<std::size_t>(photo.size()));
    image->setExifData(exif);
    image->writeMetadata();
    Exiv2::BasicIo &io = image->io();
    io.open();
    QByteArray bytes(static_cast<qsizetype>(io.size()), '\0');
    io.read(reinterpret_cast<Exiv2::byte *>(bytes.data()), static_cast<long>(bytes.size()));
    return bytes;
}

Exiv2::ExifData exifOf(const QString &file)
{
    auto image = Exiv2::ImageFactory::open(QFile::encodeName(file).toStdString());
    image->readMetadata();
    return image->exifData();
}

std::string text(const Exiv2::ExifData &exif, const char *key)
{
    const auto datum = exif.findKey(Exiv2::ExifKey(key));
    return datum == exif.end() ? "missing" : datum->toString();
}

void compareKept(const Exiv2::ExifData &exif)
{
    QCOMPARE(text(exif, "Exif.Image.Make"), "Tester");
    QCOMPARE(text(exif, "Exif.Photo.DateTimeOriginal"), "2021:06:05 04:03:02");
    QCOMPARE(text(exif, "Exif.GPSInfo.GPSLatitude"), "54/1 20/1 0/1");
    QCOMPARE(text(exif, "Exif.Image.Orientation"), "1");
    QCOMPARE(std::string(Exiv2::ExifThumbC(exif).mimeType()), "");
}

} // namespace

void tst_BatchOptions::exifIsKept()
{
    BatchProcess batch;
    batch.write("a.jpg", photoWithExif(testphotos::jpeg(), 1));
    COMPARE_EXIT(batch.run({"a.jpg"}), 0);
    const Exiv2::ExifData exif = exifOf(batch.path("a-sketch.jpg"));
    compareKept(exif);
    QCOMPARE(text(exif, "Exif.Photo.PixelXDimension"), "64");
    COMPARE_EXIT(batch.run({"-", "-o", "b.jpg"}, batch.contents("a.jpg")), 0);
    QCOMPARE(batch.contents("b.jpg"), batch.contents("a-sketch.jpg"));
}

void tst_BatchOptions::exifOfTurnedPhotoIsUpright()
{
    BatchProcess batch;
    batch.write("a.jpg", photoWithExif(testphotos::jpeg(), 6));
    COMPARE_EXIT(batch.run({"a.jpg"}), 0);
    QCOMPARE(QImage(batch.path("a-sketch.jpg")).size(), QSize(48, 64));
    const Exiv2::ExifData exif = exifOf(batch.path("a-sketch.jpg"));
    compareKept(exif);
    QCOMPARE(text(exif, "Exif.Photo.PixelXDimension"), "48");
    QCOMPARE(text(exif, "Exif.Photo.PixelYDimension"), "64");
}

void tst_BatchOptions::exifInPng()
{
    BatchProcess batch;
    batch.write("a.jpg", photoWithExif(testphotos::jpeg(), 3));
    COMPARE_EXIT(batch.run({"--format", "png", "a.jpg"}), 0);
    compareKept(exifOf(batch.path("a-sketch.png")));
    const QByteArray tiff = testphotos::encoded(testphotos::scene(64, 48), "tiff");
    batch.write("b.tif", photoWithExif(tiff, 1));
    COMPARE_EXIT(batch.run({"b.tif"}), 0);
    const Exiv2::ExifData exif = exifOf(batch.path("b-sketch.jpg"));
    QCOMPARE(text(exif, "Exif.Image.Make"), "Tester");
    QCOMPARE(text(exif, "Exif.Image.StripOffsets"), "missing");
    QCOMPARE(text(exif, "Exif.Image.BitsPerSample"), "missing");
}

void tst_BatchOptions::orientationOfPngAndWebP_data()
{
    QTest::addColumn<QByteArray>("format");
    QTest::addColumn<int>("orientation");

    for (const char *format : {"png", "webp"}) {
        QTest::addRow("%s, upright", format) << QByteArray(format) << 1;
        QTest::addRow("%s, turned round", format) << QByteArray(format) << 3;
        QTest::addRow("%s, turned", format) << QByteArray(format) << 6;
    }
}

// The window shows these formats as they are stored, whatever their EXIF data say.
// The sketch has the same pixels, and keeps the tag, which is true of them.
void tst_BatchOptions::orientationOfPngAndWebP()
{
    QFETCH(QByteArray, format);
    QFETCH(int, orientation);
    const QByteArray plain =
        testphotos::encoded(testphotos::scene(64, 48), format, {}, format == "webp" ? 100 : -1);
    BatchProcess batch;
    batch.write("plain", plain);
    batch.write("tagged", photoWithExif(plain, orientation));
    QImageReader window(batch.path("tagged"));
    window.setDecideFormatFromContent(true);
    window.setAutoTransform(true);
    const QImage shown = window.read();
    QCOMPARE(shown.size(), QSize(64, 48));
    QCOMPARE(shown, QImage(batch.path("plain")));

    COMPARE_EXIT(batch.run({"-o", "plain.png", "plain"}), 0);
    COMPARE_EXIT(batch.run({"-o", "tagged.png", "tagged"}), 0);
    QCOMPARE(QImage(batch.path("tagged.png")), QImage(batch.path("plain.png")));
    QCOMPARE(text(exifOf(batch.path("tagged.png")), "Exif.Image.Orientation"),
             std::to_string(orientation));
}

void tst_BatchOptions::stripDropsExif()
{
    BatchProcess batch;
    batch.write("a.jpg", photoWithExif(testphotos::jpeg(), 6));
    COMPARE_EXIT(batch.run({"--strip", "a.jpg"}), 0);
    QVERIFY(exifOf(batch.path("a-sketch.jpg")).empty());
    QCOMPARE(QImage(batch.path("a-sketch.jpg")).size(), QSize(48, 64));
}

void tst_BatchOptions::colourProfileIsNotAttached()
{
    QImage photo = testphotos::scene(40, 30);
    photo.setColorSpace(QColorSpace::AdobeRgb);
    BatchProcess batch;
    batch.write("a.jpg", testphotos::encoded(photo, "jpeg"));
    QVERIFY(batch.contents("a.jpg").contains("ICC_PROFILE"));
    for (const char *format : {"jpg", "png"})
        COMPARE_EXIT(batch.run({"--format", format, "a.jpg"}), 0);
    QVERIFY(!batch.contents("a-sketch.jpg").contains("ICC_PROFILE"));
    QVERIFY(!batch.contents("a-sketch.png").contains("iCCP"));
}

void tst_BatchOptions::preserveKeepsTime()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const timespec times[2] = {{1000000000, 5}, {1234567890, 123456789}};
    QCOMPARE(utimensat(AT_FDCWD, QFile::encodeName(batch.path("a.jpg")).constData(), times, 0), 0);
    COMPARE_EXIT(batch.run({"--preserve", "a.jpg"}), 0);
    struct stat status
    {
    };
    QCOMPARE(stat(QFile::encodeName(batch.path("a-sketch.jpg")).constData(), &status), 0);
    QCOMPARE(status.st_mtim.tv_sec, 1234567890);
    QCOMPARE(status.st_mtim.tv_nsec, 123456789);
    COMPARE_EXIT(batch.run({"-o", "b.jpg", "a.jpg"}), 0);
    QVERIFY(QFileInfo(batch.path("b.jpg")).lastModified().date().year() > 2009);
}

void tst_BatchOptions::fsyncIsAccepted()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    COMPARE_EXIT(batch.run({"--fsync", "a.jpg"}), 0);
    QVERIFY(batch.exists("a-sketch.jpg"));
}

void tst_BatchOptions::startsWithoutDisplayAndLocale()
{
    BatchProcess batch;
    batch.write("a\u00e4\u65e5.jpg", testphotos::jpeg());
    batch.write("b.png", testphotos::encoded(testphotos::scene(20, 20), "png"));
    const auto outcome = batch.shell("env -i \"$batch\" --output-dir o a*.jpg b.png");
    COMPARE_EXIT(outcome, 0);
    QCOMPARE(outcome.errors, QByteArray());
    QVERIFY(batch.exists("o/a\u00e4\u65e5.jpg"));
}

void tst_BatchOptions::shellsReadTheCompletions_data()
{
    QTest::addColumn<QString>("shell");
    QTest::addColumn<QStringList>("arguments");

    const QString texts = QStringLiteral(CRAYVELL_BATCH_TEXTS) + u'/';
    QTest::newRow("bash") << "bash" << QStringList {"-n", texts + "crayvell-batch.bash"};
    QTest::newRow("zsh") << "zsh" << QStringList {"-n", texts + "_crayvell-batch"};
    QTest::newRow("fish") << "fish" << QStringList {"-n", texts + "crayvell-batch.fish"};
    QTest::newRow("bash completes an option")
        << "bash"
        << QStringList {"-c",
                        "_init_completion() { cur=--over prev=crayvell-batch; }; . " + texts
                            + "crayvell-batch.bash; _crayvell_batch;"
                              " test \"${COMPREPLY[*]}\" = --overwrite"};
    QTest::newRow("bash completes a format")
        << "bash"
        << QStringList {"-c",
                        "_init_completion() { cur=p prev=--format; }; . " + texts
                            + "crayvell-batch.bash; _crayvell_batch;"
                              " test \"${COMPREPLY[*]}\" = png"};
    QTest::newRow("fish completes an option")
        << "fish"
        << QStringList {"-c",
                        "source " + texts
                            + "crayvell-batch.fish; complete -C 'crayvell-batch --skip'"
                              " | string match -q -- '--skip-existing*'"};
    QTest::newRow("man")
        << "man"
        << QStringList {
               "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", texts + "crayvell-batch.1"};
}

void tst_BatchOptions::shellsReadTheCompletions()
{
    QFETCH(QString, shell);
    QFETCH(QStringList, arguments);
    if (QStandardPaths::findExecutable(shell).isEmpty())
        QSKIP(qPrintable(shell + " is not installed"));
    QProcess process;
    process.start(shell, arguments);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.readAllStandardError(), QByteArray());
    QCOMPARE(process.exitCode(), 0);
}

void tst_BatchOptions::manualNamesEveryOption()
{
    QFile manual(QStringLiteral(CRAYVELL_BATCH_TEXTS) + "/crayvell-batch.1");
    QVERIFY(manual.open(QIODevice::ReadOnly));
    const QByteArray text = manual.readAll();
    BatchProcess batch;
    const QString help = QString::fromUtf8(batch.run({"--help"}).output);
    static const QRegularExpression option(QStringLiteral("--[a-z-]+"));
    int count = 0;
    for (auto matches = option.globalMatch(help.section("PHOTO|FOLDER", 1)); matches.hasNext();) {
        const QString name = matches.next().captured();
        QVERIFY2(text.contains("\\fB" + name.toUtf8().replace("-", "\\-") + "\\fR"),
                 qPrintable(name));
        ++count;
    }
    QVERIFY(count > 20);
}

CRAYVELL_TEST_MAIN(tst_BatchOptions)
#include "tst_batchoptions.moc"
