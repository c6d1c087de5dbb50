#pragma once

#include <QIODevice>

#include <sys/stat.h>

namespace photo {

// The bytes of a regular file from one descriptor, for every library that reads
// them. Never mapped into memory: a file that somebody cuts meanwhile would end the
// program. Remembers what went wrong, which not every library tells.
class PhotoDevice : public QIODevice
{
public:
    // Takes the descriptor and closes it; status is the file's at its opening.
    PhotoDevice(int descriptor, const struct stat &status);
    ~PhotoDevice() override;

    bool isSequential() const override { return false; }
    qint64 size() const override { return m_status.st_size; }
    bool seek(qint64 position) override;

    const struct stat &status() const { return m_status; }
    // The system's number of the first error of a read; 0 for none.
    int readError() const { return m_readError; }
    // Whether the file has another size or time than at its opening.
    bool hasChanged() const;

protected:
    qint64 readData(char *data, qint64 most) override;
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    int m_descriptor;
    struct stat m_status;
    qint64 m_position = 0;
    int m_readError = 0;
};

} // namespace photo
