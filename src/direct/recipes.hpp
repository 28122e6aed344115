// The Direct CalTypes, one row each: structure by tempRange (grid, body
// drift, shift, drift counts, join, what warmShift receives) and the tail
// (row test of tempRange 2, emissivity, air, boost, result form). Rows follow
// the catalogue's order; the hand-written oddities are named in the enums.
#pragma once

#include "core/rows.hpp"
#include "direct/recipe.hpp"

namespace kalviro::direct {
namespace recipe_words {

inline constexpr bool computed = true;
inline constexpr bool read = false;
inline constexpr bool boost = true;
inline constexpr bool noBoost = false;

using G = GridId;
using S = Steps;
using B = Body;
using H = Shift;
using D = Drift;
using J = Join;
using E = Emissivity;
using A = Air;
using R = Result;
inline constexpr RowTest co = RowTest::ClosedOpen;
inline constexpr RowTest oc = RowTest::OpenClosed;

// A branch by name: its grid, body drift and warm-up shift, then only what
// differs from the plain branch (plain steps, the drift counts as they come,
// joined by Join::Int, warmShift 0, no wCH5 seed).
struct BranchOf : NamedRow<BranchOf, Branch> {
    constexpr BranchOf steps(Steps s) const { return with(&Branch::steps, s); }
    constexpr BranchOf drift(Drift d) const { return with(&Branch::drift, d); }
    constexpr BranchOf join(Join j) const { return with(&Branch::join, j); }
    // warmShift receives the shift.
    constexpr BranchOf publishes() const { return with(&Branch::publish, Publish::Shift); }
    // wCH5 takes itRefTemp while still 0.
    constexpr BranchOf seeds() const { return with(&Branch::seedWCH5, true); }
};

// Every Direct branch names its shift: on(grid, body).shift(...).
struct Placed {
    GridId grid;
    Body body;
    constexpr BranchOf shift(Shift s) const {
        BranchOf o{};
        o.row = Branch{grid, S::Plain, body, s, D::Plain, J::Int, Publish::Zero, false};
        return o;
    }
};
constexpr Placed on(GridId grid, Body body) { return {grid, body}; }

// clang-format off
// Branches shared by several members.
inline constexpr Branch k20Range2 = on(G::Grid25, B::Bins25).shift(H::FadeG3).join(J::Float).seeds();
inline constexpr Branch k20Range3 = on(G::GridMid7, B::Mid25).shift(H::ClockPlain).steps(S::Stepped).drift(D::Quad).publishes();
inline constexpr Branch k20Range4 = on(G::GridHigh10, B::High20).shift(H::ClockPlain).steps(S::Stepped).drift(D::QuadLongRun).publishes();
inline constexpr Branch k21Range3 = on(G::GridMid7, B::Mid25).shift(H::ClockLow).steps(S::Stepped).drift(D::Quad).publishes();
inline constexpr Branch k21Range4 = on(G::GridHigh7, B::BinsHigh21).shift(H::ClockLow).drift(D::QuadLongRun).publishes();
inline constexpr Branch k57Range2 = on(G::Grid45, B::Bins45Gain1).shift(H::FadeThird4).seeds();
inline constexpr Branch k57Range3 = on(G::GridMid7, B::Mid45Bins).shift(H::ClockLow).drift(D::Quad).publishes();
inline constexpr Branch k57Range4 = on(G::GridHigh7, B::Slope45).shift(H::ClockLow).drift(D::QuadLongRun).publishes();
inline constexpr Branch kWideRange3 = on(G::GridMid7Wide, B::Mid45).shift(H::ClockLow).steps(S::Stepped).drift(D::Quad).join(J::ExactIntDrift).publishes();
inline constexpr Branch kLongRange4 = on(G::GridHigh10, B::High20).shift(H::ClockPlain).steps(S::Stepped).drift(D::QuadLongRun).join(J::BothInt).publishes();
inline constexpr Branch k54Range2 = on(G::Grid45Ext, B::Bins45Gain2).shift(H::Lens4).steps(S::Ext45).join(J::ExactGrayFirst).publishes().seeds();
inline constexpr Branch k54Range3 = on(G::GridMid10Wide, B::Mid45).shift(H::ClockLow).steps(S::MidWide10).drift(D::Quad).join(J::ExactIntDrift).publishes();

// 12 and 60 run the four-range frame; their branches are unused.
inline constexpr Branch kFourRange = on(G::Grid25, B::Bins25).shift(H::ClockPlain);
constexpr Recipe fourRange(int32_t calType, Emissivity emissivity) {
    return Recipe{calType, read, kFourRange, kFourRange, kFourRange, co, emissivity, A::C2, noBoost, R::Hundredths,
                  StageForm::FourRange};
}

inline constexpr Recipe kRecipes[] = {
    // calType, drift, tempRange 2, 3, 4, test in 2, emissivity, air, boost, result
    fourRange(12, E::Table),
    {20, computed, k20Range2, k20Range3, k20Range4, co, E::Table, A::C1, boost, R::Hundredths},
    {21, computed, k20Range2, k21Range3, k21Range4, co, E::Polynomial, A::C1FrameC2, boost, R::Hundredths},
    {22, computed, on(G::Grid25, B::Lens22).shift(H::Lens22).steps(S::Lens22).drift(D::Gain22).join(J::Float).publishes(),
                   k20Range3, k20Range4, co, E::Table, A::C1, noBoost, R::Hundredths},
    {23, computed, k20Range2, on(G::GridHigh12, B::Mid25).shift(H::ClockHigh).steps(S::High12).drift(D::Quad).publishes(),
                   k20Range4, co, E::Table, A::NeutralC1, boost, R::Hundredths},
    {24, computed, k20Range2, k20Range3, k20Range4, co, E::Table, A::C1, boost, R::Hundredths},
    {25, computed, on(G::GridDegree11, B::Degree11).shift(H::Degree11).join(J::Float).publishes().seeds(),
                   on(G::GridMid7, B::Mid25Ext).shift(H::ClockPlain).steps(S::Stepped).drift(D::Quad).publishes(),
                   k20Range4, co, E::Table, A::C1, noBoost, R::Hundredths},
    {26, computed, on(G::Grid25, B::Bins25).shift(H::Clock3000).drift(D::TimesB4).join(J::Float).publishes().seeds(),
                   k20Range3, k20Range4, co, E::Table, A::C2, boost, R::Hundredths},
    {27, computed, k20Range2, k20Range3, k20Range4, co, E::Table, A::C1, boost, R::Hundredths},
    {50, read, on(G::GridFine45, B::BinsFine50).shift(H::LensShort).join(J::ExactGrayFirst).publishes().seeds(),
               on(G::GridMid7, B::Mid25).shift(H::ClockPlain).steps(S::Stepped).drift(D::Quad).join(J::ExactIntDrift).publishes(),
               kLongRange4, oc, E::Table, A::C1, noBoost, R::LongPlain},
    {51, read, on(G::GridFine45, B::BinsFine).shift(H::Lens6).join(J::ExactGrayFirst).publishes().seeds(),
               kWideRange3, kLongRange4, oc, E::Table, A::C1, noBoost, R::LongWindow},
    {52, read, on(G::GridDegree12, B::Degree12).shift(H::Lens6Ext).join(J::ExactGrayFirst).publishes().seeds(),
               kWideRange3, kLongRange4, oc, E::Table, A::C1, noBoost, R::LongWindow},
    {54, read, k54Range2, k54Range3, kLongRange4, oc, E::Table, A::C1, noBoost, R::LongWindow},
    {55, read, k54Range2, k54Range3, kLongRange4, oc, E::Table, A::C1, noBoost, R::LongWindow},
    {56, computed, on(G::GridFine45, B::BinsFine).shift(H::Clock56).drift(D::GrayFactor56).join(J::Float).seeds(),
                   on(G::Grid45Ext, B::Bins45Gain1).shift(H::FadeThird4).steps(S::Ext45).seeds(),
                   k20Range4, co, E::Table, A::C1, boost, R::Hundredths},
    {57, computed, k57Range2, k57Range3, k57Range4, oc, E::Table, A::C1, boost, R::Hundredths},
    {58, computed, on(G::Grid45, B::Bins45Gain3).shift(H::FadeThird4).seeds(),
                   on(G::GridHigh10, B::Slope45).shift(H::ClockLow).drift(D::Quad).publishes(),
                   k20Range4, oc, E::Table, A::C1, boost, R::Hundredths},
    fourRange(60, E::Polynomial),
    {70, computed, k57Range2, k57Range3, k57Range4, oc, E::Polynomial, A::C1, boost, R::Hundredths},
    {80, computed, k20Range2, k21Range3, on(G::GridHigh7, B::Slope25).shift(H::ClockLow).drift(D::QuadLongRun).publishes(),
                   co, E::Polynomial, A::C1, boost, R::Hundredths},
    {90, computed, k20Range2, k21Range3, k21Range4, co, E::Polynomial, A::C1FrameC2, boost, R::Hundredths},
    {100, computed, on(G::Grid25, B::Bins25).shift(H::FadeG3).drift(D::TimesB4To5000).join(J::Float).seeds(),
                    k20Range3, k20Range4, co, E::Polynomial, A::C1, boost, R::Hundredths},
    {110, read, k54Range2, k54Range3, kLongRange4, oc, E::Polynomial, A::C1, noBoost, R::LongWindow},
    {120, read, k54Range2, k54Range3, kLongRange4, oc, E::Polynomial, A::C1, noBoost, R::LongWindow},
};

// clang-format on

}  // namespace recipe_words

// The family's rows by CalType.
using Recipes = RowTable<recipe_words::kRecipes>;

}  // namespace kalviro::direct
