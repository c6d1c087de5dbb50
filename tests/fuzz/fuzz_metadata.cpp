#include <cstdint>

#include "photo/exif.h"
#include "photo/photoerror.h"
#include "tests/fuzz/application.h"
#include "tests/fuzz/memoryfile.h"

// A file's EXIF data alone, as they are made true of a sketch.
extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    startApplication();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t count)
{
    constexpr std::size_t capacity = 65'527; // of a JPEG
    const MemoryFile file(bytes, count);
    try {
        photo::PhotoInput input(file.name(), 0);
        for (const bool isUpright : {false, true}) {
            const photo::SketchExif exif =
                photo::exifForSketch(input, QSize(64, 48), isUpright, capacity);
            if (exif.block.size() > capacity)
                __builtin_trap();
        }
    } catch (const photo::PhotoError &) {
    }
    return 0;
}
