#pragma once

#include <QImage>
#include <QString>

namespace photo {

struct Photo
{
    QImage image; // Format_ARGB32, device pixel ratio 1; null when there is no photo
    bool isOpaque = false; // the file knows no transparency: every alpha is 255
};

// The photo in a file, upright. The format is detected from the content. Null
// when the file is missing, is no regular file, cannot be decoded, or when
// showing and processing its picture would need more memory than
// availableMemory(); in that last case its pixels are never allocated.
Photo readPhoto(const QString &fileName);

// Writes the sketch in the format that the suffix names, at quality 100. True
// when the file holds the complete picture; otherwise a file that was there is
// unchanged and no other file is left behind. A pipe, a device, and a file whose
// folder lets no new one take its place are written to, see writeDirectly().
bool writeSketch(const QImage &sketch, const QString &fileName);

// The directory of an existing file, absolute and with links resolved; empty
// when the file does not exist.
QString canonicalDirectory(const QString &fileName);

} // namespace photo
