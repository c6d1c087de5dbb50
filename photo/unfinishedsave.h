#pragma once

#include <QByteArray>

#include <sys/stat.h>

class QSaveFile;

namespace photo {

// Finds and removes the temporary file of a QSaveFile whose commit() ran out of memory:
// that forgets it then (Qt 6.4). Only making one takes memory, as bad_alloc may tell;
// removing takes none.
class UnfinishedSave
{
    Q_DISABLE_COPY_MOVE(UnfinishedSave)

public:
    // Of an open file. fileName: as it was given to that.
    UnfinishedSave(const QSaveFile &file, const QString &fileName);
    ~UnfinishedSave();

    // Removes every name of the file in its folder but the one that it shall have. Without
    // /proc nothing is found.
    void remove() const noexcept;

private:
    bool isTemporary(const char *name) const noexcept;

    QByteArray m_finalName;
    QByteArray m_beginning; // of every temporary name
    struct stat m_status
    {
    };
    int m_folder = -1;
};

} // namespace photo
