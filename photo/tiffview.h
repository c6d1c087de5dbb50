#pragma once

#include <QByteArray>
#include <QIODevice>

namespace photo {

// A TIFF as those see it who decode its picture: the same bytes, but in the first
// directory the tags that no picture needs have a small value of their own. Whoever
// opens a TIFF reads the values of all tags into memory, before anybody can ask for
// the picture's size: an editor's layers, or the same megabyte for each of a thousand
// tags. Classic and big files; anything else is shown as it is.
class TiffView : public QIODevice
{
public:
    // The file must be open, and outlive the view; its position may be anywhere.
    // Throws PhotoError where even the tags that a picture needs have values longer
    // than those of any photo.
    explicit TiffView(QIODevice &file);

    bool isSequential() const override { return false; }
    qint64 size() const override { return m_file.size(); }
    bool seek(qint64 position) override;

protected:
    qint64 readData(char *data, qint64 most) override;
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QIODevice &m_file;
    qint64 m_position = 0;
    qint64 m_directoryAt = 0;
    QByteArray m_directory; // the entries as they are shown
};

// Whether a file begins as a TIFF does, classic or big.
bool isTiff(const QByteArray &beginning);

} // namespace photo
