#pragma once

#include <QImage>
#include <QImageIOHandler>

#include <memory>

#include "photo/photoinput.h"

namespace photo {

// Gives a photo's pixels row by row, downwards, as its file holds them: not yet
// turned upright.
class PhotoDecoder
{
public:
    virtual ~PhotoDecoder() = default;

    // Known before any pixel is decoded; never empty.
    virtual QSize size() const = 0;
    // Bytes that decoding takes at its worst moment.
    virtual qint64 memoryNeed() const = 0;

    // Rows first to first + count - 1 as Format_RGB32 or Format_ARGB32, valid
    // until the next call. Between two calls, first may go back by no more than
    // four of the rows given last, and no row may be left out. Throws PhotoError.
    virtual QImage rows(int first, int count) = 0;
    // To be called after the last row. Throws PhotoError where the file turns
    // out to be damaged.
    virtual void finish() = 0;
};

// What a photo's file says about its picture as a whole.
struct PhotoHeader
{
    // What turns the stored pixels upright.
    QImageIOHandler::Transformations transformation;
    // Whether the format's reader knows of turned pictures at all. Where it does
    // not, the orientation tag still holds for the pixels given.
    bool knowsOrientation = false;
    // What the toolkit's reader would give.
    QImage::Format pixels = QImage::Format_Invalid;
};

struct DecodingOptions
{
    int bandRows; // the most rows asked for at a time
    bool allowTruncated;
};

// Chooses by content. The formats and pixels are those that the toolkit's image
// reader gives. Throws PhotoError for what is refused.
std::unique_ptr<PhotoDecoder> openPhoto(PhotoInput &input, const DecodingOptions &options,
                                        PhotoHeader &header);

} // namespace photo
