#include <QCoreApplication>
#include <QFile>

#include <dlfcn.h>

#include "photo/photofile.h"
#include "tests/support/testphotos.h"

// Saves a small sketch as the window does. Exit code 0 where the save succeeds, 1 where
// it says that it does not; calls count for nthcall.cpp from its beginning.
int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QImage sketch = testphotos::scene(16, 16).convertToFormat(QImage::Format_ARGB32);
    const QString target = QFile::decodeName(argv[1]);
    if (void *const start = dlsym(RTLD_DEFAULT, "startCountingCalls"))
        reinterpret_cast<void (*)()>(start)();
    return photo::writeSketch(sketch, target) ? 0 : 1;
}
