#include <QImageReader>

#include <memory>

#include <sys/stat.h>

#include "tests/app/mainwindowprobe.h"
#include "tests/support/dialogs.h"
#include "tests/support/pictures.h"
#include "tests/support/process.h"
#include "tests/support/testmain.h"

namespace {

const QByteArray formerContent("what was there before");

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void put(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

ino_t inodeOf(const QString &path)
{
    struct stat status
    {
    };
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_ino : 0;
}

} // namespace

class SaveTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void nothingToSave();
    void cancelled();
    void dialogHasItsTexts();
    void startsInTheLastDirectory();
    void formatFollowsTheSuffix_data();
    void formatFollowsTheSuffix();
    void unknownSuffixSavesNothing_data();
    void unknownSuffixSavesNothing();
    void savesWhatWasRenderedLast();
    void savesThePhotoRightAfterOpen();
    void replacesInOneStep();
    void followsALink();
    void fullDiskKeepsTheFormerFile_data();
    void fullDiskKeepsTheFormerFile();
    void readOnlyFolder_data();
    void readOnlyFolder();
    void readOnlyFileStays();
    void missingFolderForgetsTheDirectory();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    QStringList files() const
    {
        return QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden | QDir::System);
    }
    QString saveDirectory()
    {
        return MainWindowProbe::settings(*m_window).value(QStringLiteral("CurrSaveDir")).toString();
    }
    QString message() { return MainWindowProbe::ui(*m_window).statusBar->currentMessage(); }
    void openPhoto() { MainWindowProbe::open(*m_window, m_photoPath); }
    void saveAs(const QString &target)
    {
        dialogs::chooseNext(target);
        MainWindowProbe::ui(*m_window).actionSave->trigger();
    }

    QTemporaryDir m_photoFolder;
    QString m_photoPath = m_photoFolder.filePath(QStringLiteral("photo.png"));
    QImage m_photo = pictures::scene(120, 80);
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<MainWindow> m_window;
};

void SaveTest::initTestCase()
{
    QVERIFY(m_photo.save(m_photoPath));
}

void SaveTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_window = std::make_unique<MainWindow>();
    MainWindowProbe::settings(*m_window).clear();
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
}

void SaveTest::cleanup()
{
    m_window.reset();
    m_folder.reset();
}

void SaveTest::nothingToSave()
{
    MainWindowProbe::ui(*m_window).actionSave->trigger(); // would hang in a dialog
    QCOMPARE(message(), QStringLiteral("Nothing to save."));
}

void SaveTest::cancelled()
{
    openPhoto();
    dialogs::cancelNext();
    MainWindowProbe::ui(*m_window).actionSave->trigger();
    QCOMPARE(message(), QStringLiteral("No file selected"));
    QVERIFY(!MainWindowProbe::settings(*m_window).contains(QStringLiteral("CurrSaveDir")));
}

void SaveTest::dialogHasItsTexts()
{
    openPhoto();
    QString title;
    QString directory;
    QStringList filters;
    dialogs::whenFileDialogOpens([&](QFileDialog &dialog) {
        title = dialog.windowTitle();
        directory = dialog.directory().canonicalPath();
        filters = dialog.nameFilters();
        dialog.reject();
    });
    MainWindowProbe::ui(*m_window).actionSave->trigger();
    QCOMPARE(title, QStringLiteral("Save Image"));
    QCOMPARE(directory, QDir(m_photoFolder.path()).canonicalPath()); // where the photo was opened
    QCOMPARE(
        filters,
        QStringList({QStringLiteral("JPG Files (*.jpg)"), QStringLiteral("PNG Files (*.png)")}));
}

void SaveTest::startsInTheLastDirectory()
{
    openPhoto();
    saveAs(path(QStringLiteral("sketch.png")));
    QCOMPARE(saveDirectory(), QDir(m_folder->path()).canonicalPath());
    QString directory;
    dialogs::whenFileDialogOpens([&](QFileDialog &dialog) {
        directory = dialog.directory().canonicalPath();
        dialog.reject();
    });
    MainWindowProbe::ui(*m_window).actionSave->trigger();
    QCOMPARE(directory, QDir(m_folder->path()).canonicalPath());
}

