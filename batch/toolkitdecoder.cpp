#include "batch/toolkitdecoder.h"

#include "batch/completeness.h"
#include "batch/photoerror.h"

ToolkitDecoder::ToolkitDecoder(QIODevice &device, const ContentKind &kind, const char *format,
                               const DecodingOptions &options)
    : m_reader(&device, format)
    , m_format(kind.name)
{
    m_reader.setDecideFormatFromContent(false);
    m_reader.setAutoTransform(false);
    if (!options.allowTruncated && isCutShort(device, kind.format))
        throw PhotoError("is truncated");
    m_size = m_reader.size();
    if (m_size.isEmpty())
        throw PhotoError("is a damaged " + m_format);
}

qint64 ToolkitDecoder::memoryNeed() const
{
    // Formats that do not tell, and the indexed ones, have at most 32 bits.
    const QImage::Format format = m_reader.imageFormat();
    const int bits = std::max(32, QImage::toPixelFormat(format).bitsPerPixel() + 0);
    return qint64(m_size.width()) * m_size.height() * (bits / 8);
}

void ToolkitDecoder::decode()
{
    m_picture = m_reader.read();
    if (m_picture.isNull())
        throw PhotoError("cannot be decoded: " + m_reader.errorString().toStdString());
    if (m_picture.size() != m_size)
        throw PhotoError("is a damaged " + m_format);
}

QImage ToolkitDecoder::rows(int first, int count)
{
    if (m_picture.isNull())
        decode();
    const QImage view(m_picture.constScanLine(first), m_picture.width(), count,
                      m_picture.bytesPerLine(), m_picture.format());
    if (m_picture.format() == QImage::Format_RGB32 || m_picture.format() == QImage::Format_ARGB32)
        return view;
    QImage band = view;
    band.setColorTable(m_picture.colorTable());
    m_band = band.convertToFormat(QImage::Format_ARGB32);
    return m_band;
}
