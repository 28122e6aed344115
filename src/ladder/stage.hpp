// The per-frame stage of the ladder CalTypes, up to the raw temperature of
// the frame's gray value, and the alternatives its branches choose from.
//
// Precision: the shorthands and the statics are floats; a decimal literal in
// a formula is a double, so an expression that holds one is evaluated in
// double and rounded once where it is assigned. Whole numbers (25, 45, 1200)
// are integers and leave float arithmetic in float.
#pragma once

#include <cstdint>

#include "core/frame.hpp"
#include "core/grids.hpp"
#include "core/state.hpp"
#include "ladder/recipe.hpp"

namespace kalviro::ladder {

// The shorthands of a frame. c holds the gains, slopes and temperatures in
// the glossary's words (c1, c2, m, mb, w, gf); c.g holds the curve points by
// curve index as the grid in force scales them, gc the raw ones.
struct Frame {
    FrameCtx c;
    float gc[12];
    Curve curve;    // the grid's points in ascending temperature, scaled
    float dIT;      // c5 - itRefTemp
    float low;      // warmDiffLow
    float high;     // warmDiffHigh
    float divisor;  // warmDivisor
    float driftGain;
    float rampW;     // c5 less the c1 that ramp reads back: const_CH1 where kept
    float sh2, sh3;  // shutterCH2, shutterCH3
    float scale;     // g, 1 where the grid has none
    int32_t N;       // shutter drift counts
};

// 1.0 - (w - warmDiffLow) / (warmDiffHigh - warmDiffLow), not clamped.
float ramp(const Frame& f);

// The curve scale g of a branch (scale.cpp).
float curveScale(const Branch& br, const Frame& f);

float bodyDrift(const BodyDrift& body, const Frame& f);

// Sets xd where the rule has one and returns D.
float warmShift(Shift form, const Frame& f, CalState& st);

// const_d from N by the multiplier table of the latched temperature
// (drift_counts.cpp).
float multipliedDrift(Drift table, int32_t N, const Frame& f, const CalState& st);

// The stage: statics and tempdata rebuilt, warmShift published, the raw
// temperature of gray returned.
float stage(const Recipe& r, CalState& st, uint8_t* block, int32_t gray);

}  // namespace kalviro::ladder
