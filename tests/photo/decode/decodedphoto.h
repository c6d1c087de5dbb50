#pragma once

#include <QImageReader>
#include <QTemporaryDir>

#include <algorithm>

#include "photo/decode/photodecoder.h"
#include "photo/photoerror.h"
#include "tests/support/picturedifference.h"

constexpr int bandRows = 32; // asked for at a time

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
        photo::PhotoInput input(m_name.toStdString(), 0);
        photo::PhotoHeader header;
        const auto decoder = photo::openPhoto(input, {bandRows, false}, header);
        return dynamic_cast<const Decoder *>(decoder.get()) != nullptr;
    }

    // In bands that overlap by as many rows as an edge value looks at. A null
    // picture where the decoder refuses the photo; reason() then says why.
    QImage byDecoder(bool allowTruncated = false)
    {
        try {
            photo::PhotoInput input(m_name.toStdString(), 0);
            photo::PhotoHeader header;
            const auto decoder = photo::openPhoto(input, {bandRows, allowTruncated}, header);
            return allRows(*decoder);
        } catch (const photo::PhotoError &error) {
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
    static QImage allRows(photo::PhotoDecoder &decoder)
    {
        constexpr int overlap = 4;
        QImage picture(decoder.size(), QImage::Format_ARGB32);
        const int height = picture.height();
        for (int first = 0, end = 0; end < height; first = end - overlap) {
            end = std::min(height, first + bandRows);
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
