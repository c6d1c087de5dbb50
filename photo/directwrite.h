#pragma once

#include <QByteArray>
#include <QString>

namespace photo {

// Brings a file's content to its disk. False where that failed; a file that cannot be
// synchronised, as a pipe, counts as done. Sets errno.
bool synchronise(int descriptor);

// Writes to what is there under a name, where no new file can take its place: a
// file in a folder that takes none, a pipe, a device. Never makes a file. A file
// keeps its former content where the file system can tell beforehand that the new
// one does not fit; a pipe that nobody reads, or whose reader stops for seconds, is
// given up. True when everything was written.
bool writeDirectly(const QString &fileName, const QByteArray &content);

} // namespace photo