void SaveTest::formatFollowsTheSuffix_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("format");
    // The dialog's first filter is JPG in every row: it does not count.
    QTest::newRow("png") << QStringLiteral("sketch.png") << QByteArray("png");
    QTest::newRow("capitals") << QStringLiteral("sketch.PNG") << QByteArray("png");
    QTest::newRow("jpg") << QStringLiteral("sketch.jpg") << QByteArray("jpeg");
    QTest::newRow("jpeg") << QStringLiteral("sketch.jpeg") << QByteArray("jpeg");
    QTest::newRow("bmp") << QStringLiteral("sketch.bmp") << QByteArray("bmp");
    QTest::newRow("two suffixes") << QStringLiteral("sketch.jpg.png") << QByteArray("png");
    // A double quote is the dialog's own, for naming several files.
    QTest::newRow("spaces, quotes and letters")
        << QStringLiteral("mein schönes 'Bild'.png") << QByteArray("png");
}

void SaveTest::formatFollowsTheSuffix()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, format);
    openPhoto();
    MainWindowProbe::ui(*m_window).actionProcess->trigger();
    saveAs(path(name));
    QCOMPARE(files(), QStringList(name));
    QImageReader reader(path(name));
    reader.setDecideFormatFromContent(true);
    QCOMPARE(reader.format(), format);
    const QImage saved = reader.read();
    QCOMPARE(saved.size(), m_photo.size());
    if (format != "jpeg") {
        const QImage expected = pictures::expectedSketch(m_photo, 0, 255);
        QCOMPARE(pictures::difference(saved.convertToFormat(QImage::Format_ARGB32), expected),
                 QString());
    }
    QVERIFY(message().isEmpty());
}

void SaveTest::unknownSuffixSavesNothing_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("existing");
    QTest::newRow("no suffix") << QStringLiteral("sketch") << false;
    QTest::newRow("no suffix, file there") << QStringLiteral("sketch") << true;
    QTest::newRow("unknown suffix") << QStringLiteral("sketch.xyz") << false;
    QTest::newRow("unknown suffix, file there") << QStringLiteral("notes.txt") << true;
}

void SaveTest::unknownSuffixSavesNothing()
{
    QFETCH(QString, name);
    QFETCH(bool, existing);
    openPhoto();
    if (existing)
        put(path(name), formerContent);
    saveAs(path(name));
    QCOMPARE(files(), existing ? QStringList(name) : QStringList());
    if (existing)
        QCOMPARE(contentOf(path(name)), formerContent);
    QVERIFY(message().isEmpty());
    QVERIFY(MainWindowProbe::settings(*m_window).contains(QStringLiteral("CurrSaveDir")));
    QCOMPARE(saveDirectory(), existing ? QDir(m_folder->path()).canonicalPath() : QString());
}

void SaveTest::savesWhatWasRenderedLast()
{
    openPhoto();
    const Ui_MainWindow &ui = MainWindowProbe::ui(*m_window);
    ui.horizontalSlider->setValue(90);
    ui.horizontalSlider_2->setValue(230);
    saveAs(path(QStringLiteral("sketch.png")));
    const QImage expected = pictures::expectedSketch(m_photo, 90, 230);
    QCOMPARE(pictures::difference(QImage(path(QStringLiteral("sketch.png"))), expected), QString());
}

void SaveTest::savesThePhotoRightAfterOpen()
{
    openPhoto();
    saveAs(path(QStringLiteral("photo.png")));
    QCOMPARE(pictures::difference(QImage(path(QStringLiteral("photo.png"))), m_photo), QString());
}

// A reader that has the former file open keeps it whole: the new one takes its
// name in one step.
void SaveTest::replacesInOneStep()
{
    openPhoto();
    const QString target = path(QStringLiteral("sketch.png"));
    put(target, formerContent);
    const ino_t inode = inodeOf(target);
    QFile reader(target);
    QVERIFY(reader.open(QIODevice::ReadOnly));
    saveAs(target);
    QCOMPARE(reader.readAll(), formerContent);
    QVERIFY(inodeOf(target) != inode);
    QCOMPARE(QImage(target).size(), m_photo.size());
    QCOMPARE(files(), QStringList(QStringLiteral("sketch.png")));
}

void SaveTest::followsALink()
{
    openPhoto();
    put(path(QStringLiteral("real.png")), formerContent);
    QVERIFY(QFile::link(path(QStringLiteral("real.png")), path(QStringLiteral("link.png"))));
    saveAs(path(QStringLiteral("link.png")));
    QVERIFY(QFileInfo(path(QStringLiteral("link.png"))).isSymLink());
    QCOMPARE(QImage(path(QStringLiteral("real.png"))).size(), m_photo.size());
}

