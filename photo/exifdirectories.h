#pragma once

#include <QIODevice>

#include <array>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include "photo/exif.h"

namespace photo {

// Why EXIF data, or a part of them, cannot be kept, as the end of a sentence.
class ExifError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// More than any camera writes.
constexpr qint64 mostExifBytes = 4 << 20;

// One tag's entry in a directory.
struct ExifEntry
{
    uint16_t tag;
    uint16_t type;
    uint32_t count;
    uint64_t bytes; // of the value
    // Where the value begins, and the value itself where it lies in the entry.
    uint64_t offset;
    std::array<char, 8> field;

    bool isInline(std::size_t fieldBytes) const { return bytes <= fieldBytes; }
};

// The directories that EXIF data consist of. Their entries are those that are true
// of a copy, too: nothing about thumbnails, the layout of the pixels and what
// belongs to these, and no pointers from one directory to another.
struct ExifDirectories
{
    bool isBigEndian = false;
    std::vector<ExifEntry> image;
    std::vector<ExifEntry> photo;
    std::vector<ExifEntry> gps;
    std::vector<ExifEntry> interoperability;
    // Whether entries were passed over because they point outside or are unknown.
    bool isPartial = false;

    bool isEmpty() const;
};

// Reads the directories of a TIFF structure, classic or big, from a device that
// has it from its beginning. No value is read. Throws ExifError for what is
// damaged, goes in circles, holds more than is announced here, or has one value
// lie on another, by which a small file makes a large one in memory.
ExifDirectories readExifDirectories(QIODevice &device);

// Bytes of the values of all entries.
uint64_t valueBytes(const ExifDirectories &directories);

// Appends the directories to a classic TIFF structure that has their values at
// the offsets that the entries tell, and lets its header point to them.
void appendExifDirectories(ExifBlock &block, const ExifDirectories &directories);

// An entry with the data of a camera's maker, in a form that only he knows.
bool isMakerNote(const ExifEntry &entry);

} // namespace photo
