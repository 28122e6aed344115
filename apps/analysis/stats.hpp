// Statistics of a converted frame or of a region of it: the numbers the JSON
// report and the terminal summary give.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "frames/frame_size.hpp"

namespace kalviro::cli {

struct Region {
    std::string name;
    int32_t x = 0, y = 0, w = 0, h = 0;
};

struct Spot {
    int32_t x = 0, y = 0;
};

struct PixelTemp {
    int32_t x = 0, y = 0;
    float t = 0.0f;
};

// The library's failure values lie at the ends of int32 in hundredths of a
// degree (-21474836.48 and 21474836.47, both 21474836 as floats); no
// temperature comes near them.
constexpr float kFailureMagnitude = 21474836.0f;
// Finite and short of the failure values.
inline bool validTemp(float t) { return std::fabs(t) < kFailureMagnitude; }

struct Stats {
    uint64_t count = 0;    // pixels with a valid temperature
    uint64_t invalid = 0;  // failure values, NaN, infinities: left out of everything else
    float min = 0.0f, max = 0.0f;
    double mean = 0.0, stddev = 0.0;  // population standard deviation
    PixelTemp coldest, hottest;       // first in row order
};

// Over the region of a frame of temperatures `width` wide; the same pixel
// order every time, so a threaded run gives the same digits.
Stats regionStats(const float* temps, int32_t width, const Region& r);
Region wholeFrame(const FrameSize& size);

// "x,y,w,h" or "name=x,y,w,h"; unnamed regions become roi1, roi2, ...
Region parseRegion(const std::string& text, size_t number);
Spot parseSpot(const std::string& text);
// Failure unless the region or spot lies inside the frame.
void requireInside(const Region& r, const FrameSize& size);
void requireInside(const Spot& s, const FrameSize& size);

}  // namespace kalviro::cli
