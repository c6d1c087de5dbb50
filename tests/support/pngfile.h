#pragma once

#include <QByteArray>

// The beginning of a PNG file as far as its header, which claims a size: what a
// decompression bomb looks like before it goes off.
QByteArray pngHeader(quint32 width, quint32 height, quint8 depth, quint8 colourType);

// A file of one white pixel with so many compressed texts, each of which unpacks
// to nearly 8 million bytes.
QByteArray pngWithTexts(int count);
