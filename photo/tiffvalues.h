#pragma once

#include <QIODevice>

namespace photo {

// The bytes that the values of all tags of a TIFF's first directory have outside it,
// as far as they lie within the file; a value that several tags share counts for each.
// Classic and big files; 0 for anything else. The device must stand at the file's
// beginning and is put back there.
qint64 tiffValueBytes(QIODevice &device);

} // namespace photo
