// The Direct CalTypes, one row each: structure by tempRange (grid, body
// drift, shift, drift counts, join, what warmShift receives) and the tail
// (row test of tempRange 2, emissivity, air, boost, result form). Rows follow
// the catalogue's order; the hand-written oddities are named in the enums.
#pragma once

#include "core/rows.hpp"
#include "direct/recipe.hpp"

namespace kalviro::direct {
namespace recipe_words {

inline constexpr bool seed = true;
inline constexpr bool noSeed = false;
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

// clang-format off
// Branches shared by several members.
inline constexpr Branch k20Range2{G::Grid25, S::Plain, B::Bins25, H::FadeG3, D::Plain, J::Float, Publish::Zero, seed};
inline constexpr Branch k20Range3{G::GridMid7, S::Stepped, B::Mid25, H::ClockPlain, D::Quad, J::Int, Publish::Shift, noSeed};
inline constexpr Branch k20Range4{G::GridHigh10, S::Stepped, B::High20, H::ClockPlain, D::QuadLongRun, J::Int, Publish::Shift, noSeed};
inline constexpr Branch k21Range3{G::GridMid7, S::Stepped, B::Mid25, H::ClockLow, D::Quad, J::Int, Publish::Shift, noSeed};
inline constexpr Branch k21Range4{G::GridHigh7, S::Plain, B::BinsHigh21, H::ClockLow, D::QuadLongRun, J::Int, Publish::Shift, noSeed};
inline constexpr Branch k57Range2{G::Grid45, S::Plain, B::Bins45Gain1, H::FadeThird4, D::Plain, J::Int, Publish::Zero, seed};
inline constexpr Branch k57Range3{G::GridMid7, S::Plain, B::Mid45Bins, H::ClockLow, D::Quad, J::Int, Publish::Shift, noSeed};
inline constexpr Branch k57Range4{G::GridHigh7, S::Plain, B::Slope45, H::ClockLow, D::QuadLongRun, J::Int, Publish::Shift, noSeed};
inline constexpr Branch kWideRange3{G::GridMid7Wide, S::Stepped, B::Mid45, H::ClockLow, D::Quad, J::ExactIntDrift, Publish::Shift, noSeed};
inline constexpr Branch kLongRange4{G::GridHigh10, S::Stepped, B::High20, H::ClockPlain, D::QuadLongRun, J::BothInt, Publish::Shift, noSeed};
inline constexpr Branch k54Range2{G::Grid45Ext, S::Ext45, B::Bins45Gain2, H::Lens4, D::Plain, J::ExactGrayFirst, Publish::Shift, seed};
inline constexpr Branch k54Range3{G::GridMid10Wide, S::MidWide10, B::Mid45, H::ClockLow, D::Quad, J::ExactIntDrift, Publish::Shift, noSeed};

// 12 and 60 run the four-range frame; their branches are unused.
inline constexpr Branch kFourRange{G::Grid25, S::Plain, B::Bins25, H::ClockPlain, D::Plain, J::Int, Publish::Zero, noSeed};
constexpr Recipe fourRange(int32_t calType, Emissivity emissivity) {
    return Recipe{calType, read, kFourRange, kFourRange, kFourRange, co, emissivity, A::C2, noBoost, R::Hundredths,
                  StageForm::FourRange};
}

inline constexpr Recipe kRecipes[] = {
    // calType, drift, tempRange 2, 3, 4, test in 2, emissivity, air, boost, result
    fourRange(12, E::Table),
    {20, computed, k20Range2, k20Range3, k20Range4, co, E::Table, A::C1, boost, R::Hundredths},
    {21, computed, k20Range2, k21Range3, k21Range4, co, E::Polynomial, A::C1FrameC2, boost, R::Hundredths},
    {22, computed, {G::Grid25, S::Lens22, B::Lens22, H::Lens22, D::Gain22, J::Float, Publish::Shift, noSeed},
                   k20Range3, k20Range4, co, E::Table, A::C1, noBoost, R::Hundredths},
    {23, computed, k20Range2, {G::GridHigh12, S::High12, B::Mid25, H::ClockHigh, D::Quad, J::Int, Publish::Shift, noSeed},
                   k20Range4, co, E::Table, A::NeutralC1, boost, R::Hundredths},
    {24, computed, k20Range2, k20Range3, k20Range4, co, E::Table, A::C1, boost, R::Hundredths},
    {25, computed, {G::GridDegree11, S::Plain, B::Degree11, H::Degree11, D::Plain, J::Float, Publish::Shift, seed},
                   {G::GridMid7, S::Stepped, B::Mid25Ext, H::ClockPlain, D::Quad, J::Int, Publish::Shift, noSeed},
                   k20Range4, co, E::Table, A::C1, noBoost, R::Hundredths},
    {26, computed, {G::Grid25, S::Plain, B::Bins25, H::Clock3000, D::TimesB4, J::Float, Publish::Shift, seed},
                   k20Range3, k20Range4, co, E::Table, A::C2, boost, R::Hundredths},
    {27, computed, k20Range2, k20Range3, k20Range4, co, E::Table, A::C1, boost, R::Hundredths},
    {50, read, {G::GridFine45, S::Plain, B::BinsFine50, H::LensShort, D::Plain, J::ExactGrayFirst, Publish::Shift, seed},
               {G::GridMid7, S::Stepped, B::Mid25, H::ClockPlain, D::Quad, J::ExactIntDrift, Publish::Shift, noSeed},
               kLongRange4, oc, E::Table, A::C1, noBoost, R::LongPlain},
    {51, read, {G::GridFine45, S::Plain, B::BinsFine, H::Lens6, D::Plain, J::ExactGrayFirst, Publish::Shift, seed},
               kWideRange3, kLongRange4, oc, E::Table, A::C1, noBoost, R::LongWindow},
    {52, read, {G::GridDegree12, S::Plain, B::Degree12, H::Lens6Ext, D::Plain, J::ExactGrayFirst, Publish::Shift, seed},
               kWideRange3, kLongRange4, oc, E::Table, A::C1, noBoost, R::LongWindow},
    {54, read, k54Range2, k54Range3, kLongRange4, oc, E::Table, A::C1, noBoost, R::LongWindow},
    {55, read, k54Range2, k54Range3, kLongRange4, oc, E::Table, A::C1, noBoost, R::LongWindow},
    {56, computed, {G::GridFine45, S::Plain, B::BinsFine, H::Clock56, D::GrayFactor56, J::Float, Publish::Zero, seed},
                   {G::Grid45Ext, S::Ext45, B::Bins45Gain1, H::FadeThird4, D::Plain, J::Int, Publish::Zero, seed},
                   k20Range4, co, E::Table, A::C1, boost, R::Hundredths},
    {57, computed, k57Range2, k57Range3, k57Range4, oc, E::Table, A::C1, boost, R::Hundredths},
    {58, computed, {G::Grid45, S::Plain, B::Bins45Gain3, H::FadeThird4, D::Plain, J::Int, Publish::Zero, seed},
                   {G::GridHigh10, S::Plain, B::Slope45, H::ClockLow, D::Quad, J::Int, Publish::Shift, noSeed},
                   k20Range4, oc, E::Table, A::C1, boost, R::Hundredths},
    fourRange(60, E::Polynomial),
    {70, computed, k57Range2, k57Range3, k57Range4, oc, E::Polynomial, A::C1, boost, R::Hundredths},
    {80, computed, k20Range2, k21Range3, {G::GridHigh7, S::Plain, B::Slope25, H::ClockLow, D::QuadLongRun, J::Int, Publish::Shift, noSeed},
                   co, E::Polynomial, A::C1, boost, R::Hundredths},
    {90, computed, k20Range2, k21Range3, k21Range4, co, E::Polynomial, A::C1FrameC2, boost, R::Hundredths},
    {100, computed, {G::Grid25, S::Plain, B::Bins25, H::FadeG3, D::TimesB4To5000, J::Float, Publish::Zero, seed},
                    k20Range3, k20Range4, co, E::Polynomial, A::C1, boost, R::Hundredths},
    {110, read, k54Range2, k54Range3, kLongRange4, oc, E::Polynomial, A::C1, noBoost, R::LongWindow},
    {120, read, k54Range2, k54Range3, kLongRange4, oc, E::Polynomial, A::C1, noBoost, R::LongWindow},
};

// clang-format on

}  // namespace recipe_words

constexpr const Recipe* recipeFor(int32_t calType) { return rowOf(recipe_words::kRecipes, calType); }
constexpr bool hasRecipe(int32_t calType) { return rowIndexOf(recipe_words::kRecipes, calType) >= 0; }

// Whether the CalType's row runs the four-range frame, by number.
constexpr bool runsFourRange(int32_t calType) {
    const int i = rowIndexOf(recipe_words::kRecipes, calType);
    return i >= 0 && recipe_words::kRecipes[i].stage == StageForm::FourRange;
}

}  // namespace kalviro::direct
