// The ladder family as the dispatch sees it: the per-frame call, the
// per-pixel call as a plan and a kernel, each in the family's result form.
#pragma once

#include <cstdint>

#include "core/state.hpp"
#include "ladder/member.hpp"
#include "ladder/pipeline.hpp"

namespace kalviro::ladder {

// Hundredths of a degree as a float, divided by 100.0 in single precision.
float frameDegrees(const Member& m, CalState& st, uint8_t* block, int32_t gray, float emissivity,
                   float distance);

inline float kernelDegrees(const PixelPlan& plan, int32_t gray) {
    return static_cast<float>(pixelHundredths(plan, gray)) / 100.0f;
}

float pixelDegrees(const Member& m, const CalState& st, const uint8_t* block, int32_t gray, float emissivity,
                   float distance);

}  // namespace kalviro::ladder
