// The ladder CalTypes, one row each: drift form and air channel, the branch
// of each tempRange (grid, kD by row, body drift, warm-up shift, drift counts
// and clock periods, lookup value, what warmShift receives, seed of wCH5),
// then the per-pixel pipeline and the exponent of the per-frame result.
#pragma once

#include "ladder/member.hpp"

namespace kalviro::ladder {
namespace member_words {

using G = GridId;
using S = Steps;
using B = Body;
using W = Warm;
using D = Drift;
using J = Join;
using A = Atmosphere;
using F = Final;
using V = GrayVariant;

inline constexpr Periods none{0, 0};
inline constexpr Periods clock1200{1200, 3000};
inline constexpr Periods clock1800{1800, 3000};
inline constexpr Periods clock3000{3000, 3000};
inline constexpr bool seed = true;
inline constexpr bool noSeed = false;
inline constexpr Publish zero = Publish::Zero;
inline constexpr Publish shift = Publish::Shift;

// clang-format off
// The 81 stage and the branches its variants share.
inline constexpr Branch k81Range2{G::Grid25, S::Plain, B::Bins81, W::FadeG3, D::Plain, none, J::Float, zero, seed};
inline constexpr Branch k81Range3{G::GridMid7, S::Stepped, B::Mid25, W::Clock1200, D::Quad, none, J::Int, shift, noSeed};
inline constexpr Branch k81Range4{G::GridHigh7, S::Plain, B::Slope25, W::Clock1200, D::Periods, clock1200, J::Int, shift, noSeed};
inline constexpr Branch kUpperRange4{G::GridHigh7, S::Plain, B::UpperBins, W::Clock1200, D::Periods, clock1200, J::Int, shift, noSeed};
inline constexpr Branch k101Range4{G::GridHigh10, S::Stepped, B::Slope20T1, W::Ramp1800, D::Periods, clock1800, J::Int, shift, noSeed};
inline constexpr Branch k71Range2{G::Grid45, S::Plain, B::TableB, W::FadeThird4, D::Plain, none, J::Int, zero, seed};
inline constexpr Branch k130Range4{G::GridHigh7, S::Plain, B::Slope45, W::Ramp1800, D::Periods, clock1800, J::Int, shift, noSeed};

// Per-pixel rows: rows searched in tempRange 2/3/4, atmosphere, distance
// gain, final form, gray variant.
inline constexpr Pixel kPlain81{{12, 7, 7}, A::Plain, true, F::Plain, V::Standard};
inline constexpr Pixel kLensPlain{{12, 7, 7}, A::LensTable, false, F::Plain, V::Standard};
inline constexpr Pixel kLensTrim{{12, 7, 7}, A::LensTable, false, F::Trim, V::Standard};
inline constexpr Pixel kWindow130{{12, 7, 10}, A::LensTable, false, F::Window, V::D};

inline constexpr Member kMembers[] = {
    // calType, drift, air, tempRange 2, 3, 4, per-pixel, per-frame exponent and exp
    {71, DriftForm::NE, Channel::CH1, k71Range2,
        {G::GridMid7, S::Plain, B::TableB3, W::Clock1200, D::Quad, none, J::Int, shift, noSeed},
        {G::GridHigh7, S::Plain, B::Slope45, W::Clock1200, D::Periods, clock1200, J::Int, shift, noSeed},
        {{12, 7, 10}, A::Plain, true, F::Window, V::Standard}, Exponent::Distance, Exp::My},
    {81, DriftForm::NE, Channel::CH1, k81Range2, k81Range3, k81Range4, kPlain81, Exponent::Distance, Exp::My},
    {82, DriftForm::NE, Channel::CH1, k81Range2, k81Range3, k81Range4, kLensPlain, Exponent::Plain, Exp::My},
    {83, DriftForm::NC, Channel::CH1, k81Range2,
        {G::GridMid7, S::Stepped, B::Mid25Sum83, W::Band83, D::Quad, none, J::Int, shift, noSeed},
        k81Range4, {{12, 7, 7}, A::LensTable, false, F::Plain, V::B}, Exponent::Plain, Exp::My},
    {84, DriftForm::NE, Channel::CH1, k81Range2, k81Range3, k81Range4, kLensTrim, Exponent::Plain, Exp::My},
    {91, DriftForm::NE, Channel::CH2, k81Range2, k81Range3, kUpperRange4, kPlain81, Exponent::Distance, Exp::My},
    {92, DriftForm::NE, Channel::CH2,
        {G::Grid25, S::Plain, B::Poly92R2, W::FadeG3, D::Plain, none, J::FloatAdd, zero, seed},
        {G::GridMid7, S::Stepped, B::Poly92R3, W::Clock1200, D::Quad, none, J::IntAdd, shift, noSeed},
        kUpperRange4, {{12, 7, 7}, A::Plain, true, F::Plain, V::C}, Exponent::Distance, Exp::My},
    {93, DriftForm::NE, Channel::CH1, k81Range2, k81Range3, kUpperRange4, kLensPlain, Exponent::Plain, Exp::Library},
    {94, DriftForm::NE, Channel::CH1, k81Range2, k81Range3, kUpperRange4, kLensTrim, Exponent::Plain, Exp::Library},
    {95, DriftForm::NE, Channel::CH1, k81Range2,
        {G::GridMid7, S::Stepped, B::Mid25, W::Clock3000, D::Quad, none, J::Int, shift, noSeed},
        {G::GridHigh7, S::Plain, B::UpperBins, W::Clock3000, D::Periods, clock3000, J::Int, shift, noSeed},
        kLensTrim, Exponent::Plain, Exp::Library},
    {101, DriftForm::NC, Channel::CH1,
        {G::Grid25, S::Plain, B::Bins101, W::FadeG3, D::TimesB4To5000, none, J::Float, zero, seed},
        {G::GridMid7, S::Stepped, B::Slope25, W::Ramp1800, D::Quad, none, J::Int, shift, noSeed},
        k101Range4, {{12, 7, 10}, A::Plain, true, F::Plain, V::Standard}, Exponent::Distance, Exp::My},
    {102, DriftForm::NC, Channel::CH1,
        {G::Grid25, S::Plain, B::Bins101, W::FadeG3, D::Plain, none, J::Float, zero, seed},
        {G::GridMid7, S::Stepped, B::Mid25, W::Half102, D::Plain, none, J::Int, shift, noSeed},
        k101Range4, {{12, 7, 10}, A::LensTable, false, F::Trim, V::Standard}, Exponent::Distance, Exp::My},
    {130, DriftForm::NC, Channel::CH1,
        {G::Grid45, S::Knot22, B::TableB, W::FadeThird4, D::Plain, none, J::OffsetP2, zero, seed},
        {G::GridMid7, S::Plain, B::Mid45Fifth, W::None, D::Plain, none, J::OffsetP3, zero, noSeed},
        k130Range4, kWindow130, Exponent::Plain, Exp::My},
    {131, DriftForm::NC, Channel::CH1,
        {G::Grid45, S::Knot22, B::TableBPrime, W::FadeThird4, D::Plain, none, J::OffsetP2, zero, seed},
        {G::GridMid7, S::Plain, B::TableB3Prime, W::None, D::Plain, none, J::OffsetP3, zero, noSeed},
        k130Range4, kWindow130, Exponent::Plain, Exp::My},
};
// clang-format on

}  // namespace member_words

constexpr const Member* memberFor(int32_t calType) {
    for (const Member& m : member_words::kMembers) {
        if (m.calType == calType) return &m;
    }
    return nullptr;
}

}  // namespace kalviro::ladder
