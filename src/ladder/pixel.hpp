// The per-pixel pipeline of the ladder CalTypes: gray normalisation, segment
// lookup, atmospheric correction, the emissivity ladder and the final form.
// A plan holds all that depends on the statics, the block, the emissivity
// and the distance; the kernel is a function of the gray value alone.
#pragma once

#include <cstdint>

#include "core/block.hpp"
#include "core/segment_table.hpp"
#include "core/state.hpp"
#include "ladder/emiss_ladder.hpp"
#include "ladder/recipe.hpp"
#include "ladder/trim_table.hpp"

namespace kalviro::ladder {

// The atmosphere of a frame: the rule the distance table picks and the
// exponentials it needs, each taken once.
struct AirPlan {
    enum class Rule : uint8_t { Base, Lin, Up, Down, Add, Near, LinByV0 };
    Rule rule;
    float air;       // airBase
    float A3;        // const_A3
    double expK0;    // the exponential of the normal distance range
    double expNear;  // the exponential of a near row
    float D;         // effectiveDistance, metres
    double a, b, b2;
};

struct PixelPlan {
    // Gray normalisation.
    int32_t grayRef, grayBias;
    GrayVariant variant;
    int32_t range;
    float constB, constR;
    int32_t constD;                                            // trunc(const_d)
    float stretchAbove, stretchLow, stretchHigh, stretchGain;  // gray variants B and D
    bool stretch;
    // Segment lookup; in 61 and 62 the emissivity percent names the row that
    // stands in when none holds v.
    const TempSegment* rows;
    int rowCount;
    bool rowsInOrder;
    // Frames only: the rows in order as columns (withColumns).
    bool byColumns;
    RowColumns columns;
    int32_t percentRow;  // 0: none
    // Atmosphere, ladder, final form.
    AirPlan air;
    float baseTemp;
    bool eager;  // the ladder's 24 factors taken once, for many gray values
    LadderPlan ladder;
    int32_t gain;  // tempGain, whole: 121 widens it to double, the others round it to float
    float offset;  // (float)tempOffset
    int32_t tempOffset;
    Final final;
    bool distanceGain;
    double distanceM;  // block distance, metres
    float window;      // windowFactor
    float windowC;     // the static of the window term
    float emissivity;
    const TrimRow* trimRow;  // null: no trim
};

// Every block word pixelPlan reads, of every member: a plan built from one
// block holds for another whose words here are equal.
inline constexpr uint32_t kPlanWords[] = {
    field::grayCurve(0).offset,    field::grayCurve(2).offset,
    field::grayCurve(4).offset,    field::grayCurve(5).offset,
    field::grayCurve(7).offset,    field::grayCurve(11).offset,
    field::warmDiffLow.offset,     field::tempBinGain(0).offset,
    field::tempBinGain(4).offset,  field::driftGain.offset,
    field::tempRange.offset,       field::lensType.offset,
    field::tempCH1.offset,         field::tempCH5.offset,
    field::distance.offset,        field::shutterDrift.offset,
    field::tempGain.offset,        field::humidity.offset,
    field::tempOffset.offset,      field::grayBias.offset,
    field::grayRef.offset,         field::windowTrans.offset,
    field::windowTransLong.offset, field::auxGate.offset,  // windowTransLong is envTemp's word
};

// A plan for many gray values (eager) evaluates the ladder's polynomial of
// every bin once; one for a single gray value evaluates the one it needs.
PixelPlan pixelPlan(const Recipe& r, const CalState& st, const uint8_t* block, float emissivity,
                    float distance, bool eager);

// The per-pixel result in degrees: hundredths divided by 100 in single
// precision, or in the long layout the unquantised value (pixel_kernel.hpp
// on one lane).
float pixelDegrees(const PixelPlan& plan, int32_t gray);

// The atmosphere plan of a member's form (atmosphere.cpp).
AirPlan airPlan(Atmosphere form, const CalState& st, const uint8_t* block, float airBase, float distance);
float airApply(const AirPlan& plan, float rawTemp);

// The trim table's result from X, degrees before tempOffset (trim_table.cpp).
int32_t trimTable(float X, const PixelPlan& plan);

// The window tables (window_tables.cpp): V in hundredths, T the base
// temperature, W the transmission, c the air static.
int32_t windowTableCH(float V, float T, float W, float c);
int32_t windowTableSelf(float V, float T, float W);

// The per-frame result of the frame's raw temperature in hundredths
// (frame_result.cpp); 61 and 62 take the atmosphere from the block.
int32_t frameResult(const Recipe& r, float rawTemp, const uint8_t* block, float emissivity);
int32_t frameResultFourRange(const Recipe& r, float rawTemp, const uint8_t* block, float emissivity);

}  // namespace kalviro::ladder
