#include <QDirIterator>
#include <QElapsedTimer>

#include <unistd.h>

#include "tests/batch/batchprocess.h"
#include "tests/support/nthcall.h"
#include "tests/support/preload.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"
#include "tests/support/testphotos.h"

class tst_BatchFaults : public QObject
{
    Q_OBJECT

private slots:
    void oneBadPhotoDoesNotStopTheOthers();
    void truncated_data();
    void truncated();
    void truncatedIsAllowed_data();
    void truncatedIsAllowed();
    void damagedJpeg();
    void refusedByName_data();
    void refusedByName();
    void specialFilesAreRefused_data();
    void specialFilesAreRefused();
    void fullDisk_data();
    void fullDisk();
    void fullFileSystem();
    void unwritableFolder();
    void interruptedWritesAreDoneAgain();
    void brokenFiles();
};

void tst_BatchFaults::oneBadPhotoDoesNotStopTheOthers()
{
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    batch.write("b.jpg", testphotos::jpeg().left(700));
    batch.write("c.jpg", "");
    batch.write("e.jpg", testphotos::jpeg());
    const auto outcome =
        batch.run({"-j", "2", "--output-dir", "out", "a.jpg", "b.jpg", "c.jpg", "d.jpg", "e.jpg"});
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors.count('\n'), 3);
    QVERIFY(outcome.errors.contains("b.jpg: is truncated\n"));
    QVERIFY(outcome.errors.contains("c.jpg: is empty\n"));
    QVERIFY(outcome.errors.contains("d.jpg: cannot be read: No such file or directory\n"));
    QVERIFY(batch.exists("out/a.jpg"));
    QVERIFY(batch.exists("out/e.jpg"));
    QVERIFY(!batch.exists("out/b.jpg"));
}

namespace {

QByteArray photoIn(const QByteArray &format)
{
    const QImage scene = testphotos::scene(120, 100);
    if (format == "gif")
        return testphotos::gif(scene);
    if (format == "progressive jpeg")
        return testphotos::progressiveJpeg(scene);
    if (format == "plain ppm") {
        QByteArray file = "P3\n120 100\n255\n";
        for (int i = 0; i < 120 * 100; ++i) {
            const QRgb pixel = scene.pixel(i % 120, i / 120);
            file += QByteArray::number(qRed(pixel)) + ' ' + QByteArray::number(qGreen(pixel)) + ' '
                + QByteArray::number(qBlue(pixel)) + '\n';
        }
        return file;
    }
    if (format == "deep png" || format == "deep tiff")
        return testphotos::encoded(scene.convertToFormat(QImage::Format_RGBX64), format.mid(5));
    if (format == "indexed bmp")
        return testphotos::encoded(scene.convertToFormat(QImage::Format_Indexed8), "bmp");
    return testphotos::encoded(scene, format);
}

} // namespace

void tst_BatchFaults::truncated_data()
{
    QTest::addColumn<QByteArray>("photo");

    for (const char *format : {"jpeg", "progressive jpeg", "png", "deep png", "tiff", "deep tiff",
                               "webp", "bmp", "indexed bmp", "gif", "ppm", "pgm", "plain ppm"}) {
        const QByteArray photo = photoIn(format);
        for (const int percent : {1, 5, 10, 30, 50, 70, 90, 97}) {
            QTest::addRow("%s, %d per cent", format, percent)
                << photo.left(photo.size() * percent / 100);
        }
        // The last byte of a plain text is a line's end, that of a GIF follows
        // its picture.
        if (qstrcmp(format, "plain ppm") != 0 && qstrcmp(format, "gif") != 0)
            QTest::addRow("%s, but the last byte", format) << photo.chopped(1);
    }
}

void tst_BatchFaults::truncated()
{
    QFETCH(QByteArray, photo);
    QVERIFY(!photo.isEmpty());
    BatchProcess batch;
    batch.write("photo", photo);
    const auto outcome = batch.run({"photo"});
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors.count('\n'), 1);
    QVERIFY(outcome.errors.startsWith("photo: "));
    QCOMPARE(batch.files(), QStringList {"photo"});
    COMPARE_EXIT(batch.run({"-"}, photo), 1);
}

