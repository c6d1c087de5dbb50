#pragma once

#include <QImage>

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>

#include "batch/bands.h"
#include "photo/decode/photodecoder.h"

namespace batch {

// Decodes a photo's bands in a thread of its own, some ahead of who sketches them.
class DecodeAhead
{
public:
    // Bands that are decoded and not yet given back, the one in use among them.
    static constexpr int bandsAhead = 3;

    // From this band on; nobody else may use the decoder until the object is gone.
    // Throws std::system_error where there is no thread, std::bad_alloc.
    DecodeAhead(photo::PhotoDecoder &photo, Band first);
    // Gives up what is not decoded yet.
    ~DecodeAhead();
    DecodeAhead(const DecodeAhead &) = delete;
    DecodeAhead &operator=(const DecodeAhead &) = delete;

    // The next band, valid until the next call. Throws what the decoder threw at it.
    const QImage &take();
    // To be called after the last band: waits for PhotoDecoder::finish() and throws
    // what that threw.
    void finish();

    // Bytes that the bands take.
    static qint64 memoryNeed(int width);

private:
    void decodeAll(Band band) noexcept;
    bool put(const Band &band);

    photo::PhotoDecoder &m_photo;
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<QImage> m_bands; // decoded; the first may be in use
    std::deque<QImage> m_free; // memory of bands that were in use
    bool m_isInUse = false;
    bool m_isDone = false;
    bool m_isGivenUp = false;
    std::exception_ptr m_failure;
    std::jthread m_thread; // last: it uses the others
};

} // namespace batch
