#include <QApplication>

#include <cstdio>

#include "tests/app/mainwindowprobe.h"
#include "tests/support/dialogs.h"
#include "tests/support/pictures.h"

// A window that opens a photo, makes its sketch and saves that as the named file:
// "saving" on standard output when its dialog is accepted, and "saved" behind that.
int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    if (argc != 2)
        return 2;
    const QString target = QFile::decodeName(argv[1]);
    const QString photo = target + QStringLiteral(".photo.png");
    if (!pictures::scene(600, 400).save(photo))
        return 1;
    MainWindow window;
    window.show();
    MainWindowProbe::open(window, photo);
    MainWindowProbe::ui(window).actionProcess->trigger();
    QApplication::processEvents();
    dialogs::chooseNext(target);
    const auto tell = [](const char *what) {
        std::puts(what);
        std::fflush(stdout);
    };
    QTimer accepted;
    QObject::connect(&accepted, &QTimer::timeout, &accepted, [&] {
        const auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        accepted.stop();
        QObject::connect(dialog, &QFileDialog::accepted, dialog, [&] { tell("saving"); });
    });
    accepted.start(0);
    MainWindowProbe::ui(window).actionSave->trigger();
    tell("saved");
    return 0;
}
