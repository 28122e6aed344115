// What a per-frame stage reads of the block, gathered once per frame, and the
// two measurements every family makes first: the normalised gray value and
// the shutter drift counts.
#pragma once

#include <cstdint>

#include "core/numeric.hpp"

namespace kalviro {

struct FrameCtx {
    const uint8_t* block;
    float g[12];      // grayCurve
    float e[2];       // grayCurveExt
    float b[15];      // tempBinGain
    float slope[14];  // graySlope of the grid in force
    float c1, c2, c3, c5;
    float m, mb, w;  // shutter mean, m + 20, c5 - c1
    float gf;        // normalised gray as a float
    int32_t base;
    int32_t upTime;
};

// gray - grayRef + grayBias, wrapping.
int32_t normalisedGray(const uint8_t* block, int32_t gray);
FrameCtx frameCtx(const uint8_t* block, float gf);

// The sensor whose change since the last shutter event drives the drift:
// tempCH2 against shutterCH2, or tempCH5 against shutterCH5.
enum class DriftSensor : uint8_t { CH2, CH5 };

// Gray counts from the temperature change since the last shutter event.
int32_t shutterDriftCounts(const uint8_t* block, DriftSensor sensor);

// The drift rule Quad of both families: counts times 4 where positive,
// wrapping, as they stand otherwise.
inline float quadDrift(int32_t n) { return static_cast<float>(n > 0 ? wrapMul(n, 4) : n); }

}  // namespace kalviro
