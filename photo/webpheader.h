#pragma once

#include <QIODevice>
#include <QSize>

namespace photo {

// What a WebP says about its picture before anything is decoded.
struct WebPHeader
{
    QSize size; // empty where the file holds no readable header
    bool isAnimated = false;
    bool isLossy = false; // a still one that surely has no other pixels
};

// The device must stand at the file's beginning and is put back there.
WebPHeader readWebPHeader(QIODevice &device);

// Bytes a pixel that the library takes for decoding besides the picture that it
// gives: two canvases for an animation, a picture of its own for what is lossless
// or may be.
qint64 webPWorkBytes(const WebPHeader &header);

} // namespace photo
