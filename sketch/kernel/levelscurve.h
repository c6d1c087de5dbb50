#pragma once

namespace sketch {

constexpr int white = 255;

// The place of a grey level between black (0) and white (255), stretched so that
// the black level low becomes 0 and the white level high 255, and truncated: below
// low it is 0, above high 255, which is tested first and so wins where the levels
// cross. All values are 0 to 255.
constexpr int stretchedLevel(int value, int low, int high)
{
    if (value > high)
        return white;
    if (value < low)
        return 0;
    const int divisor = high > low ? high - low : 1;
    const int level = (value - low) * white / divisor;
    return level > white ? white : level;
}

} // namespace sketch
