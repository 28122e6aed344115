// A ladder CalType as data: for each tempRange the branch of its per-frame
// stage (grid, body drift, warm-up shift, drift counts, lookup value), then
// its per-pixel pipeline (rows searched, atmosphere, air, gray variant, final
// form) and the exponent of its per-frame result. The engines run a row; the
// alternatives are named here and defined beside the engine that runs them.
#pragma once

#include <cstdint>

#include "core/grids.hpp"

namespace kalviro::ladder {

// The sensor of the shutter drift: tempCH2 (NE), tempCH5 (NC), or the
// camera's own shutterDrift read from the block.
enum class DriftForm : uint8_t { NE, NC, Read };

// The static that carries the air temperature to the per-pixel call.
enum class Channel : uint8_t { CH1, CH2 };

// Body drift: const_b from the shutter or sensor temperatures.
enum class Body : uint8_t {
    Bins81,        // the 81 table on meanCH, K = driftGain * 0.2 + 0.8
    Bins101,       // the 81 table with K = driftGain, + 0.08, + 0.1
    Poly92R2,      // polynomial in itDelta, tempRange 2
    Poly92R3,      // polynomial in itDelta, tempRange 3
    Mid25,         // ((gc[0] / 155.0) * 0.5) * (25 - meanCH)
    Mid25Sum83,    // 83: on the shutter sum, bg[1] while the sum is below 20
    Slope25,       // (25 - meanCH) * s[0]
    Slope20T1,     // (20 - T1) * s[0]
    Slope45,       // (45 - (meanCH + 20)) * s[0]
    UpperBins,     // B = (25 - meanCH) * k by bins closed at the top
    TableB,        // curve B times the weights of table B, xb = meanCH + 20
    TableBPrime,   // curve B times the weights of table B'
    TableB3,       // (45 - xb) * k by the weights of table B3
    TableB3Prime,  // (45 - xb) * ((gc[0] / 155.0) / 5.0) by the weights of B'
    Mid45Fifth,    // (45 - (meanCH + 20)) * ((gc[0] / 155.0) / 5.0)
};

// Warm-up shift: xd where the rule has one, and D.
enum class Warm : uint8_t {
    None,        // D = 0
    FadeG3,      // xd from gc[3], faded between the limits
    FadeThird4,  // xd from gc[4] / 3.0, faded, the lower limit inside
    Clock1200,   // the half step ramped out by upTime 1200, below warmDiffLow
    Clock3000,   // the same to upTime 3000
    Band83,      // the half step below the band, none inside, ramped above
    Ramp1800,    // the half step times ramp, below upTime 1800 and warmDiffHigh
    Half102,     // xd = 0.5 * (gc[1] - gc[0]), ramped from warmDiffLow
};

// const_d from the shutter drift counts N.
enum class Drift : uint8_t {
    Plain,          // (float)N
    Quad,           // N times 4 when positive
    TimesB4To5000,  // (float)N * bg[4] below upTime 5000, then 0
    Periods,        // Quad and the warm rule in the first clock period, Quad
                    // without shift in the second, the long-run drift after
};

// The lookup value x and the row test of the per-frame stage.
enum class Join : uint8_t {
    Float,     // (float)(int)(const_d + (float)(int)(grayOffset + (gIn - const_b))), closed-open
    FloatAdd,  // Float with const_b added
    Int,       // (float)((int)const_d + (int)(grayOffset + (gIn - const_b))), open-closed
    IntAdd,    // Int with const_b added
    OffsetP2,  // 130, 131: the offset polynomial P2 in place of const_b
    OffsetP3,  // 130, 131: P3 besides const_b
};

enum class Publish : uint8_t { Zero, Shift };  // warmShift when warmHold is 0

// Clock periods of Drift::Periods: the first ends below `first`, the second
// at `last` inclusive.
struct Periods {
    int32_t first;
    int32_t last;
};

struct Branch {
    GridId grid;
    Steps kD;
    Body body;
    Warm warm;
    Drift drift;
    Periods periods;
    Join join;
    Publish publish;
    bool seedWCH5;  // wCH5 takes itRefTemp while still 0
};

// Per-pixel pipeline.
enum class Atmosphere : uint8_t { Plain, LensTable, RangeLinear, NoLens };
enum class Final : uint8_t { Plain, Window, Trim };
enum class GrayVariant : uint8_t { Standard, B, C, D };

struct Pixel {
    uint8_t rows[3];  // rows searched in tempRange 2, 3, 4
    Atmosphere atmosphere;
    bool distanceGain;
    Final final;
    GrayVariant gray;
};

// Per-frame result: the exponent with or without the block's distance, and
// myexp or the library's exp.
enum class Exponent : uint8_t { Plain, Distance };
enum class Exp : uint8_t { My, Library };

struct Member {
    int32_t calType;
    DriftForm drift;
    Channel channel;
    Branch range2, range3, range4;
    Pixel pixel;
    Exponent exponent;
    Exp exp;
};

inline const Branch* branchFor(const Member& m, int32_t range) {
    switch (range) {
        case 2: return &m.range2;
        case 3: return &m.range3;
        case 4: return &m.range4;
        default: return nullptr;
    }
}

}  // namespace kalviro::ladder
