// The per-pixel call of the Direct family as a plan and a kernel: the plan
// holds all that depends on the statics, the block, the emissivity and the
// distance; the kernel is a function of the gray value alone.
#pragma once

#include <cstdint>

#include "core/block.hpp"
#include "core/final_scaling.hpp"
#include "core/segment_table.hpp"
#include "core/state.hpp"
#include "direct/recipe.hpp"

namespace kalviro::direct {

enum class PixelEnd : uint8_t {
    Truncate,    // integer hundredths
    Boost,       // the distance boost, then integer hundredths
    LongPlain,   // hundredths as a float, not truncated
    LongWindow,  // the same through windowTransLong
    Window,      // 12, 60: integer hundredths through windowTrans
};

struct PixelPlan {
    int32_t grayRef, grayBias;
    float constB, constR;
    int32_t drift;  // trunc(const_d), or in 12 and 60 the camera's drift
    const TempSegment* rows;
    int rowCount;  // 0: no lookup
    bool rowsInOrder;
    // Frames only: the rows in order as columns (withColumns).
    bool byColumns;
    RowColumns columns;
    bool unknownRange;   // 12, 60: v is 0
    int32_t percentRow;  // 12, 60: the row that replaces the lookup, 0 for none
    float air;
    float A3;
    double airExp;
    EmissFactor factor;
    int32_t gain;
    float offset;
    PixelEnd end;
    int32_t range;
    double distanceM;
    float window;
};

// Every block word pixelPlan reads, for a Recipe and for a FourRange: a plan
// built from one block holds for another whose words here are equal.
inline constexpr uint32_t kPlanWords[] = {
    field::grayRef.offset,  field::grayBias.offset, field::tempRange.offset,  field::humidity.offset,
    field::distance.offset, field::tempGain.offset, field::tempOffset.offset, field::windowTransLong.offset,
};
inline constexpr uint32_t kPlanWords4[] = {
    field::grayRef.offset,     field::grayBias.offset,     field::tempRange.offset,
    field::humidity.offset,    field::distance.offset,     field::tempGain.offset,
    field::tempOffset.offset,  field::shutterDrift.offset, field::windowTrans.offset,
    field::warmDiffLow.offset,
};

PixelPlan pixelPlan(const Recipe& r, const CalState& st, const uint8_t* block, float emissivity,
                    float distance);

// Hundredths of a degree as a float.
float pixelHundredths(const PixelPlan& p, int32_t gray);

// The per-pixel result in degrees (pixel_kernel.hpp on one lane).
float pixelDegrees(const PixelPlan& p, int32_t gray);

}  // namespace kalviro::direct
