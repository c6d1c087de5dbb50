#pragma once

#include <QImage>
#include <QStringList>

#include <vector>

#include "sketch/reference/edgebuffer.h"

// Edge buffers in tests.

using Edges = std::vector<unsigned char>;

inline Edges referenceEdges(const QImage &photo)
{
    Edges edges(static_cast<std::size_t>(photo.width()) * photo.height(), 0xa5);
    sketch::reference::edgeBuffer(photo, edges.data());
    return edges;
}

// The first places at which two edge buffers differ; empty when equal.
inline QString difference(const Edges &actual, const Edges &expected, int width)
{
    QStringList places;
    for (std::size_t i = 0; i < expected.size() && places.size() < 3; ++i) {
        if (actual[i] != expected[i]) {
            places += QStringLiteral("(%1, %2): %3 instead of %4")
                          .arg(i % width)
                          .arg(i / width)
                          .arg(actual[i])
                          .arg(expected[i]);
        }
    }
    return places.join(QStringLiteral("; "));
}

inline QImage uniform(int width, int height, QRgb colour)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}
