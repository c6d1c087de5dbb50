#pragma once

#include <QByteArray>

#include <array>
#include <climits>

#include <sys/stat.h>

class QSaveFile;

namespace photo {

// Finds and removes the temporary file of a QSaveFile whose commit() ran out of memory:
// that forgets it then (Qt 6.4). Making one may take memory; removing takes none.
class UnfinishedSave
{
    Q_DISABLE_COPY_MOVE(UnfinishedSave)

public:
    // Of an open file. fileName: as it was given to that.
    UnfinishedSave(const QSaveFile &file, const QString &fileName);
    ~UnfinishedSave();

    // Removes every name that the file has in its folder, unless it has got the one that it
    // shall have. In a folder that cannot be read only the name that the file had when this
    // was made, which /proc tells.
    void remove() const noexcept;

private:
    void findFolder(int descriptor);
    void openFolder(const char *folder);
    bool isIt(const struct stat &status) const noexcept;
    void removeName(const char *name) const noexcept;

    QByteArray m_finalName; // with its folder
    struct stat m_status
    {
    };
    std::array<char, PATH_MAX> m_path {}; // of the folder, and behind its end:
    const char *m_name = ""; // the file's, if it has one
    int m_folder = -1;
};

} // namespace photo
