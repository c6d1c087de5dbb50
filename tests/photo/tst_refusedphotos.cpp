#include <QTemporaryDir>

#include <atomic>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>

#include "photo/photofile.h"
#include "tests/support/hostilephotos.h"
#include "tests/support/pictures.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"

// What the window does not open, and what that costs.
class RefusedPhotosTest : public QObject
{
    Q_OBJECT

private slots:
    void refusedPhotoIsNotDecoded();
    void changingPhotoIsRefused();
    void segmentsBehindThePicture_data();
    void segmentsBehindThePicture();

private:
    QTemporaryDir m_folder;
};

void RefusedPhotosTest::refusedPhotoIsNotDecoded()
{
    if (process::isSanitized())
        QSKIP("the sanitizer takes more address space than the limit");
    QImage large(6000, 4000, QImage::Format_RGB32);
    large.fill(Qt::red);
    const QString path = m_folder.filePath(QStringLiteral("large.png"));
    QVERIFY(large.save(path));
    large = QImage();
    // It would need 624 MB, of which its pixels are 96.
    const process::ResourceLimit limit(RLIMIT_AS, process::addressSpace() + 400'000'000);
    if (!process::forgetPeak())
        QSKIP("the system does not let a peak of memory be forgotten");
    const qint64 before = process::residentMemory();
    QVERIFY(photo::readPhoto(path).image.isNull());
    QVERIFY(process::peakResidentMemory() < before + 50'000'000);
}

void RefusedPhotosTest::changingPhotoIsRefused()
{
    const QString path = m_folder.filePath(QStringLiteral("changing.png"));
    QVERIFY(pictures::scene(1500, 1000).save(path));
    std::atomic<bool> isDone = false;
    std::atomic<bool> hasBegun = false;
    std::thread changer([&isDone, &hasBegun, name = QFile::encodeName(path)] {
        for (long i = 0; !isDone; ++i) {
            const timespec times[2] = {{1'000'000'000, 0}, {1'000'000'000 + i, 0}};
            utimensat(AT_FDCWD, name.constData(), times, 0);
            hasBegun = true;
        }
    });
    while (!hasBegun)
        std::this_thread::yield();
    // A loaded machine may leave the changer no time during a reading.
    constexpr int readings = 10;
    int refused = 0;
    for (int i = 0; i < readings; ++i)
        refused += photo::readPhoto(path).image.isNull() ? 1 : 0;
    isDone = true;
    changer.join();
    QVERIFY2(refused >= readings - 2, qPrintable(QString::number(refused)));
    QVERIFY(!photo::readPhoto(path).image.isNull());
}

void RefusedPhotosTest::segmentsBehindThePicture_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<bool>("isRead");
    QTest::newRow("more than may stand before it") << 6'000 << true;
    QTest::newRow("the most") << 20'000 << true;
    QTest::newRow("too many") << 20'001 << false;
}

void RefusedPhotosTest::segmentsBehindThePicture()
{
    QFETCH(int, count);
    const QString path = m_folder.filePath(QStringLiteral("segments.jpg"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write(hostilephotos::jpegWithSegments(10, count)) > 0);
    file.close();
    QTEST(!photo::readPhoto(path).image.isNull(), "isRead");
}

CRAYVELL_TEST_MAIN(RefusedPhotosTest)
#include "tst_refusedphotos.moc"
