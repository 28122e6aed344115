#include "ladder/ladder.hpp"
#include "ladder/stage.hpp"

namespace kalviro::ladder {

float frameDegrees(const Member& m, CalState& st, uint8_t* block, int32_t gray, float emissivity,
                   float distance) {
    (void)distance;  // the per-frame result takes the block's distance only
    const float raw = stage(m, st, block, gray);
    return static_cast<float>(frameResult(m, raw, block, emissivity)) / 100.0f;
}

float pixelDegrees(const Member& m, const CalState& st, const uint8_t* block, int32_t gray, float emissivity,
                   float distance) {
    return kernelDegrees(pixelPlan(m, st, block, emissivity, distance), gray);
}

}  // namespace kalviro::ladder
