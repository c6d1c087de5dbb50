#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace sketch {

// The weighted sum of a level and the pairs of levels around it, in the one
// order of rounded products and sums that counts; truncated, low 8 bits.
// level(offset) is the level so many taps away.
template <typename Level>
uint8_t weightedLevel(const std::vector<double> &weights, const Level &level)
{
    double sum = level(0) * weights[0];
    for (int j = 1; j < static_cast<int>(weights.size()); ++j)
        sum += (level(j) + level(-j)) * weights[j];
    return static_cast<uint8_t>(static_cast<int>(sum));
}

// The same for a column, where every step is truncated and stored.
template <typename Level>
uint8_t steppedLevel(const std::vector<double> &weights, const Level &level)
{
    auto sum = static_cast<uint8_t>(static_cast<int>(level(0) * weights[0]));
    for (int j = 1; j < static_cast<int>(weights.size()); ++j)
        sum = static_cast<uint8_t>(static_cast<int>(sum + (level(j) + level(-j)) * weights[j]));
    return sum;
}

// The truncated product of a level (or the sum of two) and a weight in integers:
// level * (65536 + factor) / 2^(10 + shift), rounded down.
struct BlurStep
{
    uint16_t factor;
    int shift; // 0 to 15
};

// What a blur of one size and sigma needs for every pixel.
//
// Rows. The sum with weights in fixed point, all rounded up, is never too small
// and less than `doubtful` units too large. So the integer part is right unless
// the fraction is below that. This happens by chance, seldom; but also where all
// pairs are twice the centre, in flat areas and even slopes, because the weights
// sum to one. There the result depends on the centre alone.
//
// Columns. The product can be truncated before it is added, as long as none lies
// so close below a whole number that adding it to 255 rounds it up. Where one
// does (equal weights, from a sigma of some 100,000 on), or where the centre
// weighs less than 1/512, there are no steps and columns take doubles.
struct BlurPlan
{
    static constexpr int fractionBits = 23; // sums stay below 512

    BlurPlan(int size, double sigma);

    // Rows that a pixel depends on above and below.
    int reach() const
    {
        return static_cast<int>(steps.empty() ? weights.size() : steps.size()) - 1;
    }

    int half; // width of the border that is left alone
    std::vector<double> weights; // centre first, up to the last above 0; empty: unusable
    std::vector<uint32_t> fixedWeights; // rounded up
    uint32_t doubtful = 0;
    // Bit v % 8 of byte v / 8 tells whether the integer part for a flat area of
    // level v is one too large.
    std::array<uint8_t, 32> lossy {};
    std::vector<BlurStep> steps; // up to the last that adds anything; may be empty
};

} // namespace sketch