void tst_BatchFaults::truncatedIsAllowed_data()
{
    QTest::addColumn<QByteArray>("format");

    for (const char *format : {"jpeg", "progressive jpeg", "bmp", "gif"})
        QTest::newRow(format) << QByteArray(format);
}

void tst_BatchFaults::truncatedIsAllowed()
{
    QFETCH(QByteArray, format);
    const QByteArray photo = photoIn(format);
    BatchProcess batch;
    batch.write("photo", photo.left(photo.size() * 7 / 10));
    COMPARE_EXIT(batch.run({"--allow-truncated", "photo"}), 0);
    QCOMPARE(QImage(batch.path("photo-sketch.jpg")).size(), QSize(120, 100));
}

void tst_BatchFaults::damagedJpeg()
{
    QByteArray photo = testphotos::jpeg(300, 300);
    // An end marker in the middle of the data.
    photo.replace(photo.size() / 2, 2, "\xff\xd9");
    BatchProcess batch;
    batch.write("photo", photo);
    const auto outcome = batch.run({"photo"});
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors, QByteArray("photo: is damaged\n"));
    COMPARE_EXIT(batch.run({"--allow-truncated", "photo"}), 0);
}

void tst_BatchFaults::refusedByName_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("name");

    using Bytes = QByteArray;
    QTest::newRow("HEIF") << Bytes("\0\0\0\x18"
                                   "ftypheic\0\0\0\0mif1",
                                   20)
                          << "a.heic" << Bytes("HEIF");
    QTest::newRow("AVIF") << Bytes("\0\0\0\x18"
                                   "ftypavif\0\0\0\0",
                                   16)
                          << "a.avif" << Bytes("AVIF");
    QTest::newRow("JPEG XL") << Bytes("\xff\x0a\0\0", 4) << "a.jxl" << Bytes("JPEG XL");
    QTest::newRow("PSD named like a JPEG") << Bytes("8BPS\0\1") << "a.jpg" << Bytes("PSD");
    QTest::newRow("PDF") << Bytes("%PDF-1.4") << "a.pdf" << Bytes("PDF");
    QTest::newRow("SVG") << Bytes("<svg xmlns='http://www.w3.org/2000/svg'/>") << "a.svg"
                         << Bytes("SVG");
    QTest::newRow("ICO") << Bytes("\0\0\1\0\1\0", 6) << "a.ico" << Bytes("ICO");
    QTest::newRow("PBM") << Bytes("P4\n8 8\n12345678") << "a.pbm" << Bytes("PBM");
    QTest::newRow("raw file of a camera")
        << testphotos::encoded(testphotos::scene(20, 20), "tiff") << "a.NEF" << Bytes("camera raw");
    QTest::newRow("XPM") << Bytes("/* XPM */") << "a.xpm" << Bytes("XPM");
    QTest::newRow("text") << Bytes("BMW and P3 are no pictures") << "a.bmp" << Bytes("no picture");
}

void tst_BatchFaults::refusedByName()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, file);
    QFETCH(QByteArray, name);
    BatchProcess batch;
    batch.write(file, content);
    const auto outcome = batch.run({file});
    COMPARE_EXIT(outcome, 1);
    QVERIFY2(outcome.errors.contains(name), outcome.errors.constData());
    QCOMPARE(outcome.errors.count('\n'), 1);
    QCOMPARE(batch.files(), QStringList {file});
}

void tst_BatchFaults::specialFilesAreRefused_data()
{
    QTest::addColumn<QString>("making");
    QTest::addColumn<int>("inFolder");

    QTest::newRow("a pipe that nobody writes") << "mkfifo p.jpg" << 0;
    QTest::newRow("an endless device") << "ln -s /dev/zero p.jpg" << 0;
    QTest::newRow("a link to itself") << "ln -s p.jpg p.jpg" << 1;
}

