#include "photo/photoinput.h"

#include "photo/photoerror.h"
#include "tests/support/testmain.h"

#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>

class PhotoInputTest : public QObject
{
    Q_OBJECT

private slots:
    void readsAnywhere();
    void staysWithTheFileThatWasOpened();
    void changesAreNoticed_data();
    void changesAreNoticed();
    void onlyRegularFiles();

private:
    QString path() const { return m_folder.filePath(QStringLiteral("photo")); }
    std::string name() const { return QFile::encodeName(path()).toStdString(); }
    static bool write(const QString &path, const QByteArray &content)
    {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    }

    QTemporaryDir m_folder;
};

void PhotoInputTest::readsAnywhere()
{
    QByteArray content;
    for (int i = 0; i < 100'000; ++i)
        content += char(i % 251);
    QVERIFY(write(path(), content));
    photo::PhotoInput input(name(), 0);
    QIODevice &device = input.device();
    QCOMPARE(device.size(), content.size());
    QCOMPARE(device.peek(64), content.left(64));
    for (const int at : {0, 70'000, 3, 99'990, 16'383, 16'384, 50'000}) {
        QVERIFY(device.seek(at));
        QCOMPARE(device.pos(), at);
        QCOMPARE(device.read(7), content.mid(at, 7));
        QCOMPARE(device.read(20'000), content.mid(at + 7, 20'000));
        device.skip(5);
        QCOMPARE(device.read(3), content.mid(at + 20'012, 3));
    }
    QVERIFY(device.seek(0));
    QCOMPARE(device.readAll(), content);
    input.checkUnchanged();
}

void PhotoInputTest::staysWithTheFileThatWasOpened()
{
    QVERIFY(write(path(), "the first"));
    photo::PhotoInput input(name(), 0);
    QVERIFY(QFile::remove(path()));
    QVERIFY(write(path(), "another"));
    QCOMPARE(input.device().readAll(), QByteArray("the first"));
    input.checkUnchanged();
}

void PhotoInputTest::changesAreNoticed_data()
{
    QTest::addColumn<QByteArray>("later");
    QTest::addColumn<bool>("append");
    QTest::newRow("cut") << QByteArray("abc") << false;
    QTest::newRow("emptied") << QByteArray() << false;
    QTest::newRow("longer") << QByteArray("more") << true;
    QTest::newRow("other content of the same size") << QByteArray("ABCDEFGHIJ") << false;
}

void PhotoInputTest::changesAreNoticed()
{
    QFETCH(QByteArray, later);
    QFETCH(bool, append);
    QVERIFY(write(path(), "abcdefghij"));
    // File systems note a time of some milliseconds: let it be an old file.
    const timespec longAgo[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
    QCOMPARE(utimensat(AT_FDCWD, name().c_str(), longAgo, 0), 0);
    photo::PhotoInput input(name(), 0);
    input.checkUnchanged();
    QFile file(path());
    QVERIFY(file.open(append ? QIODevice::Append : QIODevice::WriteOnly));
    QCOMPARE(file.write(later), later.size());
    file.close();
    QVERIFY_EXCEPTION_THROWN(input.checkUnchanged(), photo::PhotoError);
}

void PhotoInputTest::onlyRegularFiles()
{
    QVERIFY_EXCEPTION_THROWN(photo::PhotoInput(name() + "-missing", 0), photo::PhotoError);
    QVERIFY_EXCEPTION_THROWN(photo::PhotoInput("/dev/null", 0), photo::PhotoError);
    QVERIFY_EXCEPTION_THROWN(photo::PhotoInput(m_folder.path().toStdString(), 0),
                             photo::PhotoError);
    const std::string pipe = name() + "-pipe";
    QCOMPARE(mkfifo(pipe.c_str(), 0600), 0);
    QVERIFY_EXCEPTION_THROWN(photo::PhotoInput(pipe, 0), photo::PhotoError);
}

CRAYVELL_TEST_MAIN(PhotoInputTest)
#include "tst_photoinput.moc"
