// The ladder stage called directly on a test block: its frame shorthands,
// so that the alternatives (weights, ladders, curve scale) can be called one
// by one, and the raw temperature of a whole stage.
#pragma once

#include <initializer_list>

#include "block_builder.hpp"
#include "core/frame.hpp"
#include "ladder/recipes.hpp"
#include "ladder/stage.hpp"

namespace kalviro::test {

inline Block& withGains(Block& b, std::initializer_list<float> gains) {
    int k = 0;
    for (float v : gains) b.with(field::tempBinGain(k++), v);
    return b;
}

// The gains, sensor temperatures, dIT and driftGain of a frame of b.
inline ladder::Frame frameOf(const Block& b) {
    ladder::Frame f{};
    f.c = frameCtx(b.raw(), 0.0f);
    f.dIT = f.c.c5 - b.read(field::itRefTemp);
    f.driftGain = b.read(field::driftGain);
    return f;
}

// The raw temperature of the per-frame stage of a fresh module, on a copy of b.
inline float rawOf(int32_t calType, Block b, int32_t gray) {
    CalState st;
    return ladder::stage(*ladder::Recipes::rowFor(calType), st, b.raw(), gray);
}

}  // namespace kalviro::test