void SaveTest::fullDiskKeepsTheFormerFile_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("png") << QStringLiteral("sketch.png");
    QTest::newRow("jpg") << QStringLiteral("sketch.jpg");
}

// A limit on the size of files stands in for the full disk: the write fails.
void SaveTest::fullDiskKeepsTheFormerFile()
{
    QFETCH(QString, name);
    openPhoto();
    put(path(name), formerContent);
    dialogs::chooseNext(path(name));
    {
        const process::ResourceLimit limit(RLIMIT_FSIZE, 1000);
        MainWindowProbe::ui(*m_window).actionSave->trigger();
    }
    QCOMPARE(contentOf(path(name)), formerContent);
    QCOMPARE(files(), QStringList(name));
    QVERIFY(message().isEmpty());
}

void SaveTest::readOnlyFolder_data()
{
    QTest::addColumn<QFile::Permissions>("permissions");
    QTest::addColumn<bool>("written");
    QTest::newRow("a file for everybody") << QFile::Permissions(0x6666) << true;
    QTest::newRow("a file to be read") << QFile::Permissions(0x4444) << false;
}

// It takes no new file, but what is in it can be written to.
void SaveTest::readOnlyFolder()
{
    if (!process::OrdinaryUser::reaches(m_folder->path()))
        QSKIP("an ordinary user does not get to the temporary folder");
    QFETCH(QFile::Permissions, permissions);
    QFETCH(bool, written);
    openPhoto();
    const QString target = path(QStringLiteral("sketch.png"));
    put(target, formerContent);
    QVERIFY(QFile::setPermissions(target, permissions));
    QVERIFY(QFile::setPermissions(m_folder->path(), QFile::Permissions(0x5555)));
    {
        const process::OrdinaryUser user;
        saveAs(target);
    }
    QVERIFY(QFile::setPermissions(m_folder->path(),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    if (written)
        QCOMPARE(pictures::difference(QImage(target), m_photo), QString());
    else
        QCOMPARE(contentOf(target), formerContent);
    QCOMPARE(files(), QStringList(QStringLiteral("sketch.png")));
    QVERIFY(message().isEmpty());
    QCOMPARE(saveDirectory(), QDir(m_folder->path()).canonicalPath());
}

void SaveTest::readOnlyFileStays()
{
    if (!process::OrdinaryUser::reaches(m_folder->path()))
        QSKIP("an ordinary user does not get to the temporary folder");
    openPhoto();
    const QString target = path(QStringLiteral("sketch.png"));
    put(target, formerContent);
    QVERIFY(QFile::setPermissions(target, QFile::ReadOwner | QFile::ReadOther));
    QVERIFY(QFile::setPermissions(m_folder->path(), QFile::Permissions(0x7777)));
    {
        const process::OrdinaryUser user;
        saveAs(target);
    }
    QCOMPARE(contentOf(target), formerContent);
    QCOMPARE(files(), QStringList(QStringLiteral("sketch.png")));
    QVERIFY(message().isEmpty());
    QCOMPARE(saveDirectory(), QDir(m_folder->path()).canonicalPath());
}

void SaveTest::missingFolderForgetsTheDirectory()
{
    openPhoto();
    MainWindowProbe::settings(*m_window).setValue(QStringLiteral("CurrSaveDir"), m_folder->path());
    const QString target = path(QStringLiteral("gone/sketch.png"));
    // The dialog itself refuses such a path, so the folder goes while it is up.
    QVERIFY(QDir(m_folder->path()).mkdir(QStringLiteral("gone")));
    dialogs::whenFileDialogOpens([&](QFileDialog &dialog) {
        connect(&dialog, &QFileDialog::fileSelected, &dialog,
                [&] { QDir(m_folder->path()).rmdir(QStringLiteral("gone")); });
        dialogs::choose(dialog, target);
    });
    MainWindowProbe::ui(*m_window).actionSave->trigger();
    QVERIFY(!QFile::exists(target));
    QCOMPARE(saveDirectory(), QString());
    QVERIFY(message().isEmpty());
}

CRAYVELL_TEST_MAIN(SaveTest)
#include "tst_save.moc"
