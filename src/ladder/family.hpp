// The ladder family as the dispatch sees it (the interface is described in
// api/families.hpp): its row, the per-frame call (stage.cpp) and the
// per-pixel call as a plan and a kernel (pixel.hpp, pixel_kernel.hpp).
#pragma once

#include <cstdint>

#include "core/state.hpp"
#include "kalviro.hpp"
#include "ladder/pixel.hpp"
#include "ladder/pixel_kernel.hpp"
#include "ladder/recipes.hpp"
#include "ladder/stage.hpp"

namespace kalviro::ladder {

struct Trait : Recipes {
    using Plan = PixelPlan;

    static float frame(const Row& r, CalState& st, uint8_t* block, int32_t gray, float emissivity,
                       float distance) {
        return frameDegrees(r, st, block, gray, emissivity, distance);
    }
    // A plan for many gray values takes the ladder's polynomial of every bin
    // at once.
    static Plan plan(const Row& r, const CalState& st, const uint8_t* block, float emissivity, float distance,
                     bool many) {
        return pixelPlan(r, st, block, emissivity, distance, many);
    }
    template <typename L>
    static typename L::F kernel(const Plan& p, typename L::I gray) {
        return pixelDegrees<L>(p, gray);
    }
    // The block words the plan reads, handed to `use`.
    template <typename Use>
    static auto withPlanWords(const Row&, Use&& use) {
        return use(kPlanWords);
    }
};

}  // namespace kalviro::ladder
