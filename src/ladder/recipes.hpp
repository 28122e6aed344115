// The ladder CalTypes, one row each, by name: recipe(number, drift form,
// branch of each tempRange, per-pixel row), then the stage, air channel and
// per-frame exponent where they are not the plain ones. A branch is its grid
// and body drift, then the curve scale, steps, latch, warm-up shift, drift
// counts, join, what warmShift receives and the wCH5 seed where they are not
// the plain ones; a per-pixel row is the rows it searches, then its
// atmosphere, final form, window static and gray variant likewise.
#pragma once

#include "core/rows.hpp"
#include "ladder/recipe.hpp"

namespace kalviro::ladder {
namespace recipe_words {

using G = GridId;
using S = Steps;
using B = Body;
using W = Shift;
using D = Drift;
using J = Join;
using A = Atmosphere;
using F = Final;
using V = GrayVariant;
using Sc = Scale;
using Wt = Weights;
using C = CurveForm;
using L = Latch;

inline constexpr Periods none{0, 0};
inline constexpr Periods clock1200{1200, 3000};
inline constexpr Periods clock1800{1800, 3000};
inline constexpr Periods clock3000{3000, 3000};

constexpr BodyDrift fixed(Body form) { return {form, Xb::MeanCH20, C::None, Wt::None, Limiter::None}; }
constexpr BodyDrift curve(Xb xb, CurveForm c, Weights w, Limiter l = Limiter::None) {
    return {Body::Curve, xb, c, w, l};
}
constexpr BodyDrift pivot(Body form, Xb xb, Weights w, Limiter l = Limiter::None) {
    return {form, xb, C::None, w, l};
}
inline constexpr Limiter L1 = Limiter::L1;
inline constexpr Limiter L2 = Limiter::L2;

// A branch by name: its grid and body drift, then only what differs from
// the plain branch (no curve scale, plain steps, no latch, no warm-up
// shift, the drift counts as they come, joined by Join::Int, warmShift 0,
// no wCH5 seed).
struct BranchOf : NamedRow<BranchOf, Branch> {
    // The curve scale and the curve index from which it applies.
    constexpr BranchOf scaled(Scale s, uint8_t from = 0) const {
        return with(&Branch::scale, s).with(&Branch::scaleFrom, from);
    }
    // bg[14] stands for itSlope in the scale when e <= 0.
    constexpr BranchOf switched() const { return with(&Branch::scaleSwitch, true); }
    constexpr BranchOf steps(Steps s) const { return with(&Branch::steps, s); }
    constexpr BranchOf latch(Latch l) const { return with(&Branch::latch, l); }
    constexpr BranchOf shift(Shift s) const { return with(&Branch::shift, s); }
    // Drift::Periods reads the clock periods.
    constexpr BranchOf drift(Drift d, Periods p = none) const {
        return with(&Branch::drift, d).with(&Branch::periods, p);
    }
    constexpr BranchOf join(Join j) const { return with(&Branch::join, j); }
    // warmShift receives the shift D.
    constexpr BranchOf publishes() const { return with(&Branch::publish, Publish::Shift); }
    // wCH5 takes itRefTemp while still 0.
    constexpr BranchOf seeds() const { return with(&Branch::seedWCH5, true); }
};

constexpr BranchOf on(GridId grid, BodyDrift body) {
    BranchOf o{};
    o.row = Branch{grid,    Sc::None, 0,    false,  S::Plain,      body, L::None,
                   W::None, D::Plain, none, J::Int, Publish::Zero, false};
    return o;
}

// clang-format off
// The 81 stage and the branches its variants share.
inline constexpr Branch k81Range2 = on(G::Grid25, fixed(B::Bins81)).shift(W::FadeG3).join(J::Float).seeds();
inline constexpr Branch k81Range3 = on(G::GridMid7, fixed(B::Mid25)).steps(S::Stepped).shift(W::Clock1200).drift(D::Quad).publishes();
inline constexpr Branch k81Range4 = on(G::GridHigh7, pivot(B::SlopeMean, Xb::MeanCH20, Wt::None)).shift(W::Clock1200).drift(D::Periods, clock1200).publishes();
inline constexpr Branch kUpperRange4 = on(G::GridHigh7, fixed(B::UpperBins)).shift(W::Clock1200).drift(D::Periods, clock1200).publishes();
inline constexpr Branch k101Range4 = on(G::GridHigh10, fixed(B::Slope20T1)).steps(S::Stepped).shift(W::Ramp1800).drift(D::Periods, clock1800).publishes();
inline constexpr Branch k130Range4 = on(G::GridHigh7, pivot(B::PivotSlope, Xb::MeanCH20, Wt::None)).shift(W::Ramp1800).drift(D::Periods, clock1800).publishes();

// The scaled-curve family's branches in tempRange 3 and 4 that several share.
inline constexpr Branch kHalf155Range3 = on(G::GridMid7, pivot(B::Pivot155, Xb::CH3p20, Wt::Three, L2)).scaled(Sc::S0, 3).shift(W::W1Half);
inline constexpr Branch kSlopeL2Range4 = on(G::GridHigh7, pivot(B::PivotSlope, Xb::CH3p20, Wt::Three, L2)).scaled(Sc::S0, 3).shift(W::W1Half);
inline constexpr Branch k76Range3 = on(G::GridMid7, pivot(B::Pivot155, Xb::CH3p20, Wt::Three, L2)).scaled(Sc::S0).shift(W::W1HalfScaled);
inline constexpr Branch k75Range3 = on(G::GridMid11, pivot(B::Pivot75, Xb::CH2p15, Wt::W3)).scaled(Sc::S6).latch(L::W2).shift(W::W2HalfH).drift(D::LF);
inline constexpr Branch k135Range3 = on(G::GridMid11, pivot(B::Pivot75, Xb::CH2p15, Wt::W3)).scaled(Sc::S7).latch(L::W2).shift(W::W1HalfH).drift(D::LG);
inline constexpr Branch k136Range3 = on(G::GridMid11, pivot(B::Pivot75, Xb::CH2p20, Wt::W3)).scaled(Sc::S7).latch(L::W2).shift(W::W1HalfH).drift(D::LG);
inline constexpr Branch k136Range4 = on(G::GridHigh7, pivot(B::PivotSlope, Xb::CH2p20, Wt::Three)).scaled(Sc::S16).shift(W::W1HalfScaled);
inline constexpr Branch k96Range2 = on(G::GridLow25Wide, curve(Xb::CH2, C::E, Wt::W96)).scaled(Sc::S13).shift(W::W3Mark4).join(J::Float).seeds();

// A per-pixel row by name: the rows searched in tempRange 2, 3, 4 (and 5
// where the CalType reads it), then only what differs from the plain row
// (plain atmosphere without the distance gain, plain final form, the window
// term through const_CH1, the standard gray normalisation).
struct PixelOf : NamedRow<PixelOf, Pixel> {
    constexpr PixelOf atmosphere(Atmosphere a) const { return with(&Pixel::atmosphere, a); }
    // The per-pixel result takes the gain of the distance.
    constexpr PixelOf distanceGain() const { return with(&Pixel::distanceGain, true); }
    constexpr PixelOf finalForm(Final f) const { return with(&Pixel::final, f); }
    constexpr PixelOf window(Channel c) const { return with(&Pixel::windowC, c); }
    constexpr PixelOf gray(GrayVariant v) const { return with(&Pixel::gray, v); }
};

constexpr PixelOf searching(uint8_t range2, uint8_t range3, uint8_t range4, uint8_t range5 = 0) {
    PixelOf o{};
    o.row = Pixel{{range2, range3, range4, range5}, A::Plain, false, F::Plain, Channel::CH1, V::Standard};
    return o;
}

inline constexpr Pixel kPlain81 = searching(12, 7, 7).distanceGain();
inline constexpr Pixel kLensPlain = searching(12, 7, 7).atmosphere(A::LensTable);
inline constexpr Pixel kLensTrim = searching(12, 7, 7).atmosphere(A::LensTable).finalForm(F::Trim);
inline constexpr Pixel kLensTrim11 = searching(12, 11, 7).atmosphere(A::LensTable).finalForm(F::Trim);
inline constexpr Pixel kWindow130 = searching(12, 7, 10).atmosphere(A::LensTable).finalForm(F::Window).gray(V::D);
inline constexpr Pixel kLinearCH11 = searching(12, 11, 7).atmosphere(A::RangeLinear).finalForm(F::WindowTableCH);
inline constexpr Pixel kLinearCH14 = searching(12, 11, 14).atmosphere(A::RangeLinear).finalForm(F::WindowTableCH);
inline constexpr Pixel kLinearCH7 = searching(14, 7, 7).atmosphere(A::RangeLinear).finalForm(F::WindowTableCH);
inline constexpr Pixel kLensWindow14 = searching(14, 7, 7).atmosphere(A::LensTable).finalForm(F::Window);
inline constexpr Pixel kSelf11 = searching(12, 11, 7).atmosphere(A::LensTable).finalForm(F::WindowTableSelf);
inline constexpr Pixel kSelf14 = searching(12, 11, 14).atmosphere(A::LensTable).finalForm(F::WindowTableSelf);
inline constexpr Pixel kSelf1411 = searching(14, 11, 7).atmosphere(A::LensTable).finalForm(F::WindowTableSelf);

// A CalType's row by name: its number, the sensor of its shutter drift, its
// branch in tempRange 2, 3 and 4 and its per-pixel row, then only what
// differs from the plain row (the skeleton stage, air through const_CH1,
// the per-frame exponent without the distance, by myexp).
struct RecipeOf : NamedRow<RecipeOf, Recipe> {
    constexpr RecipeOf longLayout() const { return with(&Recipe::stage, StageForm::Long); }
    constexpr RecipeOf air(Channel c) const { return with(&Recipe::channel, c); }
    // The per-frame result's exponent takes the block's distance.
    constexpr RecipeOf distanceExponent() const { return with(&Recipe::exponent, Exponent::Distance); }
    // The per-frame result by the library's exp in place of myexp.
    constexpr RecipeOf libraryExp() const { return with(&Recipe::exp, Exp::Library); }
};

constexpr RecipeOf recipe(int32_t calType, DriftForm drift, Branch range2, Branch range3, Branch range4,
                          Pixel pixel) {
    RecipeOf o{};
    o.row = Recipe{calType, StageForm::Skeleton, drift, Channel::CH1, range2, range3, range4, pixel,
                   Exponent::Plain, Exp::My};
    return o;
}

// The rows of 61 and 62 run the four-range frame; their branches are unused.
inline constexpr Branch kFourRange = on(G::Grid25, fixed(B::Bins81));
constexpr RecipeOf fourRange(int32_t calType, Pixel pixel) {
    return recipe(calType, DriftForm::Read, kFourRange, kFourRange, kFourRange, pixel)
        .with(&Recipe::stage, StageForm::FourRange);
}

inline constexpr Recipe kRecipes[] = {
    fourRange(61, searching(12, 12, 7, 9).finalForm(F::Window).window(Channel::CH2).gray(V::A))
        .air(Channel::CH2).distanceExponent(),
    fourRange(62, searching(12, 12, 7, 10).atmosphere(A::NoLens).finalForm(F::Window).window(Channel::CH2).gray(V::A)),
    recipe(71, DriftForm::NE,
        on(G::Grid45, curve(Xb::MeanCH20, C::B, Wt::TableB)).shift(W::FadeThird4).seeds(),
        on(G::GridMid7, pivot(B::Pivot155, Xb::MeanCH20, Wt::B3)).shift(W::Clock1200).drift(D::Quad).publishes(),
        on(G::GridHigh7, pivot(B::PivotSlope, Xb::MeanCH20, Wt::None)).shift(W::Clock1200).drift(D::Periods, clock1200).publishes(),
        searching(12, 7, 10).distanceGain().finalForm(F::Window)).distanceExponent(),
    recipe(72, DriftForm::NC,
        on(G::Grid45Ext, curve(Xb::CH3p20, C::B, Wt::TableB, L1)).scaled(Sc::S0, 5).shift(W::FadeThird4).seeds(),
        kHalf155Range3, kSlopeL2Range4,
        searching(14, 7, 7).atmosphere(A::RangeLinear).finalForm(F::Window)),
    recipe(73, DriftForm::NC,
        on(G::GridLow45, curve(Xb::T2p20, C::D, Wt::W73)).scaled(Sc::S1).latch(L::W2).shift(W::W1Mark6).drift(D::LA).seeds(),
        on(G::GridMid11, pivot(B::Pivot75, Xb::CH2p20, Wt::Three)).scaled(Sc::S5).latch(L::W2).shift(W::W1HalfH).drift(D::LF),
        on(G::GridHigh7, pivot(B::PivotSlope, Xb::CH2p20, Wt::Three)).scaled(Sc::S10).shift(W::W1HalfScaled),
        searching(12, 11, 7).atmosphere(A::RangeLinear).finalForm(F::Window)),
    recipe(74, DriftForm::NC,
        on(G::GridLow45, curve(Xb::T2p20, C::D, Wt::W74)).scaled(Sc::S2).latch(L::W2).shift(W::W2Mark6).drift(D::LB).seeds(),
        on(G::GridMid11, pivot(B::Pivot75, Xb::CH2p20, Wt::W3)).scaled(Sc::S6).latch(L::W2).shift(W::W2HalfH).drift(D::LF),
        on(G::GridHigh7, pivot(B::PivotSlope, Xb::CH2p20, Wt::Three)).scaled(Sc::S10).shift(W::W1HalfScaled),
        kLinearCH11),
    recipe(75, DriftForm::NC,
        on(G::GridLow45, curve(Xb::T2p15, C::DFrom0, Wt::W75)).scaled(Sc::S2).latch(L::W2).shift(W::W2Mark6).drift(D::LB).seeds(),
        k75Range3,
        on(G::Grid45Ext, curve(Xb::CH2p15, C::BFrom0, Wt::W76)).scaled(Sc::S4).latch(L::W1).shift(W::W1Mark4).drift(D::LD).seeds(),
        kLinearCH14),
    recipe(76, DriftForm::NC,
        on(G::Grid45Ext, curve(Xb::CH2p15, C::BFrom0, Wt::W76)).scaled(Sc::S4).latch(L::W1).shift(W::W1Mark4).drift(D::LD).seeds(),
        k76Range3, kSlopeL2Range4, kLinearCH7),
    recipe(77, DriftForm::NC,
        on(G::GridLow45, curve(Xb::T2p15, C::DFrom0, Wt::W75)).scaled(Sc::S2).switched().latch(L::W2).shift(W::W2Mark6).drift(D::LB).seeds(),
        on(G::GridMid11, pivot(B::Pivot75, Xb::CH2p15, Wt::W3)).scaled(Sc::S6).switched().latch(L::W2).shift(W::W2HalfH).drift(D::LF),
        on(G::Grid45Ext, curve(Xb::CH2p15, C::BFrom0, Wt::W76)).scaled(Sc::S4).switched().latch(L::W1).shift(W::W1Mark4).drift(D::LD).seeds(),
        kLinearCH14),
    recipe(78, DriftForm::NC,
        on(G::Grid45Ext, curve(Xb::CH2p15, C::BFrom0, Wt::W76)).scaled(Sc::S4).switched().latch(L::W1).shift(W::W1Mark4).drift(D::LD).seeds(),
        k76Range3, kSlopeL2Range4, kLinearCH7),
    recipe(81, DriftForm::NE, k81Range2, k81Range3, k81Range4, kPlain81).distanceExponent(),
    recipe(82, DriftForm::NE, k81Range2, k81Range3, k81Range4, kLensPlain),
    recipe(83, DriftForm::NC,
        k81Range2,
        on(G::GridMid7, fixed(B::Mid25Sum83)).steps(S::Stepped).shift(W::Band83).drift(D::Quad).publishes(),
        k81Range4,
        searching(12, 7, 7).atmosphere(A::LensTable).gray(V::B)),
    recipe(84, DriftForm::NE, k81Range2, k81Range3, k81Range4, kLensTrim),
    recipe(85, DriftForm::NE,
        on(G::GridLow25Wide, curve(Xb::CH2, C::E, Wt::W85)).scaled(Sc::S11).steps(S::Rise85).shift(W::W3Mark4).join(J::Float).seeds(),
        on(G::GridMid11, pivot(B::Fifth75, Xb::T2, Wt::Hot35)).scaled(Sc::S12).shift(W::W3Step).publishes(),
        on(G::GridHigh7, pivot(B::SlopeMean, Xb::T2, Wt::Hot35)).scaled(Sc::S12, 3).shift(W::W3Raw).publishes(),
        kLensTrim11),
    recipe(91, DriftForm::NE, k81Range2, k81Range3, kUpperRange4, kPlain81).air(Channel::CH2).distanceExponent(),
    recipe(92, DriftForm::NE,
        on(G::Grid25, fixed(B::Poly92R2)).shift(W::FadeG3).join(J::FloatAdd).seeds(),
        on(G::GridMid7, fixed(B::Poly92R3)).steps(S::Stepped).shift(W::Clock1200).drift(D::Quad).join(J::IntAdd).publishes(),
        kUpperRange4,
        searching(12, 7, 7).distanceGain().gray(V::C)).air(Channel::CH2).distanceExponent(),
    recipe(93, DriftForm::NE, k81Range2, k81Range3, kUpperRange4, kLensPlain).libraryExp(),
    recipe(94, DriftForm::NE, k81Range2, k81Range3, kUpperRange4, kLensTrim).libraryExp(),
    recipe(95, DriftForm::NE,
        k81Range2,
        on(G::GridMid7, fixed(B::Mid25)).steps(S::Stepped).shift(W::Clock3000).drift(D::Quad).publishes(),
        on(G::GridHigh7, fixed(B::UpperBins)).shift(W::Clock3000).drift(D::Periods, clock3000).publishes(),
        kLensTrim).libraryExp(),
    recipe(96, DriftForm::NE,
        k96Range2,
        on(G::GridMid11, pivot(B::Fifth75, Xb::T2, Wt::T2Steps96)).scaled(Sc::S14).latch(L::Ch).shift(W::W3Step).drift(D::LH).publishes(),
        on(G::GridHigh7, pivot(B::SlopeCH2, Xb::T2, Wt::Hot35)).scaled(Sc::S15).shift(W::W3Step).publishes(),
        kLensTrim11).libraryExp(),
    recipe(101, DriftForm::NC,
        on(G::Grid25, fixed(B::Bins101)).shift(W::FadeG3).drift(D::TimesB4To5000).join(J::Float).seeds(),
        on(G::GridMid7, pivot(B::SlopeMean, Xb::MeanCH20, Wt::None)).steps(S::Stepped).shift(W::Ramp1800).drift(D::Quad).publishes(),
        k101Range4,
        searching(12, 7, 10).distanceGain()).distanceExponent(),
    recipe(102, DriftForm::NC,
        on(G::Grid25, fixed(B::Bins101)).shift(W::FadeG3).join(J::Float).seeds(),
        on(G::GridMid7, fixed(B::Mid25)).steps(S::Stepped).shift(W::Half102).publishes(),
        k101Range4,
        searching(12, 7, 10).atmosphere(A::LensTable).finalForm(F::Trim)).distanceExponent(),
    recipe(111, DriftForm::Read,
        on(G::Grid45Ext, curve(Xb::MeanCH20, C::B, Wt::TableBLong)).steps(S::Ext45).shift(W::LensLatch).join(J::ExactDriftFirst).publishes().seeds(),
        on(G::GridMid10Wide, pivot(B::Pivot155, Xb::MeanCH20, Wt::None)).steps(S::MidWide10).shift(W::Clock1200).drift(D::Quad).join(J::ExactIntDrift).publishes(),
        on(G::GridHigh10, fixed(B::Slope20T1)).steps(S::Stepped).shift(W::ClockAlways).drift(D::Periods, clock1200).join(J::BothInt).publishes(),
        searching(14, 10, 10).finalForm(F::LongBase)).longLayout().distanceExponent(),
    recipe(121, DriftForm::Read,
        on(G::Grid45Ext, curve(Xb::MeanCH20, C::B, Wt::TableBLong)).steps(S::Ext45).shift(W::LensLatch).join(J::ExactDriftFirst).publishes().seeds(),
        on(G::GridMid10Wide, pivot(B::Pivot155, Xb::MeanCH20, Wt::None)).steps(S::MidWide10).shift(W::Clock1200).drift(D::Quad).join(J::ExactIntDrift).publishes(),
        on(G::GridHigh10, fixed(B::Slope20T1)).steps(S::Stepped).shift(W::ClockAlways).drift(D::Periods, clock1200).join(J::BothInt).publishes(),
        searching(14, 10, 10).finalForm(F::LongFixed)).longLayout().distanceExponent(),
    recipe(130, DriftForm::NC,
        on(G::Grid45, curve(Xb::MeanCH20, C::B, Wt::TableB)).steps(S::Knot22).shift(W::FadeThird4).join(J::OffsetP2).seeds(),
        on(G::GridMid7, pivot(B::PivotFifth, Xb::MeanCH20, Wt::None)).join(J::OffsetP3),
        k130Range4, kWindow130),
    recipe(131, DriftForm::NC,
        on(G::Grid45, curve(Xb::MeanCH20, C::B, Wt::TableBPrime)).steps(S::Knot22).shift(W::FadeThird4).join(J::OffsetP2).seeds(),
        on(G::GridMid7, pivot(B::PivotFifth, Xb::MeanCH20, Wt::TableBPrime)).join(J::OffsetP3),
        k130Range4, kWindow130),
    recipe(132, DriftForm::NC,
        on(G::Grid45Ext, curve(Xb::CH3p20, C::B, Wt::TableB132)).scaled(Sc::S9, 5).steps(S::Knot26).shift(W::W3Gc4).drift(D::LI).seeds(),
        kHalf155Range3, kSlopeL2Range4, kLensWindow14),
    recipe(133, DriftForm::NC,
        on(G::GridLow45, curve(Xb::T2p20, C::D, Wt::W133)).scaled(Sc::S3).latch(L::W2).shift(W::W1Mark6).drift(D::LC),
        k136Range3,
        on(G::GridHigh7, pivot(B::PivotSlope, Xb::CH2p20, Wt::Three)).scaled(Sc::S16).shift(W::W1HalfScaled),
        kSelf11),
    recipe(134, DriftForm::NC,
        on(G::Grid45Ext, curve(Xb::CH3p20, C::B, Wt::W134)).scaled(Sc::S134).latch(L::W2).shift(W::W3Mark4H134).drift(D::L134).seeds(),
        kHalf155Range3, kSlopeL2Range4, kLensWindow14),
    recipe(135, DriftForm::NC,
        on(G::GridLow45, curve(Xb::T2p15, C::DFrom0, Wt::W135)).scaled(Sc::S3).latch(L::W2).shift(W::W1Mark6).drift(D::LC),
        k135Range3,
        on(G::Grid45Ext, curve(Xb::CH2p15, C::BFrom0, Wt::W136)).scaled(Sc::S8).latch(L::W1).shift(W::W1Mark4).drift(D::LE).seeds(),
        kSelf14),
    recipe(136, DriftForm::NC,
        on(G::Grid45Ext, curve(Xb::CH2p15, C::BFrom0, Wt::W136)).scaled(Sc::S8).latch(L::W1).shift(W::W1Mark4).drift(D::LE).seeds(),
        k136Range3, k136Range4, kSelf1411),
    recipe(137, DriftForm::NC,
        on(G::GridLow45, curve(Xb::T2p15, C::DFrom0, Wt::W135)).scaled(Sc::S3).switched().latch(L::W2).shift(W::W1Mark6).drift(D::LC),
        on(G::GridMid11, pivot(B::Pivot75, Xb::CH2p15, Wt::W3)).scaled(Sc::S7).switched().latch(L::W2).shift(W::W1HalfH).drift(D::LG),
        on(G::Grid45Ext, curve(Xb::CH2p15, C::BFrom0, Wt::W136)).scaled(Sc::S8).switched().latch(L::W1).shift(W::W1Mark4).drift(D::LE).seeds(),
        kSelf14),
    recipe(138, DriftForm::NC,
        on(G::Grid45Ext, curve(Xb::T2p15, C::BFrom0To50, Wt::W138)).scaled(Sc::S8).switched().latch(L::W1).shift(W::W1Mark4).drift(D::LE).seeds(),
        k136Range3, k136Range4, kSelf1411),
    recipe(140, DriftForm::NE,
        on(G::GridLow25Wide, curve(Xb::CH2, C::E, Wt::W96)).scaled(Sc::S15).shift(W::W3Mark4).join(J::Float).seeds(),
        on(G::GridMid11, pivot(B::Fifth75, Xb::T2, Wt::T2Steps96)).scaled(Sc::S15).latch(L::Ch).shift(W::W3Step).drift(D::LH).publishes(),
        on(G::GridHigh7, pivot(B::SlopeCH2, Xb::T2, Wt::Hot35)).scaled(Sc::S15).shift(W::W3Step).publishes(),
        kLensTrim11).libraryExp(),
};
// clang-format on

}  // namespace recipe_words

// The family's rows by CalType.
using Recipes = RowTable<recipe_words::kRecipes>;

}  // namespace kalviro::ladder
