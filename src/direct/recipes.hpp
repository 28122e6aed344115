// The Direct CalTypes, one row each, by name: recipe(number, branch of each
// tempRange), then the drift source, row test of tempRange 2, emissivity,
// air, boost and result form where they are not the plain ones. A branch is
// its grid, body drift and shift, then the steps, drift counts, join, what
// warmShift receives and the wCH5 seed likewise. Rows follow the
// catalogue's order; the hand-written oddities are named in the enums.
#pragma once

#include "core/rows.hpp"
#include "direct/recipe.hpp"

namespace kalviro::direct {
namespace recipe_words {

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

// A CalType's row by name: its number and its branch in tempRange 2, 3 and
// 4, then only what differs from the plain row (drift computed from the
// sensors, closed-open rows in tempRange 2, Esp_Table, air c1, no boost,
// integer hundredths).
struct RecipeOf : NamedRow<RecipeOf, Recipe> {
    // shutterDrift is the camera's, read from the block.
    constexpr RecipeOf readsDrift() const { return with(&Recipe::computesDrift, false); }
    // The per-frame call's rows of tempRange 2 are open-closed too.
    constexpr RecipeOf openClosedIn2() const { return with(&Recipe::test2, oc); }
    constexpr RecipeOf emissivity(Emissivity e) const { return with(&Recipe::emissivity, e); }
    constexpr RecipeOf air(Air a) const { return with(&Recipe::air, a); }
    constexpr RecipeOf boosted() const { return with(&Recipe::boost, true); }
    constexpr RecipeOf result(Result r) const { return with(&Recipe::result, r); }
};

constexpr RecipeOf recipe(int32_t calType, Branch range2, Branch range3, Branch range4) {
    RecipeOf o{};
    o.row = Recipe{calType, true, range2, range3, range4, co, E::Table, A::C1, false, R::Hundredths};
    return o;
}

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
constexpr RecipeOf fourRange(int32_t calType, Emissivity e) {
    return recipe(calType, kFourRange, kFourRange, kFourRange)
        .readsDrift()
        .emissivity(e)
        .air(A::C2)
        .with(&Recipe::stage, StageForm::FourRange);
}

inline constexpr Recipe kRecipes[] = {
    fourRange(12, E::Table),
    recipe(20, k20Range2, k20Range3, k20Range4).boosted(),
    recipe(21, k20Range2, k21Range3, k21Range4).emissivity(E::Polynomial).air(A::C1FrameC2).boosted(),
    recipe(22,
        on(G::Grid25, B::Lens22).shift(H::Lens22).steps(S::Lens22).drift(D::Gain22).join(J::Float).publishes(),
        k20Range3, k20Range4),
    recipe(23,
        k20Range2,
        on(G::GridHigh12, B::Mid25).shift(H::ClockHigh).steps(S::High12).drift(D::Quad).publishes(),
        k20Range4).air(A::NeutralC1).boosted(),
    recipe(24, k20Range2, k20Range3, k20Range4).boosted(),
    recipe(25,
        on(G::GridDegree11, B::Degree11).shift(H::Degree11).join(J::Float).publishes().seeds(),
        on(G::GridMid7, B::Mid25Ext).shift(H::ClockPlain).steps(S::Stepped).drift(D::Quad).publishes(),
        k20Range4),
    recipe(26,
        on(G::Grid25, B::Bins25).shift(H::Clock3000).drift(D::TimesB4).join(J::Float).publishes().seeds(),
        k20Range3, k20Range4).air(A::C2).boosted(),
    recipe(27, k20Range2, k20Range3, k20Range4).boosted(),
    recipe(50,
        on(G::GridFine45, B::BinsFine50).shift(H::LensShort).join(J::ExactGrayFirst).publishes().seeds(),
        on(G::GridMid7, B::Mid25).shift(H::ClockPlain).steps(S::Stepped).drift(D::Quad).join(J::ExactIntDrift).publishes(),
        kLongRange4).readsDrift().openClosedIn2().result(R::LongPlain),
    recipe(51,
        on(G::GridFine45, B::BinsFine).shift(H::Lens6).join(J::ExactGrayFirst).publishes().seeds(),
        kWideRange3, kLongRange4).readsDrift().openClosedIn2().result(R::LongWindow),
    recipe(52,
        on(G::GridDegree12, B::Degree12).shift(H::Lens6Ext).join(J::ExactGrayFirst).publishes().seeds(),
        kWideRange3, kLongRange4).readsDrift().openClosedIn2().result(R::LongWindow),
    recipe(54, k54Range2, k54Range3, kLongRange4).readsDrift().openClosedIn2().result(R::LongWindow),
    recipe(55, k54Range2, k54Range3, kLongRange4).readsDrift().openClosedIn2().result(R::LongWindow),
    recipe(56,
        on(G::GridFine45, B::BinsFine).shift(H::Clock56).drift(D::GrayFactor56).join(J::Float).seeds(),
        on(G::Grid45Ext, B::Bins45Gain1).shift(H::FadeThird4).steps(S::Ext45).seeds(),
        k20Range4).boosted(),
    recipe(57, k57Range2, k57Range3, k57Range4).openClosedIn2().boosted(),
    recipe(58,
        on(G::Grid45, B::Bins45Gain3).shift(H::FadeThird4).seeds(),
        on(G::GridHigh10, B::Slope45).shift(H::ClockLow).drift(D::Quad).publishes(),
        k20Range4).openClosedIn2().boosted(),
    fourRange(60, E::Polynomial),
    recipe(70, k57Range2, k57Range3, k57Range4).openClosedIn2().emissivity(E::Polynomial).boosted(),
    recipe(80,
        k20Range2, k21Range3,
        on(G::GridHigh7, B::Slope25).shift(H::ClockLow).drift(D::QuadLongRun).publishes()).emissivity(E::Polynomial).boosted(),
    recipe(90, k20Range2, k21Range3, k21Range4).emissivity(E::Polynomial).air(A::C1FrameC2).boosted(),
    recipe(100,
        on(G::Grid25, B::Bins25).shift(H::FadeG3).drift(D::TimesB4To5000).join(J::Float).seeds(),
        k20Range3, k20Range4).emissivity(E::Polynomial).boosted(),
    recipe(110, k54Range2, k54Range3, kLongRange4).readsDrift().openClosedIn2().emissivity(E::Polynomial).result(R::LongWindow),
    recipe(120, k54Range2, k54Range3, kLongRange4).readsDrift().openClosedIn2().emissivity(E::Polynomial).result(R::LongWindow),
};

// clang-format on

}  // namespace recipe_words

// The family's rows by CalType.
using Recipes = RowTable<recipe_words::kRecipes>;

}  // namespace kalviro::direct
