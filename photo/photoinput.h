#pragma once

#include <QByteArray>
#include <QIODevice>

#include <ctime>
#include <memory>
#include <string>

namespace photo {

class PhotoDevice;

// One photo's bytes, open for reading from their beginning. Whatever reads a photo
// reads it through this one descriptor; its name is not opened again.
class PhotoInput
{
public:
    // A regular file, or standard input for "-", which is read to its end and
    // refused beyond mostBytes. Throws PhotoError.
    PhotoInput(const std::string &name, qint64 mostBytes);
    ~PhotoInput();
    PhotoInput(const PhotoInput &) = delete;
    PhotoInput &operator=(const PhotoInput &) = delete;

    QIODevice &device() { return *m_device; }
    // The same for who decodes the picture: of a TIFF without the values that no
    // picture needs. Throws PhotoError where the needed ones are those of no photo.
    QIODevice &pictureDevice();
    const std::string &name() const { return m_name; }
    bool isStandardInput() const { return m_name == "-"; }
    // All bytes, of standard input only.
    const QByteArray &buffered() const { return m_bytes; }
    const timespec &accessTime() const { return m_access; }
    const timespec &modificationTime() const { return m_modification; }

    // Throws PhotoError where a read has failed since the opening, or where the
    // file's size or time has become another: what was read may be of no picture.
    void checkUnchanged() const;

private:
    void openFile();
    void readStandardInput(qint64 mostBytes);

    std::string m_name;
    QByteArray m_bytes;
    std::unique_ptr<QIODevice> m_device;
    std::unique_ptr<QIODevice> m_view; // of that one, where another is needed
    const PhotoDevice *m_file = nullptr; // the device, where it is a file
    timespec m_access {};
    timespec m_modification {};
};

} // namespace photo
