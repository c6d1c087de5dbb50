#include "photo/decode/tifffile.h"

#include <QIODevice>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <new>

namespace photo {

namespace {

tmsize_t readBytes(thandle_t handle, void *target, tmsize_t count)
{
    return static_cast<QIODevice *>(handle)->read(static_cast<char *>(target), count);
}

tmsize_t writeBytes(thandle_t, void *, tmsize_t)
{
    return -1;
}

toff_t seek(thandle_t handle, toff_t offset, int origin)
{
    auto *const device = static_cast<QIODevice *>(handle);
    auto position = static_cast<qint64>(offset);
    if (origin == SEEK_CUR)
        position += device->pos();
    else if (origin == SEEK_END)
        position += device->size();
    return device->seek(position) ? static_cast<toff_t>(position) : static_cast<toff_t>(-1);
}

int keepOpen(thandle_t)
{
    return 0;
}

toff_t size(thandle_t handle)
{
    return static_cast<toff_t>(static_cast<QIODevice *>(handle)->size());
}

int dropMessage(TIFF *, void *, const char *, const char *, va_list)
{
    return 1; // nobody else is to be told
}

} // namespace

TiffFile openTiff(QIODevice &device)
{
    TIFFOpenOptions *const options = TIFFOpenOptionsAlloc();
    if (!options)
        throw std::bad_alloc();
    TIFFOpenOptionsSetErrorHandlerExtR(options, dropMessage, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options, dropMessage, nullptr);
    device.seek(0);
    TiffFile file(TIFFClientOpenExt("", "rm", &device, readBytes, writeBytes, seek, keepOpen, size,
                                    nullptr, nullptr, options));
    TIFFOpenOptionsFree(options);
    return file;
}

qint64 heldValueBytes(TIFF *tiff)
{
    // Where the strips are and how long: two numbers of 64 bits each, twice while they
    // are read, here and before that by the toolkit.
    constexpr qint64 stripBytes = 64;
    const uint32_t count = TIFFIsTiled(tiff) ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
    uint32_t profileBytes = 0;
    const void *profile = nullptr;
    if (!TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &profileBytes, &profile))
        profileBytes = 0;
    return stripBytes * count + qint64(3) * profileBytes;
}

qint64 largestStripInFile(TIFF *tiff)
{
    uint64_t largest = 0;
    const uint32_t count = TIFFIsTiled(tiff) ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
    for (uint32_t strip = 0; strip < count; ++strip)
        largest = std::max(largest, TIFFGetStrileByteCount(tiff, strip));
    const uint64_t fileSize = TIFFGetSizeProc(tiff)(TIFFClientdata(tiff));
    return static_cast<qint64>(std::min(largest, fileSize));
}

} // namespace photo
