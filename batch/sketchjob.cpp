#include "batch/sketchjob.h"

#include <QElapsedTimer>
#include <QTransform>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <new>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

#include "batch/atomicfile.h"
#include "batch/bands.h"
#include "batch/cli/standardstreams.h"
#include "batch/outputerrors.h"
#include "batch/sketchrows.h"
#include "photo/encode/sketchencoder.h"
#include "photo/exif.h"
#include "photo/memorybudget.h"

namespace batch {

namespace {

// A picture for standard output, which must not be begun before it is complete.
// Kept in pieces: one piece that grows would be there twice when it is moved.
class StandardOutput : public photo::ByteSink
{
public:
    void write(const unsigned char *bytes, std::size_t count) override
    {
        while (count > 0) {
            if (m_pieces.empty() || m_pieces.back().size() == pieceSize) {
                m_pieces.emplace_back();
                m_pieces.back().reserve(pieceSize);
            }
            std::vector<unsigned char> &piece = m_pieces.back();
            const std::size_t fitting = std::min(count, pieceSize - piece.size());
            piece.insert(piece.end(), bytes, bytes + fitting);
            bytes += fitting;
            count -= fitting;
        }
    }
    void flush() const
    {
        for (const std::vector<unsigned char> &piece : m_pieces) {
            if (!writeFully(STDOUT_FILENO, piece.data(), piece.size()))
                throw photo::PhotoError(std::string("cannot write the output: ")
                                        + std::strerror(errno));
        }
    }

private:
    static constexpr std::size_t pieceSize = 64 << 10;
    std::deque<std::vector<unsigned char>> m_pieces;
};

// What the toolkit does to a picture so that it stands upright.
QImage upright(QImage picture, QImageIOHandler::Transformations transformation)
{
    const bool mirror = transformation.testFlag(QImageIOHandler::TransformationMirror);
    const bool flip = transformation.testFlag(QImageIOHandler::TransformationFlip);
    if (mirror || flip)
        picture = std::move(picture).mirrored(mirror, flip);
    if (transformation.testFlag(QImageIOHandler::TransformationRotate90))
        picture = picture.transformed(QTransform().rotate(90));
    return picture;
}

class SketchJob
{
public:
    SketchJob(const PlannedPhoto &photo, const Options &options, MemoryGate &memory,
              IdleThreads &threads, PhotoResult &result)
        : m_photo(photo)
        , m_options(options)
        , m_memory(memory)
        , m_threads(threads)
        , m_result(result)
        , m_input(photo.input, memory.capacity())
        , m_decoder(photo::openPhoto(m_input, {bandRows, options.allowTruncated}, m_header))
    {
        m_size = m_decoder->size();
        if (m_header.transformation.testFlag(QImageIOHandler::TransformationRotate90))
            m_size.transpose();
        result.size = m_size;
        readExif(); // before what it takes is announced
    }

    void run()
    {
        const MemoryGate::Share share(m_memory, checkedNeed());
        QElapsedTimer clock;
        clock.start();
        try {
            if (m_photo.output == "-")
                writeStandardOutput();
            else
                writeFile();
        } catch (const photo::PhotoError &) {
            m_input.checkUnchanged(); // may know the reason behind that one
            throw;
        }
        m_result.milliseconds = clock.elapsed();
    }

private:
    photo::SketchFormat sketchFormat() const
    {
        return *m_options.format == OutputFormat::Png ? photo::SketchFormat::Png
                                                      : photo::SketchFormat::Jpeg;
    }
    bool isTurned() const { return m_header.transformation != QImageIOHandler::TransformationNone; }

    qint64 need() const
    {
        const qint64 pixels = photo::sizeProduct({m_size.width(), m_size.height()});
        const qint64 decoding = m_decoder->memoryNeed()
            + sketchRowsNeed(m_decoder->size().width(), m_options.jobs != 1);
        const qint64 encoding = photo::encoderNeed(sketchFormat(), m_size);
        const qint64 work =
            isTurned() ? std::max(decoding + pixels, 2 * pixels + encoding) : decoding + encoding;
        // A JPEG of the greatest quality takes nearly two bytes for a pixel of noise.
        const qint64 bufferedBytes = *m_options.format == OutputFormat::Jpeg ? 2 : 1;
        const qint64 buffered = m_photo.output == "-" ? bufferedBytes * pixels : 0;
        return work + buffered + m_input.buffered().size() + static_cast<qint64>(m_exif.size());
    }

