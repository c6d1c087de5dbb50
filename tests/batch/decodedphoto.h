#pragma once

#include <QImageReader>
#include <QTemporaryDir>

#include <algorithm>

#include "batch/bandsketcher.h"
#include "batch/photodecoder.h"
#include "batch/photoerror.h"
#include "tests/batch/picturedifference.h"

// One file's pixels, as its decoder gives them and as the toolkit does.
class DecodedPhoto
{
public:
    explicit DecodedPhoto(const QByteArray &bytes)
        : m_name(m_folder.filePath("photo"))
    {
        QFile file(m_name);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("the photo cannot be written");
    }

    // Whether openPhoto() chooses this decoder. Throws PhotoError.
    template <typename Decoder> bool isDecodedBy() const
    {
        PhotoInput input(m_name.toStdString(), 0);
        PhotoHeader header;
        const auto decoder = openPhoto(input, {sketchBandRows, false}, header);
        return dynamic_cast<const Decoder *>(decoder.get()) != nullptr;
    }

    // In bands that overlap by as many rows as those of sketchRows(). A null
    // picture where the decoder refuses the photo; reason() then says why.
    QImage byDecoder(bool allowTruncated = false)
    {
        try {
            PhotoInput input(m_name.toStdString(), 0);
            PhotoHeader header;
            const auto decoder = openPhoto(input, {sketchBandRows, allowTruncated}, header);
            return allRows(*decoder);
        } catch (const PhotoError &error) {
            m_reason = error.what();
            return {};
        }
    }
    QByteArray reason() const { return m_reason; }

    QImage byToolkit() const
    {
        QImageReader reader(m_name);
        reader.setDecideFormatFromContent(true);
        return reader.read().convertToFormat(QImage::Format_ARGB32);
    }

private:
    static QImage allRows(PhotoDecoder &decoder)
    {
        constexpr int overlap = 4;
        QImage picture(decoder.size(), QImage::Format_ARGB32);
        const int height = picture.height();
        for (int first = 0, end = 0; end < height; first = end - overlap) {
            end = std::min(height, first + sketchBandRows);
            const QImage band =
                decoder.rows(first, end - first).convertToFormat(QImage::Format_ARGB32);
            for (int y = first; y < end; ++y)
                std::copy_n(band.constScanLine(y - first), picture.bytesPerLine(),
                            picture.scanLine(y));
        }
        decoder.finish();
        return picture;
    }

    QTemporaryDir m_folder;
    QString m_name;
    QByteArray m_reason;
};

// Compares the two ways of reading one.
#define COMPARE_WITH_TOOLKIT(photo) \
    do { \
        const QImage expected = (photo).byToolkit(); \
        QVERIFY2(!expected.isNull(), "the toolkit cannot read this photo"); \
        const QImage actual = (photo).byDecoder(); \
        QVERIFY2(!actual.isNull(), (photo).reason().constData()); \
        const QByteArray wrong = difference(actual, expected); \
        QVERIFY2(wrong.isEmpty(), wrong.constData()); \
    } while (false)
