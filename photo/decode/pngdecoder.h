#pragma once

#include <png.h>

#include "photo/decode/banddecoder.h"
#include "photo/errorjump.h"

namespace photo {

// Decodes a PNG band by band, to 8 bits a channel. Of an interlaced one, whose
// last rows complete its first, the whole picture is in memory, at 32 bits a pixel.
class PngDecoder : public BandDecoder
{
public:
    // The device must outlive the decoder and stand at the file's beginning.
    // Throws PhotoError where it holds no readable header, or where the file is
    // cut short and that is not allowed.
    PngDecoder(QIODevice &device, const DecodingOptions &options);

    QSize size() const override;
    qint64 memoryNeed() const override;
    void finish() override;

protected:
    void start() override;
    void decode(uchar *target, int count) override;

private:
    // libpng's, both given back together.
    struct Reader
    {
        Reader() = default;
        ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
        Reader(const Reader &) = delete;
        Reader &operator=(const Reader &) = delete;

        png_structp png = nullptr;
        png_infop info = nullptr;
    };

    [[noreturn]] static void onError(png_structp png, png_const_charp reason);
    static void onWarning(png_structp, png_const_charp) { }
    static void read(png_structp png, png_bytep target, std::size_t count);

    void skipTexts();
    bool isInterlaced() const;
    qint64 pictureBytes() const;
    void setUpPixels();
    void decodePicture();

    bool m_allowTruncated;
    ErrorJump m_errors;
    Reader m_reader;
    std::vector<uchar> m_picture; // of an interlaced file
    std::size_t m_given = 0; // bytes of it
};

} // namespace photo
