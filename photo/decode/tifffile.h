#pragma once

#include <QtGlobal>

#include <memory>

#include <tiffio.h>

class QIODevice;

namespace photo {

struct TiffClosing
{
    void operator()(TIFF *tiff) const { TIFFClose(tiff); }
};
using TiffFile = std::unique_ptr<TIFF, TiffClosing>;

// Opens the first picture of a TIFF for reading, without a word on standard error.
// Null where there is none. The device must outlive the file.
TiffFile openTiff(QIODevice &device);

// The memory that the values of its tags take beside the picture, here and in the
// toolkit's reader.
qint64 heldValueBytes(TIFF *tiff);

// The most bytes that one of its strips or tiles has, as it is in the file.
qint64 largestStripInFile(TIFF *tiff);

// A tag's value, or the one that holds where a file does not have it.
template <typename Value> Value tiffValue(TIFF *tiff, uint32_t tag)
{
    Value value = 0;
    TIFFGetFieldDefaulted(tiff, tag, &value);
    return value;
}

} // namespace photo
