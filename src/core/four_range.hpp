// The older frame with four temperature ranges (2 to 5) that CalTypes 12 and
// 60 of the Direct family and 61 and 62 of the ladder share: the atmosphere
// from the block, body drift by the whole-degree bodyTemp, the camera's own
// shutterDrift divided by driftGain, and nothing written back to the block.
#pragma once

#include <cstdint>

#include "core/state.hpp"

namespace kalviro {

// The arithmetic of the warm-up ramp and the row factors: single precision
// in the Direct family, the ladder's rule (decimal literals in double) in the
// ladder family.
enum class FourRangeMath : uint8_t { Single, Ladder };

// Rows the frame fills for a tempRange, 0 for one it does not know.
int fourRangeRows(int32_t range);

struct FourRangeLookup {
    int32_t v;     // the lookup value, 0 when the range builds nothing
    float raw;     // the raw temperature, 0.0 when no row holds v
    bool matched;  // a row held v
};

// The frame's statics (const_A3, const_B3, const_U, const_CH2, and in a known
// range const_R, const_b and the rows) and the lookup of gray.
FourRangeLookup fourRangeFrame(CalState& st, const uint8_t* block, int32_t gray, FourRangeMath math);

// base plus the camera's drift: divided by const_U in ranges 2 and 3.
int32_t fourRangeValue(int32_t range, int32_t base, const uint8_t* block, float constU);

// The emissivity percent clamped to 1..100; at 9 and below it names the row
// that stands in for the search.
int32_t clampedPercent(float emissivity);

}  // namespace kalviro
