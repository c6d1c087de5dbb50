#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include "sketch/kernel/edgekernel.h"
#include "sketch/kernel/gaussianblurkernel.h"
#include "sketch/kernel/instructionsets.h"
#include "sketch/kernel/levelskernel.h"

#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
#include <sanitizer/msan_interface.h>
#define SWEEP_WATCHED
#endif
#endif

// Every kernel on every instruction set and many sizes, without any library that a memory
// sanitizer has not watched: what lies between two rows and behind the last has no value,
// and every byte that a kernel promises must have one. Without the sanitizer a kernel that
// reads or writes behind the last pixel crashes, as a closed page begins there.

namespace {

int runs = 0;

void requireValues(const std::uint8_t *bytes, std::size_t count)
{
#ifdef SWEEP_WATCHED
    __msan_check_mem_is_initialized(bytes, count);
#else
    (void)bytes;
    (void)count;
#endif
    ++runs;
}

void forgetValues(std::uint8_t *bytes, std::size_t count)
{
#ifdef SWEEP_WATCHED
    __msan_allocated_memory(bytes, count);
#else
    (void)bytes;
    (void)count;
#endif
}

// Bytes without values that end with a page, behind which nothing may be touched.
class ClosedMemory
{
public:
    explicit ClosedMemory(std::size_t bytes)
    {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t open = (bytes + page - 1) / page * page;
        m_size = open + page;
        m_begin = mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (m_begin == MAP_FAILED
            || mprotect(static_cast<std::uint8_t *>(m_begin) + open, page, PROT_NONE) != 0)
            std::abort();
        m_bytes = static_cast<std::uint8_t *>(m_begin) + open - bytes;
        forgetValues(m_bytes, bytes);
    }
    ~ClosedMemory() { munmap(m_begin, m_size); }
    ClosedMemory(const ClosedMemory &) = delete;
    ClosedMemory &operator=(const ClosedMemory &) = delete;

    std::uint8_t *bytes() const { return m_bytes; }

private:
    void *m_begin;
    std::size_t m_size;
    std::uint8_t *m_bytes;
};

// A picture whose rows have values and nothing else has, in memory that ends with it.
class Picture
{
public:
    Picture(int width, int height, int padding)
        : m_view {nullptr, 4 * (width + padding), width, height}
        , m_memory(static_cast<std::size_t>(m_view.stride) * (height - 1) + 4 * width)
    {
        m_view.pixels = m_memory.bytes();
    }
    ~Picture() = default;
    Picture(const Picture &) = delete;
    Picture &operator=(const Picture &) = delete;

    void fill(unsigned seed)
    {
        for (int y = 0; y < m_view.height; ++y) {
            for (int i = 0; i < 4 * m_view.width; ++i) {
                seed = seed * 1'103'515'245 + 12'345;
                row(y)[i] = static_cast<std::uint8_t>(seed >> 24);
            }
        }
    }
    // What a blur leaves alone: the pixels that are so near to the border, and all alphas.
    void fillBorderAndAlpha(int half)
    {
        for (int y = 0; y < m_view.height; ++y) {
            const bool isInnerRow = y >= half && y < m_view.height - half;
            for (int x = 0; x < m_view.width; ++x) {
                const bool isInner = isInnerRow && x >= half && x < m_view.width - half;
                std::uint8_t *const pixel = row(y) + 4 * x;
                for (int channel = isInner ? 3 : 0; channel < 4; ++channel)
                    pixel[channel] = 2;
            }
        }
    }
    void require() const
    {
        for (int y = 0; y < m_view.height; ++y)
            requireValues(row(y), static_cast<std::size_t>(4) * m_view.width);
    }
    const sketch::ImageView &view() const { return m_view; }
    sketch::ConstImageView constView() const
    {
        return {m_view.pixels, m_view.stride, m_view.width, m_view.height};
    }

private:
    std::uint8_t *row(int y) const { return m_view.pixels + y * m_view.stride; }

    sketch::ImageView m_view;
    ClosedMemory m_memory;
};

void sketchAndLevels(const Picture &photo, int width, int height, int padding)
{
    const std::size_t pixels = static_cast<std::size_t>(width) * height;
    const ClosedMemory memory(pixels);
    std::uint8_t *const edges = memory.bytes();
    int done = 0;
    sketch::edgeKernel(photo.constView(), edges, [&](int rows) {
        for (; done < rows; ++done)
            requireValues(&edges[static_cast<std::size_t>(done) * width], width);
    });
    if (done != height)
        std::abort();
    const Picture paper(width, height, padding);
    sketch::levelsKernel(edges, 37, 219, paper.view());
    paper.require();
}

void blur(const Picture &photo, int width, int height, int padding)
{
    for (const int size : {1, 3, 8}) {
        for (const double sigma : {0.4, 3.0, 1e6}) {
            const sketch::BlurPlan plan(size, sigma);
            if (plan.weights.empty() || width <= 2 * plan.half || height <= 2 * plan.half)
                continue;
            Picture blurred(width, height, padding);
            blurred.fillBorderAndAlpha(plan.half);
            sketch::blurKernel(photo.constView(), blurred.view(), plan);
            blurred.require();
        }
    }
}

} // namespace

int main()
{
    for (const std::string &variant : sketch::variantNames()) {
        if (!sketch::useVariant(variant))
            return 1;
        for (int width = 1; width <= 140; width += width < 70 ? 1 : 13) {
            for (const int height : {1, 2, 4, 5, 6, 9, 20}) {
                for (const int padding : {0, 3}) {
                    Picture photo(width, height, padding);
                    photo.fill(1);
                    sketchAndLevels(photo, width, height, padding);
                    blur(photo, width, height, padding);
                }
            }
        }
        std::printf("%s: %d stretches of memory have their values\n", variant.c_str(), runs);
    }
    return runs > 0 ? 0 : 1;
}
