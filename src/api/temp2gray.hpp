// The inverse search: the gray value whose forward conversion lands within
// 0.20 degrees of a target. Fixed-slope steps until the target is bracketed,
// then bisection. All integer arithmetic is 32-bit and wraps.
#pragma once

#include <cstdint>

#include "core/numeric.hpp"

namespace kalviro {

// eval(g) returns the forward conversion of gray g in degrees.
template <typename Eval>
int32_t temp2gray(Eval&& eval, int32_t tempMin, int32_t tempMax, int32_t grayMin, int32_t grayMax,
                  int32_t target) {
    const int32_t grayWidth = wrapAdd(wrapSub(grayMax, grayMin), 1);
    const int32_t tempWidth = wrapAdd(wrapSub(tempMax, tempMin), 100);
    if (tempWidth == 0) return grayMin;  // the camera divides by zero here

    // Gray counts for a temperature difference, on the caller's mean slope.
    auto grayStep = [&](int32_t diff) { return wrapDiv(wrapMul(diff, grayWidth), tempWidth); };
    int32_t v = 0;
    auto hit = [&](int32_t g) {
        v = toInt(eval(g) * 100.0f);
        const int32_t miss = wrapSub(v, target);
        return miss >= -20 && miss <= 20;
    };

    int32_t g = wrapAdd(grayStep(wrapSub(target, tempMin)), grayMin);
    bool hotSeen = false;
    bool coldSeen = false;
    int32_t grayHot = 0;
    int32_t grayCold = 0;
    bool bracketed = false;
    for (int round = 0; round < 101 && !bracketed; ++round) {
        if (hit(g)) return g;
        if (v > target) {
            grayHot = g;
            hotSeen = true;
            g = wrapSub(g, grayStep(wrapSub(v, target)));
            bracketed = coldSeen;
        } else {
            grayCold = g;
            coldSeen = true;
            g = wrapAdd(g, grayStep(wrapSub(target, v)));
            bracketed = hotSeen;
        }
    }
    if (!bracketed) return g;  // not evaluated: the last step's destination

    for (int round = 0; round < 100; ++round) {
        g = wrapAdd(grayHot, grayCold) / 2;
        if (hit(g)) return g;
        if (v > target) {
            grayHot = g;
        } else {
            grayCold = g;
        }
    }
    return g;
}

}  // namespace kalviro
