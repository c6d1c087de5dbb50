#pragma once

#include "photo/decode/banddecoder.h"
#include "photo/jpegerrors.h"

namespace photo {

// Decodes a JPEG band by band, so that no more than a band is in memory; of a
// progressive one, its coefficients. Knows where a file is cut short, which the
// toolkit's reader passes over in silence.
class JpegDecoder : public BandDecoder
{
public:
    // The device must outlive the decoder and stand at the file's beginning.
    // Throws PhotoError where it holds no readable header.
    JpegDecoder(QIODevice &device, const DecodingOptions &options);
    ~JpegDecoder() override;
    JpegDecoder(const JpegDecoder &) = delete;
    JpegDecoder &operator=(const JpegDecoder &) = delete;

    QSize size() const override;
    qint64 memoryNeed() const override;
    void finish() override;

protected:
    void start() override;
    void decode(uchar *target, int count) override;

private:
    struct Source : jpeg_source_mgr
    {
        QIODevice *device = nullptr;
        std::vector<JOCTET> buffer;
    };

    static void startSource(j_decompress_ptr) { }
    static boolean refill(j_decompress_ptr decoder);
    static void skip(j_decompress_ptr decoder, long count);
    static void limitScans(j_common_ptr decoder);

    void connectSource(QIODevice &device);
    void readHeader();
    void decodeColours(uchar *target, int count);
    void decodeInks(uchar *target, int count);
    void checkDamage() const;

    jpeg_decompress_struct m_jpeg {};
    JpegErrors m_errors;
    jpeg_progress_mgr m_progress {};
    Source m_source {};
    bool m_allowTruncated;
    std::vector<JSAMPLE> m_inks; // one row of CMYK
};

} // namespace photo
