#pragma once

#include "batch/jpegbasis.h"
#include "batch/photodecoder.h"

// Decodes a JPEG band by band, so that no more than a band is in memory; of a
// progressive one, its coefficients. Knows where a file is cut short, which the
// toolkit's reader passes over in silence.
class JpegDecoder : public PhotoDecoder
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
    QImage rows(int first, int count) override;
    void finish() override;

private:
    struct Source : jpeg_source_mgr
    {
        QIODevice *device = nullptr;
        std::vector<JOCTET> buffer;
        bool ended = false;
    };

    static void startSource(j_decompress_ptr) { }
    static boolean refill(j_decompress_ptr decoder);
    static void skip(j_decompress_ptr decoder, long count);
    static void limitScans(j_common_ptr decoder);

    void connectSource(QIODevice &device);
    void readHeader();
    void start();
    void keepOverlap(int first);
    void decodeInto(uchar *target, int count);
    void decodeInks(uchar *target, int count);
    void checkDamage() const;

    jpeg_decompress_struct m_jpeg {};
    JpegErrors m_errors;
    jpeg_progress_mgr m_progress {};
    Source m_source {};
    bool m_allowTruncated;
    bool m_started = false;
    int m_bandRows;
    int m_bandFirst = 0; // the picture's row that is the band's first
    int m_bandCount = 0; // rows in the band
    std::vector<uchar> m_band; // 32 bits a pixel
    std::vector<JSAMPLE> m_inks; // one row of CMYK
};
