#pragma once

#include <QByteArray>
#include <QList>

// EXIF data made entry by entry, as no library would write them.
namespace exiffile {

struct Entry
{
    quint16 tag;
    quint16 type; // 1 byte, 2 text, 3 short, 4 long, 5 ratio, 7 undefined, 9 signed long, ...
    QByteArray value; // as it is in the file
    // Lies where the value of the entry before does.
    bool isShared = false;
};

Entry text(quint16 tag, const QByteArray &letters);
Entry number(quint16 tag, quint32 value);
Entry bytes(quint16 tag, const QByteArray &value);

struct Data
{
    QList<Entry> image; // the first directory
    QList<Entry> photo; // the one it points to
    bool isBigEndian = false;
    bool isBigTiff = false;
    qsizetype gap = 0; // between the directories and their values
};

// Where the directories end: there lies the first value that does not fit into its
// entry, unless there is a gap.
qsizetype directoriesEnd(const Data &data);
// As a structure with directories in front, values behind.
QByteArray block(const Data &data);
// As such a directory within a maker's note, its values at offsets from a base.
QByteArray directory(const QList<Entry> &entries, quint32 begin, bool isBigEndian = false);

// With the date that a photo was taken.
Data dated(const QByteArray &date);
// With many entries whose values, of so many bytes each, are the same ones.
Data overlapping(int entries, int valueBytes);

// A file of one kind with a block of EXIF data. Nothing else about it is special.
QByteArray jpeg(const QByteArray &block);
QByteArray png(const QByteArray &block);
QByteArray webp(const QByteArray &block);
// With the grey pixels between the directories and their values.
QByteArray tiff(Data data, int width = 64, int height = 48);
// A PNG with a chunk between the header and the pixels.
QByteArray pngWithChunk(const QByteArray &type, const QByteArray &data);
// A profile as a PNG's text has it: its digits behind a name and a count.
QByteArray profileText(const QByteArray &bytes);
QByteArray packed(const QByteArray &bytes);

} // namespace exiffile