    qint64 checkedNeed() const
    {
        const qint64 bytes = need();
        if (bytes <= m_memory.capacity())
            return bytes;
        const bool isShared = m_memory.capacity() < m_options.maximumMemory;
        throw photo::PhotoError(
            "is " + std::to_string(m_size.width()) + " x " + std::to_string(m_size.height())
            + " pixels and needs " + (bytes < photo::beyondMemory ? "" : "over ")
            + std::to_string((std::min(bytes, photo::beyondMemory) >> 20) + 1)
            + " MB, more than the " + std::to_string(m_memory.capacity() >> 20)
            + " MB that --max-memory allows" + (isShared ? " beside the list of photos" : ""));
    }

    void readExif()
    {
        if (m_options.stripMetadata)
            return;
        photo::SketchExif found = photo::exifForSketch(m_input, m_size, m_header.knowsOrientation,
                                                       photo::exifCapacity(sketchFormat()));
        m_exif = std::move(found.block);
        m_result.warning = std::move(found.warning);
    }

    void writeStandardOutput()
    {
        StandardOutput output;
        encodeInto(output);
        m_input.checkUnchanged();
        output.flush();
    }

    void writeFile()
    {
        AtomicFile output(m_photo.output);
        encodeInto(output);
        m_input.checkUnchanged();
        if (m_options.preserveTime && !m_input.isStandardInput())
            output.setTimes(m_input.accessTime(), m_input.modificationTime());
        if (m_options.synchronise)
            output.synchronise();
        output.publish(m_photo.replaced);
    }

    void encodeInto(photo::ByteSink &sink)
    {
        if (isTurned())
            encodeTurned(sink);
        else
            encodeStraight(sink);
    }

    std::unique_ptr<photo::SketchEncoder> encoder(photo::ByteSink &sink) const
    {
        return photo::makeEncoder(sketchFormat(), m_options.quality.value_or(bestQuality), m_size,
                                  m_exif, sink);
    }

    sketch::GreyTable levels() const
    {
        return sketch::greyTable(m_options.blackLevel, m_options.whiteLevel);
    }

    void encodeStraight(photo::ByteSink &sink)
    {
        const auto output = encoder(sink);
        sketchRows(*m_decoder, levels(), m_threads,
                   [&](const uchar *grey, int rows) { output->write(grey, rows); });
        m_decoder.reset();
        output->finish();
    }

    void encodeTurned(photo::ByteSink &sink)
    {
        // A sketch and its turning can change places: the neighbourhood is as
        // wide as it is high. One byte a pixel is turned instead of four.
        const QImage picture = upright(wholeSketch(), m_header.transformation);
        const auto output = encoder(sink);
        for (int y = 0; y < picture.height(); ++y)
            output->write(picture.constScanLine(y), 1);
        output->finish();
    }

    QImage wholeSketch()
    {
        QImage sketch(m_decoder->size(), QImage::Format_Grayscale8);
        if (sketch.isNull())
            throw std::bad_alloc();
        int y = 0;
        sketchRows(*m_decoder, levels(), m_threads, [&](const uchar *grey, int rows) {
            for (; rows > 0; --rows, grey += sketch.width())
                std::copy_n(grey, sketch.width(), sketch.scanLine(y++));
        });
        m_decoder.reset();
        return sketch;
    }

    const PlannedPhoto &m_photo;
    const Options &m_options;
    MemoryGate &m_memory;
    IdleThreads &m_threads;
    PhotoResult &m_result;
    photo::PhotoInput m_input;
    photo::PhotoHeader m_header;
    std::unique_ptr<photo::PhotoDecoder> m_decoder;
    QSize m_size;
    photo::ExifBlock m_exif;
};

bool leavesExisting(const Options &options)
{
    return options.existing == Existing::Skip || options.existing == Existing::RedoOlder;
}

bool isPlainFile(const std::string &path)
{
    struct stat status
    {
    };
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1;
}

} // namespace

PhotoResult sketchPhoto(const PlannedPhoto &photo, const Options &options, MemoryGate &memory,
                        IdleThreads &threads)
{
    PhotoResult result;
    try {
        SketchJob(photo, options, memory, threads, result).run();
        result.status = Status::Done;
    } catch (const OutputExists &error) {
        // Another process was faster.
        const bool isLeft = leavesExisting(options);
        result.status = isLeft ? Status::Skipped : Status::Failed;
        result.reason = isLeft ? OutputExists::skipped : error.what();
    } catch (const OutputChanged &error) {
        // Another run may have redone it; what is there now is the user's either way.
        const bool isRedone = options.existing == Existing::RedoOlder && isPlainFile(photo.output);
        result.status = isRedone ? Status::Skipped : Status::Failed;
        result.reason = error.what();
    } catch (const std::bad_alloc &) {
        result.reason = "needs more memory than there is";
    } catch (const std::exception &error) {
        result.reason = error.what();
    } catch (...) {
        result.reason = "cannot be sketched";
    }
    return result;
}

} // namespace batch
