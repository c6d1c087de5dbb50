#include <QCoreApplication>
#include <QFile>

#include <dlfcn.h>

#include "photo/photofile.h"
#include "photo/systemmessages.h"
#include "tests/support/testphotos.h"

namespace {

void callInterposer(const char *function)
{
    if (void *const found = dlsym(RTLD_DEFAULT, function))
        reinterpret_cast<void (*)()>(found)();
}

} // namespace

// Saves a sketch of so many pixels a side, the second argument, as the window does. Exit code 0
// where the save succeeds, 1 where it says that it does not; for nthcall.cpp calls count from its
// beginning to its end.
int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    photo::openSystemMessages();
    const int side = QByteArray(argv[2]).toInt();
    const QImage sketch = testphotos::scene(side, side).convertToFormat(QImage::Format_ARGB32);
    const QString target = QFile::decodeName(argv[1]);
    // Readers and writers of pictures are known to a window that shows a photo.
    const QString opened = target + QStringLiteral(".photo.jpg");
    if (!sketch.save(opened) || photo::readPhoto(opened).image.isNull() || !QFile::remove(opened))
        return 2;
    callInterposer("startCountingCalls");
    const bool isSaved = photo::writeSketch(sketch, target);
    callInterposer("stopCountingCalls"); // a window goes on here
    return isSaved ? 0 : 1;
}
