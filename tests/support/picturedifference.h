#pragma once

#include <QByteArray>
#include <QImage>

// The first pixel that differs, in words; empty when the pictures are equal.
inline QByteArray difference(const QImage &actual, const QImage &expected)
{
    if (actual.size() != expected.size()) {
        return "size " + QByteArray::number(actual.width()) + " x "
            + QByteArray::number(actual.height());
    }
    for (int y = 0; y < actual.height(); ++y) {
        for (int x = 0; x < actual.width(); ++x) {
            if (actual.pixel(x, y) == expected.pixel(x, y))
                continue;
            return "x " + QByteArray::number(x) + " y " + QByteArray::number(y) + ": "
                + QByteArray::number(actual.pixel(x, y), 16) + " instead of "
                + QByteArray::number(expected.pixel(x, y), 16);
        }
    }
    return {};
}
