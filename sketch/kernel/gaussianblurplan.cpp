#include "sketch/kernel/gaussianblurplan.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace sketch {

namespace {

constexpr int whiteLevel = 255;

std::vector<double> normalisedKernel(int size, double sigma)
{
    const int half = size / 2;
    std::vector<double> kernel(size);
    for (int i = 0; i < size; ++i) {
        const int exponent = (half - i) * (i - half);
        // 6.283 for 2 pi, and the root of the two-dimensional Gaussian, are part
        // of the result.
        kernel[i] =
            std::sqrt(std::exp(exponent / (sigma * (sigma + sigma))) / ((sigma * 6.283) * sigma));
    }
    const double sum = std::accumulate(kernel.begin(), kernel.end(), 0.0);
    for (double &weight : kernel)
        weight /= sum;
    return kernel;
}

// Centre first; a weight of zero changes no sum, and those after it are zero too.
std::vector<double> weightsFor(int size, double sigma)
{
    if (!(sigma > 0))
        return {};
    const std::vector<double> kernel = normalisedKernel(size, sigma);
    std::vector<double> weights;
    for (int i = size / 2; i >= 0 && kernel[i] != 0; --i)
        weights.push_back(kernel[i]);
    if (!std::isfinite(std::accumulate(weights.begin(), weights.end(), 0.0)))
        return {};
    return weights;
}

std::vector<uint32_t> inFixedPoint(const std::vector<double> &weights)
{
    std::vector<uint32_t> fixed;
    for (const double weight : weights)
        fixed.push_back(
            static_cast<uint32_t>(std::ceil(std::ldexp(weight, BlurPlan::fractionBits))));
    return fixed;
}

std::array<uint8_t, 32> lossyLevels(const BlurPlan &plan)
{
    const uint32_t sum =
        std::accumulate(plan.fixedWeights.begin() + 1, plan.fixedWeights.end(), 0U);
    std::array<uint8_t, 32> bits {};
    for (uint32_t v = 0; v <= whiteLevel; ++v) {
        const uint32_t fixed = v * (plan.fixedWeights[0] + 2 * sum);
        const int exact = weightedLevel(plan.weights, [v](int) { return static_cast<int>(v); });
        if (static_cast<uint8_t>(fixed >> BlurPlan::fractionBits) != exact)
            bits[v / 8] |= static_cast<uint8_t>(1 << (v % 8));
    }
    return bits;
}

// No product may lie so close below a whole number that the sum with a level
// rounds up to it. Rounding is coarsest for the largest level.
bool roundsApart(double weight, int largest)
{
    for (int level = 0; level <= largest; ++level) {
        const double product = level * weight;
        if (static_cast<int>(whiteLevel + product) != whiteLevel + static_cast<int>(product))
            return false;
    }
    return true;
}

bool gives(const BlurStep &step, double weight, int largest)
{
    for (int level = 0; level <= largest; ++level) {
        const int product = (level << 6) + ((level << 6) * step.factor >> 16);
        if (product >> step.shift != static_cast<int>(level * weight))
            return false;
    }
    return true;
}

// Two different fractions with denominators up to 510 are 1 / (510 * 509) or
// more apart, and a weight below a half is given in units of 2^-18 or less: some
// factor next to the weight truncates every product right.
std::optional<BlurStep> stepFor(double weight, int largest)
{
    int exponent = 0;
    const double mantissa = 2 * std::frexp(weight, &exponent) - 1; // 0 up to 1
    const int nearest = static_cast<int>(mantissa * 65536);
    const int shift = 7 - exponent;
    if (shift > 15)
        return {};
    for (int factor = std::max(nearest - 1, 0); factor <= std::min(nearest + 1, 65535); ++factor) {
        const BlurStep step {static_cast<uint16_t>(factor), shift};
        if (gives(step, weight, largest))
            return step;
    }
    return {};
}

std::vector<BlurStep> stepsFor(const std::vector<double> &weights)
{
    std::vector<BlurStep> steps;
    for (const double weight : weights) {
        const int largest = steps.empty() ? whiteLevel : 2 * whiteLevel;
        if (!roundsApart(weight, largest))
            return {};
        if (!steps.empty() && largest * weight < 1)
            break;
        const std::optional<BlurStep> step = stepFor(weight, largest);
        if (!step)
            return {};
        steps.push_back(*step);
    }
    return steps;
}

} // namespace

BlurPlan::BlurPlan(int size, double sigma)
    : half(size / 2)
    , weights(weightsFor(size, sigma))
{
    if (weights.empty())
        return;
    fixedWeights = inFixedPoint(weights);
    // Each weight is less than one unit too large, each pair at most 510.
    doubtful = 2 * whiteLevel * static_cast<uint32_t>(weights.size()) + 1;
    lossy = lossyLevels(*this);
    steps = stepsFor(weights);
}

} // namespace sketch
