#pragma once

#include <QBuffer>
#include <QFile>

#include <ctime>
#include <memory>
#include <string>

namespace photo {

// One photo's bytes, open for reading from their beginning.
class PhotoInput
{
public:
    // A regular file, or standard input for "-", which is read to its end and
    // refused beyond mostBytes. Throws PhotoError.
    PhotoInput(const std::string &name, qint64 mostBytes);

    QIODevice &device() { return *m_device; }
    const std::string &name() const { return m_name; }
    bool isStandardInput() const { return m_name == "-"; }
    // All bytes, of standard input only.
    const QByteArray &buffered() const { return m_bytes; }
    const timespec &accessTime() const { return m_access; }
    const timespec &modificationTime() const { return m_modification; }

private:
    void openFile();
    void readStandardInput(qint64 mostBytes);

    std::string m_name;
    QByteArray m_bytes;
    std::unique_ptr<QIODevice> m_device;
    timespec m_access {};
    timespec m_modification {};
};

} // namespace photo
