// The ladder family as the dispatch sees it: the per-frame call here
// (stage.cpp), the per-pixel call as a plan and a kernel (pixel.hpp), each in
// the family's result form.
#pragma once

#include <cstdint>

#include "core/state.hpp"
#include "ladder/pixel.hpp"
#include "ladder/recipe.hpp"

namespace kalviro::ladder {

// Degrees: hundredths divided by 100.0 in single precision, or whole degrees
// in the long layout.
float frameDegrees(const Recipe& r, CalState& st, uint8_t* block, int32_t gray, float emissivity,
                   float distance);

}  // namespace kalviro::ladder
