// The Direct family as the dispatch sees it (the interface is described in
// api/families.hpp): its row, the per-frame call (stage.cpp) and the
// per-pixel call as a plan and a kernel (pixel.hpp, pixel_kernel.hpp).
#pragma once

#include <cstdint>

#include "core/state.hpp"
#include "direct/pixel.hpp"
#include "direct/pixel_kernel.hpp"
#include "direct/recipes.hpp"
#include "direct/stage.hpp"
#include "kalviro.hpp"

namespace kalviro::direct {

struct Trait : Recipes {
    using Plan = PixelPlan;

    static float frame(const Row& r, CalState& st, uint8_t* block, int32_t gray, float emissivity,
                       float distance) {
        return frameDegrees(r, st, block, gray, emissivity, distance);
    }
    // The plan is the same for one gray value and for many.
    static Plan plan(const Row& r, const CalState& st, const uint8_t* block, float emissivity, float distance,
                     bool) {
        return pixelPlan(r, st, block, emissivity, distance);
    }
    template <typename L>
    static typename L::F kernel(const Plan& p, typename L::I gray) {
        return pixelDegrees<L>(p, gray);
    }
    // The block words the plan reads, handed to `use`: four ranges read more.
    template <typename Use>
    static auto withPlanWords(const Row& r, Use&& use) {
        return r.stage == StageForm::FourRange ? use(kPlanWords4) : use(kPlanWords);
    }
};

}  // namespace kalviro::direct
