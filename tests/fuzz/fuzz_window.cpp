#include <QImageReader>

#include <cstdint>

#include "photo/announcedpicture.h"
#include "photo/photoerror.h"
#include "photo/photofile.h"
#include "photo/photoformat.h"
#include "photo/photoinput.h"
#include "tests/fuzz/application.h"
#include "tests/fuzz/memoryfile.h"

namespace {

// The window takes what fits into the machine; here only what takes no time.
bool announcesMuch(const std::string &name)
{
    constexpr qint64 mostPixels = 1 << 20;
    try {
        photo::PhotoInput input(name, 0);
        QIODevice &device = input.pictureDevice();
        const photo::PhotoFormat format =
            photo::contentKind(device.peek(photo::contentProbe), {}).format;
        QImageReader reader(&device);
        const QSize size = photo::announcedSize(device, format, reader);
        return qint64(size.width()) * size.height() > mostPixels;
    } catch (const photo::PhotoError &) {
        return false;
    }
}

} // namespace

// A file that is opened in the window.
extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    startApplication();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t count)
{
    const MemoryFile file(bytes, count);
    if (announcesMuch(file.name()))
        return 0;
    const photo::Photo photo = photo::readPhoto(QString::fromStdString(file.name()));
    if (!photo.image.isNull() && photo.image.format() != QImage::Format_ARGB32)
        __builtin_trap(); // nothing else is promised
    return 0;
}
