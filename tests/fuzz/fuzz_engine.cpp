#include <QImage>

#include <cstdint>
#include <cstring>
#include <vector>

#include "sketch/edgebuffer.h"
#include "sketch/gaussianblur.h"
#include "sketch/kernel/instructionsets.h"
#include "sketch/levels.h"
#include "sketch/reference/edgebuffer.h"
#include "sketch/reference/gaussianblur.h"
#include "sketch/reference/levels.h"

namespace {

struct Case
{
    int width;
    int height;
    int padding; // pixels between two rows
    int low;
    int high;
    int taps;
    double sigma;
};
constexpr std::size_t headBytes = 7;

Case caseIn(const std::uint8_t *bytes)
{
    return {bytes[0] + 1, bytes[1] % 64 + 1, bytes[2] % 9,         bytes[3],
            bytes[4],     bytes[5] % 12 + 1, (bytes[6] + 1) / 32.0};
}

// Pixels of a picture, with the rest of the input again and again, in memory that ends
// where the last row does.
class Picture
{
public:
    Picture(const Case &wanted, const std::uint8_t *bytes, std::size_t count)
        : m_pixels(4
                       * static_cast<std::size_t>((wanted.width + wanted.padding) * wanted.height
                                                  - wanted.padding),
                   0)
        , m_case(wanted)
    {
        for (std::size_t i = 0; i < m_pixels.size() && count > 0; ++i)
            m_pixels[i] = bytes[i % count];
    }
    QImage image()
    {
        return QImage(m_pixels.data(), m_case.width, m_case.height,
                      4 * (m_case.width + m_case.padding), QImage::Format_ARGB32);
    }
    // What lies between two rows is part of it: nobody may write there.
    bool operator==(const Picture &other) const { return m_pixels == other.m_pixels; }

private:
    std::vector<uchar> m_pixels;
    Case m_case;
};

void require(bool isTrue)
{
    if (!isTrue)
        __builtin_trap();
}

void compare(const Case &wanted, const Picture &photo)
{
    const auto pixels = static_cast<std::size_t>(wanted.width) * wanted.height;
    std::vector<uchar> edges(pixels, 1);
    std::vector<uchar> plainEdges(pixels, 2);
    Picture source = photo;
    inverterodesketch(source.image(), edges.data(), {});
    sketch::reference::edgeBuffer(source.image(), plainEdges.data());
    require(edges == plainEdges);

    Picture paper = photo;
    Picture plainPaper = photo;
    QImage image = paper.image();
    QImage plainImage = plainPaper.image();
    updatePenLevels(image, edges.data(), wanted.low, wanted.high);
    sketch::reference::updatePenLevels(plainImage, edges.data(), wanted.low, wanted.high);
    require(image == plainImage && paper == plainPaper);

    Picture third = photo;
    Picture fourth = photo;
    QImage blurred = third.image();
    QImage plainBlurred = fourth.image();
    blur(&blurred, &blurred, wanted.taps, wanted.sigma);
    sketch::reference::blur(&plainBlurred, &plainBlurred, wanted.taps, wanted.sigma);
    require(blurred == plainBlurred && third == fourth);
    require(source == photo);
}

} // namespace

// The engine against the plain arithmetic, on every instruction set of the machine.
extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t count)
{
    if (count < headBytes)
        return 0;
    const Case wanted = caseIn(bytes);
    const Picture photo(wanted, bytes + headBytes, count - headBytes);
    for (const std::string &variant : sketch::variantNames()) {
        require(sketch::useVariant(variant));
        compare(wanted, photo);
    }
    return 0;
}
