// A Direct CalType as data: for each tempRange the grid, body drift, shift,
// drift rule and join it takes, and the tail that ends both stages. The
// per-frame stage (stage.hpp) and the per-pixel plan (pixel.hpp) run a
// recipe; the stage alternatives live in body_drift.cpp and warm_shift.cpp.
#pragma once

#include <cstdint>

#include "core/final_scaling.hpp"
#include "core/frame.hpp"
#include "core/frame_stage.hpp"
#include "core/grids.hpp"
#include "core/lookup_value.hpp"
#include "core/rows.hpp"
#include "core/segment_table.hpp"
#include "core/state.hpp"

namespace kalviro::direct {

// Body drift: the gray correction const_b from the shutter temperatures.
enum class Body : uint8_t {
    Bins25,       // bins of m around the 25-degree point
    BinsHigh21,   // CalType 21, tempRange 4: bins of m on (25 - m) * k
    Mid25,        // ((g[0] / 155) * 0.5) * (25 - m)
    Mid25Ext,     // Mid25 times driftGainExt / 100 (CalType 25)
    Mid45,        // ((g[0] / 155) * 0.5) * (45 - mb)
    High20,       // (20 - c1) * slope[0]
    Slope25,      // (25 - m) * slope[0]
    Slope45,      // (45 - mb) * slope[0]
    Degree11,     // CalType 25: (26 - m) * (g[0] * 0.25) by three bins
    Degree12,     // CalType 52: (30 - mb) * slope[0] by two bins
    Bins45Gain1,  // BodyBins45 with the gain columns 1, 2, 3
    Bins45Gain2,
    Bins45Gain3,
    BinsFine,    // BodyBinsFine
    BinsFine50,  // CalType 50's bins on GridFine45
    Mid45Bins,   // ((45 - mb) * k) by gain bins (57, 70 in tempRange 3)
    Lens22,      // CalType 22: fixed gains, gray-dependent for hot pixels
};

// Warm-up shift: the curve shift s before warmHold is applied.
enum class Shift : uint8_t {
    FadeG3,      // xd faded by c5 - c1 from g[3]
    FadeThird4,  // xd faded from g[4] / 3
    Clock56,     // FadeThird(6) times the clock factor M
    ClockPlain,  // ramp to upTime 1200
    ClockLow,    // ClockPlain while c5 - c1 is below warmDiffLow
    ClockHigh,   // ClockPlain while c5 - c1 is below warmDiffHigh
    Clock3000,   // CalType 26: ramp to upTime 3000, whole gray counts
    Degree11,    // CalType 25: fade of slope[0], whole gray counts
    LensShort,   // CalType 50: LensRule with dT truncated, no reversed limits
    Lens6,       // LensRule on g[6] / 3
    Lens6Ext,    // LensRule on g[6] / 3 with limits e[0], e[1]
    Lens4,       // LensRule on g[4] / 3
    Lens22,      // CalType 22's peak detectors per lensType
};

// const_d from the shutter drift counts.
enum class Drift : uint8_t {
    Plain,          // drift
    TimesB4,        // drift * b[4]
    TimesB4To5000,  // drift * b[4] below upTime 5000, then 0
    Quad,           // positive drift times 4
    QuadLongRun,    // Quad, or above upTime 3000 the long-run drift
    GrayFactor56,   // drift times a factor rising at hot pixels
    Gain22,         // drift times a clock, w and gray dependent gain
};

struct Branch {
    GridId grid;
    Steps steps;
    Body body;
    Shift shift;
    Drift drift;
    Join join;
    Publish publish;
    bool seedWCH5;  // wCH5 takes itRefTemp while still 0
};

// Air temperature of the per-frame and the per-pixel stage.
enum class Air : uint8_t {
    C1,         // c1 in both, through const_CH1
    C2,         // c2 in both, through const_CH2
    C1FrameC2,  // c1 per frame, c2 per pixel through const_CH2
    NeutralC1,  // c1; the per-frame exponent is fixed at zero
};

enum class Result : uint8_t {
    Hundredths,  // both stages: integer hundredths
    LongPlain,   // per-frame whole degrees, per-pixel F / 100 as a float
    LongWindow,  // as LongPlain, per-pixel through windowTransLong
};

// The static that carries the per-pixel air temperature: const_CH2 holds c2.
inline bool pixelAirIsC2(Air air) { return air == Air::C1FrameC2 || air == Air::C2; }

struct Recipe {
    int32_t calType;
    bool computesDrift;  // else shutterDrift is the camera's
    Branch range2, range3, range4;
    RowTest test2;  // per-frame row test in tempRange 2 (3, 4: open-closed)
    Emissivity emissivity;
    Air air;
    bool boost;
    Result result;
    // 12 and 60 run the four-range frame (caltypes_12_60.cpp) and differ in
    // the emissivity alone.
    StageForm stage = StageForm::Skeleton;
};

}  // namespace kalviro::direct
