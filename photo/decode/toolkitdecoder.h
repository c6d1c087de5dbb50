#pragma once

#include <QImageReader>

#include "photo/decode/photodecoder.h"
#include "photo/photoformat.h"

namespace photo {

// Decodes everything else with the toolkit's reader, the whole picture at the
// first row.
class ToolkitDecoder : public PhotoDecoder
{
public:
    // The device must outlive the decoder and stand at the file's beginning.
    // Throws PhotoError where it holds no readable header, or where the file is
    // shorter than its header says and that is not allowed.
    ToolkitDecoder(QIODevice &device, const ContentKind &kind, const char *format,
                   const DecodingOptions &options);

    QSize size() const override { return m_size; }
    qint64 memoryNeed() const override;
    QImage rows(int first, int count) override;
    void finish() override { }

private:
    void decode();

    QImageReader m_reader;
    ContentKind m_kind;
    QSize m_size;
    qint64 m_besidePicture = 0; // bytes that the reader takes
    QImage m_picture;
    QImage m_band;
};

} // namespace photo
