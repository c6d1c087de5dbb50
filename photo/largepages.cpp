#include "photo/largepages.h"

#include <cstdint>

#include <sys/mman.h>
#include <unistd.h>

namespace photo {

void preferLargePages(void *memory, std::size_t bytes)
{
    constexpr std::size_t worthwhile = 4 << 20; // two large pages on most machines
    if (bytes < worthwhile)
        return;
    const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto start = reinterpret_cast<std::uintptr_t>(memory);
    const std::uintptr_t firstPage = (start + pageSize - 1) / pageSize * pageSize;
    const std::size_t wholePages = (start + bytes - firstPage) / pageSize * pageSize;
    // A refusal leaves ordinary pages, which are only slower.
    madvise(static_cast<char *>(memory) + (firstPage - start), wholePages, MADV_HUGEPAGE);
}

QImage largeImage(QSize size, QImage::Format format)
{
    QImage image(size, format);
    if (!image.isNull())
        preferLargePages(image.bits(), static_cast<std::size_t>(image.sizeInBytes()));
    return image;
}

} // namespace photo