void tst_BatchFaults::specialFilesAreRefused()
{
    QFETCH(QString, making);
    BatchProcess batch;
    QCOMPARE(batch.shell(making).exitCode, 0);
    QElapsedTimer clock;
    clock.start();
    COMPARE_EXIT(batch.run({"p.jpg"}), 1);
    QFETCH(int, inFolder);
    COMPARE_EXIT(batch.run({"--output-dir", "o", "."}), inFolder);
    QVERIFY(clock.elapsed() < 20000);
}

void tst_BatchFaults::fullDisk_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("mode");

    for (const char *format : {"jpg", "png"}) {
        QTest::addRow("%s, new", format) << format << "";
        QTest::addRow("%s, replacing", format) << format << "--overwrite";
    }
}

void tst_BatchFaults::fullDisk()
{
    QFETCH(QString, format);
    QFETCH(QString, mode);
    BatchProcess batch;
    batch.write("large.jpg", testphotos::jpeg(900, 700));
    batch.write("small.jpg", testphotos::jpeg());
    QStringList expected {"large.jpg", "out/small." + format, "small.jpg"};
    if (!mode.isEmpty()) {
        batch.write("out/large." + format, "mine");
        expected.insert(1, "out/large." + format);
    }
    // Files may have 32 blocks of 512 bytes at the most.
    const auto outcome = batch.shell("ulimit -f 32; \"$batch\" --output-dir out --format " + format
                                     + " " + mode + " large.jpg small.jpg");
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors, QByteArray("large.jpg: cannot write the output: File too large\n"));
    QCOMPARE(batch.files(), expected);
    if (!mode.isEmpty())
        QCOMPARE(batch.contents("out/large." + format), "mine");
}

void tst_BatchFaults::fullFileSystem()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer wants to be loaded first");
    BatchProcess batch;
    batch.write("large.jpg", testphotos::jpeg(900, 700));
    // It takes some of the sketch. To mount a small one would need privileges.
    const auto outcome =
        batch.run({"-j", "1", "--output-dir", "out", "large.jpg"}, {},
                  preloaded(CRAYVELL_NTH_CALL) << QStringLiteral("NTH_CALL=write 2 ENOSPC"));
    COMPARE_EXIT(outcome, 1);
    QCOMPARE(outcome.errors,
             QByteArray("large.jpg: cannot write the output: No space left on device\n"));
    QCOMPARE(batch.files(), QStringList {"large.jpg"});
}

void tst_BatchFaults::unwritableFolder()
{
    BatchProcess batch;
    batch.write("in/a.jpg", testphotos::jpeg());
    batch.write("in/secret.jpg", testphotos::jpeg());
    batch.write("in/closed", testphotos::jpeg());
    batch.write("in/june/a.jpg", testphotos::jpeg());
    batch.write("listed/june/a.jpg", testphotos::jpeg());
    batch.write("shut/a.jpg", "mine");
    QCOMPARE(batch
                 .shell("chmod 755 . in && chmod 000 in/secret.jpg in/closed in/june"
                        " && chmod 600 listed && chmod 555 shut && mkdir open && chmod 777 open"
                        " && ln -s nowhere in/link")
                 .exitCode,
             0);
    QString as;
    if (geteuid() == 0) {
        // Root may write everywhere: take that away. Another user might not get here at all.
        if (QStandardPaths::findExecutable("setpriv").isEmpty())
            QSKIP("setpriv (util-linux), which takes root's privileges away, is not installed");
        as = "setpriv --bounding-set=-dac_override,-dac_read_search ";
    }
    const auto outcome = batch.shell(as + "\"$batch\" --overwrite --output-dir shut in/a.jpg");
    COMPARE_EXIT(outcome, 1);
    QVERIFY2(outcome.errors.contains("Permission denied"), outcome.errors.constData());
    QCOMPARE(outcome.errors.count('\n'), 1);
    QCOMPARE(batch.contents("shut/a.jpg"), "mine");
    const auto unreadable = batch.shell(as + "\"$batch\" -r --output-dir open in listed");
    COMPARE_EXIT(unreadable, 1);
    for (const char *name : {"in/secret.jpg", "in/closed", "in/june", "listed/june"})
        QVERIFY2(
            unreadable.errors.contains(name + QByteArray(": cannot be read: Permission denied")),
            unreadable.errors.constData());
    QCOMPARE(unreadable.errors.count('\n'), 4);
    QVERIFY(batch.exists("open/a.jpg"));
    QCOMPARE(batch.shell("chmod 755 shut listed in/june").exitCode, 0);
}

