#pragma once

#include <QByteArray>

// One chunk with its length and checksum.
QByteArray pngChunk(const QByteArray &type, const QByteArray &data);

// The beginning of a PNG file as far as its header, which claims a size: what a
// decompression bomb looks like before it goes off.
QByteArray pngHeader(quint32 width, quint32 height, quint8 depth, quint8 colourType);

enum class PngText {
    Packed, // zTXt
    International, // iTXt, as it is
    InternationalPacked, // iTXt, compressed
};

// A file of one white pixel with so many copies of a text; those without one carry
// compressed texts that unpack to nearly 8 million bytes each.
QByteArray pngWithTexts(int count, PngText kind, const QByteArray &text);
QByteArray pngWithTexts(int count, PngText kind = PngText::Packed);

// A file of one white pixel whose last chunk is followed by whatever.
QByteArray pngFollowedBy(const QByteArray &rest);
