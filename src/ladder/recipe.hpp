// A ladder CalType as data: for each tempRange the branch of its per-frame
// stage (grid and curve scale, body drift, latch, warm-up shift, drift
// counts, lookup value), then its per-pixel pipeline (rows searched,
// atmosphere, gray variant, final form) and the exponent of its per-frame
// result. The per-frame stage (stage.cpp) and the per-pixel plan (pixel.cpp)
// run a recipe; the alternatives are named here and defined in the files
// named after them.
#pragma once

#include <cstdint>

#include "core/frame_stage.hpp"
#include "core/grids.hpp"
#include "core/lookup_value.hpp"
#include "core/rows.hpp"

namespace kalviro::ladder {

// The sensor of the shutter drift: tempCH2 (NE), tempCH5 (NC), or the
// camera's own shutterDrift read from the block.
enum class DriftForm : uint8_t { NE, NC, Read };

// The static that carries the air temperature to the per-pixel call.
enum class Channel : uint8_t { CH1, CH2 };

// The curve scale g that tracks the sensor temperature, numbered S0 to S16
// as the catalogue numbers them (134 has its own). Points from curve index
// `from` on are multiplied by it. In scale.cpp: e = dIT, p = itSlope (bg[14]
// where the row switches and e <= 0), dg = driftGain, bias = curveBias; each
// polynomial is evaluated in double in the order written there.
enum class Scale : uint8_t {
    None,  // g = 1
    S0,    // dg
    S1,    // dg + 4.5e-5 e^2 + 0.013644 e + (p / 100) e
    S2,    // dg + 3.5e-5 e^2 + 0.013047 e + (p / 100) e
    S3,    // 0.007685 e - 6e-6 e^2 + dg + (p / 100) e
    S4,    // dg + (0.011893 e + 2.2e-5 e^2 + (p / 1000) e)
    S5,    // (p / 100) e + dg + 2.2e-5 e^2 + 0.011469 e
    S6,    // as S5 with 0.011847 e
    S7,    // 0.007414 e - 5e-6 e^2 + dg + (p / 100) e
    S8,    // dg + (0.007686 e - 1e-5 e^2 + (p / 100) e)
    S9,    // the cubic -9.17e-7 e^3 - 3.81e-5 e^2 + 0.00789 e + dg
    S10,   // dg + p e, in float
    S11,   // 1 - (-4.6e-5 e^2 - 0.014246 e + p e + bias)
    S12,   // 1 - (p e + bias)
    S13,   // 1 - ((p / 100) e - 6e-6 e^2 - 0.009817 e + bias)
    S14,   // 1 - ((p / 100) e + 9e-6 e^2 - 0.00883 e + bias)
    S15,   // 1 - ((p / 100) e + bias)
    S16,   // dg + (p e) / 5
    S134,  // S9, less e * 0.01 / 35 while c5 is above itRefTemp
};

// Body drift: const_b from the shutter or sensor temperatures.
// The pivot forms multiply by the weight of xb's bin where the row names
// weights; p0 is the curve's lowest point, scaled where the curve is.
enum class Body : uint8_t {
    Bins81,      // the body-drift bins of CalType 81 on m, K = driftGain * 0.2 + 0.8
    Bins101,     // the 81 table with K = driftGain, + 0.08, + 0.1
    Poly92R2,    // polynomial in itDelta, tempRange 2
    Poly92R3,    // polynomial in itDelta, tempRange 3
    Mid25,       // ((gc[0] / 155.0) * 0.5) * (25 - m)
    Mid25Sum83,  // CalType 83: Mid25 on the shutter sum, bg[1] while the sum is below 20
    Slope20T1,   // (20 - c1) * s[0]
    UpperBins,   // B = (25 - m) * k by bins closed at the top
    Curve,       // a curve factor at xb times the weight of its bin
    Pivot155,    // (45 - xb) * ((p0 / 155.0) * 0.5)
    PivotFifth,  // (45 - xb) * ((p0 / 155.0) / 5.0)
    Pivot75,     // (45 - xb) * (p0 / 75.0)
    PivotSlope,  // (45 - xb) * s[0]
    Fifth75,     // (25 - shutterCH2) * ((p0 / 75.0) / 5.0)
    SlopeMean,   // (25 - m) * s[0]
    SlopeCH2,    // (25 - shutterCH2) * s[0]
};

// The temperature whose bin selects the weight of a curve or pivot form.
enum class Xb : uint8_t { MeanCH20, CH3p20, CH2p20, CH2p15, T2p20, T2p15, CH2, T2 };

// Curve factors: the curve read at xb from the nearest grid point of the
// row, sign turned. From0: one bin below 0; To50: the bin [45, 50) carried
// on above.
enum class CurveForm : uint8_t { None, B, BFrom0, BFrom0To50, D, DFrom0, E };

// Weight lists by bin of xb (or of c2), W73 to W138 named after the CalType
// that introduced them (weights.cpp). L(k, x0) is the gain interpolated from
// bg[k] to bg[k+1] over the bin starting at x0.
enum class Weights : uint8_t {
    None,
    TableB,       // table B: extrapolated gains below 20 and from 75
    TableB132,    // table B to [65, 70), bg[9] from 70 on
    TableBLong,   // table B as a - k * (b - a) and q + k * (q - p)
    TableBPrime,  // table B' of 131
    B3,           // table B3 of 71: b[7] read by no bin
    W73,    // table gains below 0, bg[0], L(0, 5) to L(7, 40), bg[8] sloped to 55, bg[9] to 70, bg[10..13]
    W133,   // W73 with 1 in [45, 50) and bg[9] from 50 to 70
    W74,    // 0.1 + 0.05 a bin below -5, bg[0..8] + bg[11] slopes to 40, bg[9] + bg[11], bg[10] and its tail
    W75,    // bg[0] below 0, L(0, 0) to L(10, 50), bg[11] to 70, then its tail
    W135,   // W75 without the tail: bg[11] from 55
    W76,    // W75 to 55, bg[11] to 65, L(11, 65), bg[12]
    W136,   // W75 to 55, bg[11] to 70, L(11, 70), bg[12]
    W138,   // W75 to 50, bg[10] from 50
    W85,    // on the bins of curve E: bg[0] to bg[3], 1, then driftGain
    W96,    // W85 stepping from gain to gain over bins 1 to 3, rising to driftGain over [30, 35)
    W134,   // 134's literals less bg[0], rising 0.06 over each bin, to 50; bg[1] to bg[8] to 90; bg[9]
    Three,  // bg[0] below 45, 1 in [45, 50), bg[1] from 50
    W3,     // Three with slopes bg[4] and bg[5]
    Hot35,  // driftGain if c2 > 35, else 1
    T2Steps96,  // by c2: bg[0], 1, the rise to driftGain, 1 at 35, driftGain
};

// Limiters of const_b for hot pixels, below xb 45: L1 above mark[5] by bg[10],
// L2 above gc[2] (or mark[1]) by bg[2].
enum class Limiter : uint8_t { None, L1, L2 };

struct BodyDrift {
    Body form;
    Xb xb;
    CurveForm curve;
    Weights weights;
    Limiter limiter;
};

// The first-frame latch a branch holds: c1 of the first frame that reaches a
// latching branch of the module.
enum class Latch : uint8_t { None, W1, W2, Ch };

// Warm-up shift: xd where the rule has one, and D.
enum class Shift : uint8_t {
    None,          // D = 0
    FadeG3,        // xd from gc[3], faded between the limits
    FadeThird4,    // xd from gc[4] / 3.0, faded, the lower limit inside
    Clock1200,     // the half step ramped out by upTime 1200, below warmDiffLow
    Clock3000,     // the same to upTime 3000
    Band83,        // the half step below the band, none inside, ramped above
    Ramp1800,      // the half step times ramp, below upTime 1800 and warmDiffHigh
    Half102,       // xd = 0.5 * (gc[1] - gc[0]), ramped from warmDiffLow
    W1Mark6,       // band W1 on xd with M = mark[6]
    W1Mark4,       // band W1 on xd with M = mark[4]
    W2Mark6,       // band W2 on xd with M = mark[6]
    W1Half,        // band W1 on D with M = ((gc[1] - gc[0]) * 0.5) / warmDivisor
    W1HalfScaled,  // band W1 on D with M = ((mark[0] - gc[0] * g) * 0.5) / warmDivisor
    W1HalfH,       // W1HalfScaled times h of the latched w2
    W2HalfH,       // the same by band W2
    W3Gc4,         // band W3 with A = gc[4] / warmDivisor
    W3Mark4,       // band W3 with A = mark[4] / warmDivisor
    W3Step,        // band W3 with A = (mark[0] - gc[0] * g) / warmDivisor
    W3Raw,         // band W3 with A = (gc[1] - gc[0]) / warmDivisor
    W3Mark4H134,   // band W3 with A = (mark[4] / warmDivisor) * h of 134
    LensLatch,     // 111, 121: limits latched from the first frame, lensType 1
    ClockAlways,   // the half step ramped out by upTime 1200, whatever w
};

// const_d from the shutter drift counts N.
enum class Drift : uint8_t {
    Plain,          // (float)N
    Quad,           // N times 4 when positive
    TimesB4To5000,  // (float)N * bg[4] below upTime 5000, then 0
    Periods,        // Quad and the warm rule in the first clock period, Quad
                    // without shift in the second, the long-run drift after
    // The multiplier tables LA to LI (drift_counts.cpp): N times the
    // multiplier of the bin of a latched temperature.
    LA,    // w2; bg[14] added in the ten lowest bins
    LB,    // w2; 0.3 to 1 by 5 degrees
    LC,    // w2; 0.45 to 1
    LD,    // w1; 0.4 to 2.0 over eighteen edges
    LE,    // w1; bg[13] added in the nine lowest bins
    LF,    // w2; in double, 0.475 to 2.35
    LG,    // w2; in double, 0.45 to 1.45
    LH,    // ch; bins closed below
    LI,    // 132: no latch, c1 above 25 degrees scales by itRefTemp
    L134,  // 134's multiplier table on the latched temperature
};

// Clock periods of Drift::Periods: the first ends below `first`, the second
// at `last` inclusive.
struct Periods {
    int32_t first;
    int32_t last;
};

struct Branch {
    GridId grid;
    Scale scale;
    uint8_t scaleFrom;  // curve index from which points are scaled
    bool scaleSwitch;   // bg[14] stands for itSlope in the scale when e <= 0
    Steps steps;
    BodyDrift body;
    Latch latch;
    Shift shift;
    Drift drift;
    Periods periods;
    Join join;
    Publish publish;
    bool seedWCH5;  // wCH5 takes itRefTemp while still 0
};

// Per-pixel pipeline.
enum class Atmosphere : uint8_t { Plain, LensTable, RangeLinear, NoLens };
enum class Final : uint8_t { Plain, Window, Trim, WindowTableCH, WindowTableSelf, LongBase, LongFixed };
// Gray normalisation of the per-pixel call, the variants named A to D as the
// catalogue names them (pixel.cpp, pixel_kernel.hpp).
enum class GrayVariant : uint8_t {
    Standard,  // gray - grayRef + grayBias, less const_b, moved by const_R and const_d
    A,         // 61, 62: the four-range drift from the block in place of const_d
    B,         // 83: stretched above a curve point by a bin gain (tempCH5 below 20 in range 3)
    C,         // 92: adds const_b in tempRange 2 and 3
    D,         // 130, 131: B's stretch by driftGain; tempRange 4 without const_b
};

struct Pixel {
    uint8_t rows[4];  // rows searched in tempRange 2, 3, 4, 5
    Atmosphere atmosphere;
    bool distanceGain;
    Final final;
    Channel windowC;  // the static of the window term
    GrayVariant gray;
};

// Per-frame result: the exponent with or without the block's distance, and
// myexp or the library's exp.
enum class Exponent : uint8_t { Plain, Distance };
enum class Exp : uint8_t { My, Library };

struct Recipe {
    int32_t calType;
    StageForm stage;
    DriftForm drift;
    Channel channel;
    Branch range2, range3, range4;
    Pixel pixel;
    Exponent exponent;
    Exp exp;
};

}  // namespace kalviro::ladder