void tst_BatchFaults::interruptedWritesAreDoneAgain()
{
    if (process::isSanitized())
        QSKIP("the address sanitizer wants to be loaded first");
    BatchProcess batch;
    batch.write("a.jpg", testphotos::jpeg());
    const QString counts = batch.path("counts");
    const auto undisturbed = batch.run({"-n", "a.jpg", "none.jpg"}, {},
                                       preloaded(CRAYVELL_NTH_CALL) << "NTH_CALL_COUNTS=" + counts);
    const int writes = nthcall::countsIn(counts)["write"];
    QVERIFY(writes >= 2); // what is planned, and what fails
    for (int call = 1; call <= writes; ++call) {
        const auto outcome = batch.run({"-n", "a.jpg", "none.jpg"}, {},
                                       preloaded(CRAYVELL_NTH_CALL)
                                           << QStringLiteral("NTH_CALL=write %1 EINTR").arg(call));
        COMPARE_EXIT(outcome, 1);
        QCOMPARE(outcome.output, undisturbed.output);
        QCOMPARE(outcome.errors, undisturbed.errors);
    }
}

void tst_BatchFaults::brokenFiles()
{
    const QString folder = QStringLiteral("/usr/libexec/installed-tests/gdk-pixbuf");
    if (!QFileInfo(folder).isDir())
        QSKIP("the package gdk-pixbuf-tests, which has the broken files, is not installed");
    BatchProcess batch;
    int photos = 0;
    QString large; // of 840 megapixels, and sound
    QByteArray list;
    QDirIterator walk(folder, QDir::Files, QDirIterator::Subdirectories);
    QVERIFY(QDir(batch.folder.path()).mkdir("in"));
    while (walk.hasNext()) {
        // Numbered, because some names differ in their suffix only.
        const QString file = walk.next();
        const QString name =
            QStringLiteral("in/%1 %2").arg(++photos, 4).arg(QFileInfo(file).fileName());
        QVERIFY(QFile::link(file, batch.path(name)));
        list += name.toUtf8() + '\0';
        if (file.endsWith("/large.png"))
            large = name;
    }
    QVERIFY(photos > 100);
    for (const char *mode : {"--skip-existing", "--allow-truncated"}) {
        // Sketched whole once; the other time there is a part of it.
        const bool isCut = qstrcmp(mode, "--allow-truncated") == 0;
        if (isCut) {
            const QByteArray bytes = batch.contents(large);
            QVERIFY(QFile::remove(batch.path(large)));
            batch.write(large, bytes.left(bytes.size() / 20));
        }
        const qint64 begin = process::childrensProcessorTime();
        const auto outcome = batch.run({"--files-from", "-", "--null", "--json", "--max-memory",
                                        "1G", "--format", "png", "--output-dir", mode + 2, mode},
                                       list);
        COMPARE_EXIT(outcome, 1);
        QCOMPARE(outcome.output.count('\n'), photos);
        QCOMPARE(outcome.errors.count('\n'), outcome.output.count("\"failed\""));
        QVERIFY(outcome.output.count("\"done\"") > 50);
        const qint64 taken = process::childrensProcessorTime() - begin;
        QVERIFY2(process::isSanitized() || taken < 100000, qPrintable(QString::number(taken)));
        QCOMPARE(outcome.errors.count(" large.png: "), isCut ? 1 : 0);
    }
}

CRAYVELL_TEST_MAIN(tst_BatchFaults)
#include "tst_batchfaults.moc"
