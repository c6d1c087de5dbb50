#include <QImageReader>

#include <cstdint>
#include <fcntl.h>
#include <unistd.h>

#include "batch/sketchjob.h"
#include "tests/fuzz/application.h"
#include "tests/fuzz/memoryfile.h"

namespace {

constexpr qint64 memory = 64 << 20;

void sketch(const MemoryFile &file, batch::OutputFormat format, bool allowTruncated)
{
    batch::Options options;
    options.jobs = 1;
    options.maximumMemory = memory;
    options.format = format;
    options.allowTruncated = allowTruncated;
    batch::PlannedPhoto photo;
    photo.input = file.name();
    photo.output = "-";
    batch::MemoryGate gate(memory);
    batch::IdleThreads threads(0);
    const batch::PhotoResult result = batch::sketchPhoto(photo, options, gate, threads);
    if (result.status == batch::Status::Failed && result.reason.empty())
        __builtin_trap(); // fails without a word
}

} // namespace

// A file on the album's way: opened, decoded by bands, sketched, encoded, with its EXIF data.
extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    startApplication();
    QImageReader::setAllocationLimit(memory >> 20);
    // The pictures go to standard output, and from there nowhere.
    dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t count)
{
    const MemoryFile file(bytes, count);
    sketch(file, batch::OutputFormat::Jpeg, false);
    sketch(file, batch::OutputFormat::Png, true);
    return 0;
}
