#pragma once

#include "photo/decode/banddecoder.h"
#include "photo/decode/tifffile.h"

namespace photo {

// Decodes the usual TIFF of red, green and blue, and those of more than 8 bits a
// channel, by bands of rows: the toolkit's reader keeps up to 128 bits a pixel,
// and whole strips beside, which may hold the whole picture.
class TiffDecoder : public BandDecoder
{
public:
    // Null where the file is of another kind. The format is the one that the
    // toolkit reads it as; the device must outlive the decoder.
    static std::unique_ptr<TiffDecoder> make(QIODevice &device, QImage::Format format,
                                             const DecodingOptions &options);

    QSize size() const override { return m_size; }
    qint64 memoryNeed() const override;
    void finish() override { }

protected:
    void start() override { }
    void decode(uchar *target, int count) override;

private:
    TiffDecoder(TiffFile file, QImage::Format rowFormat, const DecodingOptions &options);

    TiffFile m_file;
    QImage::Format m_rowFormat; // has the samples as the file has them
    bool m_hasSeparateAlpha; // colours are not multiplied by it
    QSize m_size;
    QImage m_pixels; // one row, as the file has it
    uint32_t m_row = 0; // the next one
};

} // namespace photo
