#pragma once

#include <algorithm>

namespace batch {

// Rows that a photo is sketched by at a time: few enough that they stay in the
// processor's cache, enough that the rows done twice hardly count.
constexpr int bandRows = 32;

// How far an edge value looks: the rows at a band's own border lack neighbours, and
// are left to the bands beside it, except at the picture's border.
constexpr int edgeReach = 2;

// Some rows of a picture. A band begins with the last rows of the one above it.
struct Band
{
    int first = 0;
    int count = 0; // 0 behind the last band

    static Band firstOf(int height) { return {0, std::min(height, bandRows)}; }
    Band next(int height) const
    {
        const int end = first + count;
        if (end >= height)
            return {};
        const int begin = end - 2 * edgeReach;
        return {begin, std::min(height - begin, bandRows)};
    }
};

} // namespace batch
