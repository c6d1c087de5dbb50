// The pencil sketch of every frame of a film, as a frei0r filter.
//
// Two parameters, "black" and "white": the levels 0 to 255 as numbers from 0 to 1. A
// number stands for the nearest level, a half for the one above it; what lies outside
// counts as 0 or 1, and what is not a number as the parameter's initial value, 0 and 1.
// The levels may cross.
//
// A frame is a picture of its own, of any size: its two outermost rows and columns are
// white paper, alpha is ignored and the sketch is opaque. The sketch may be written over
// the frame. Instances share nothing.

#include <array>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>

extern "C" {
#include <frei0r.h>
}

#include "sketch/kernel/edgekernel.h"
#include "sketch/kernel/levelskernel.h"

namespace {

struct Parameter
{
    const char *name;
    const char *explanation;
    double initial;
};

constexpr std::array<Parameter, 2> parameters {{
    {"black", "Black level: darker greys become black", 0.0},
    {"white", "White level: lighter greys become white", 1.0},
}};

bool isParameter(int index)
{
    return index >= 0 && index < static_cast<int>(parameters.size());
}

int levelOf(double value)
{
    return static_cast<int>(std::lround(value * 255));
}

class SketchFilter
{
public:
    SketchFilter(int width, int height)
        : m_width(width)
        , m_height(height)
        , m_edges(std::make_unique_for_overwrite<uint8_t[]>(pixels()))
    {
    }

    double value(int index) const { return m_values[static_cast<std::size_t>(index)]; }

    void setValue(int index, double value)
    {
        const double initial = parameters[static_cast<std::size_t>(index)].initial;
        m_values[static_cast<std::size_t>(index)] =
            std::isnan(value) ? initial : std::fmin(std::fmax(value, 0.0), 1.0);
    }

    void sketch(const uint32_t *frame, uint32_t *paper)
    {
        // There are hosts that cut a frame into slices and hand all of them to one
        // instance at once.
        const std::lock_guard lock(m_edgesInUse);
        const std::ptrdiff_t stride = std::ptrdiff_t(4) * m_width;
        sketch::edgeKernel({reinterpret_cast<const uint8_t *>(frame), stride, m_width, m_height},
                           m_edges.get(), [](int) {});
        sketch::levelsKernel(m_edges.get(), levelOf(value(0)), levelOf(value(1)),
                             {reinterpret_cast<uint8_t *>(paper), stride, m_width, m_height});
    }

    std::size_t pixels() const { return static_cast<std::size_t>(m_width) * m_height; }

private:
    int m_width;
    int m_height;
    std::array<double, 2> m_values {parameters[0].initial, parameters[1].initial};
    std::unique_ptr<uint8_t[]> m_edges;
    std::mutex m_edgesInUse;
};

SketchFilter &filterOf(f0r_instance_t instance)
{
    return *static_cast<SketchFilter *>(instance);
}

} // namespace

extern "C" {

int f0r_init()
{
    return 1;
}

void f0r_deinit()
{
}

void f0r_get_plugin_info(f0r_plugin_info_t *info)
{
    *info = {.name = "Crayvell pencil sketch",
             .author = "Crayvell",
             .plugin_type = F0R_PLUGIN_TYPE_FILTER,
             .color_model = F0R_COLOR_MODEL_BGRA8888,
             .frei0r_version = FREI0R_MAJOR_VERSION,
             .major_version = 1,
             .minor_version = 0,
             .num_params = static_cast<int>(parameters.size()),
             .explanation = "Draws the film as a pencil sketch"};
}

void f0r_get_param_info(f0r_param_info_t *info, int index)
{
    if (!isParameter(index))
        return;
    const Parameter &parameter = parameters[static_cast<std::size_t>(index)];
    *info = {parameter.name, F0R_PARAM_DOUBLE, parameter.explanation};
}

// Null where a frame has no pixels, or more than there is memory for.
f0r_instance_t f0r_construct(unsigned int width, unsigned int height)
{
    if (width == 0 || height == 0 || width > INT_MAX || height > INT_MAX)
        return nullptr;
    try {
        return new SketchFilter(static_cast<int>(width), static_cast<int>(height));
    } catch (const std::exception &) {
        return nullptr;
    }
}

void f0r_destruct(f0r_instance_t instance)
{
    delete static_cast<SketchFilter *>(instance);
}

void f0r_set_param_value(f0r_instance_t instance, f0r_param_t value, int index)
{
    if (instance && isParameter(index)) // hosts go on without one for which there is no memory
        filterOf(instance).setValue(index, *static_cast<const double *>(value));
}

void f0r_get_param_value(f0r_instance_t instance, f0r_param_t value, int index)
{
    if (instance && isParameter(index))
        *static_cast<double *>(value) = filterOf(instance).value(index);
}

void f0r_update(f0r_instance_t instance, double, const uint32_t *frame, uint32_t *paper)
{
    if (!instance)
        return;
    SketchFilter &filter = filterOf(instance);
    try {
        filter.sketch(frame, paper);
    } catch (const std::exception &) {
        // No memory for the few rows that the work takes, and no way to say so: the
        // frame stays a photo.
        std::memmove(paper, frame, 4 * filter.pixels());
    }
}

} // extern "C"
