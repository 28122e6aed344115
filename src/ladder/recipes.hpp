// The ladder CalTypes, one row each: stage, drift form and air channel; the
// branch of each tempRange (grid, scale and the curve index it starts at, steps
// by row, body drift, latch, warm-up shift, drift counts, lookup value, what
// warmShift receives, seed of wCH5, the switch of the scale); the per-pixel
// pipeline; the exponent of the per-frame result.
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
inline constexpr bool seed = true;
inline constexpr bool noSeed = false;
inline constexpr bool sw = true;  // the scale switches to bg[14] when e <= 0
inline constexpr bool noSw = false;
inline constexpr Publish zero = Publish::Zero;
inline constexpr Publish shift = Publish::Shift;

constexpr BodyDrift fixed(Body form) { return {form, Xb::MeanCH20, C::None, Wt::None, Limiter::None}; }
constexpr BodyDrift curve(Xb xb, CurveForm c, Weights w, Limiter l = Limiter::None) {
    return {Body::Curve, xb, c, w, l};
}
constexpr BodyDrift pivot(Body form, Xb xb, Weights w, Limiter l = Limiter::None) {
    return {form, xb, C::None, w, l};
}
inline constexpr Limiter L1 = Limiter::L1;
inline constexpr Limiter L2 = Limiter::L2;

// clang-format off
// Branches: grid, scale, scaled from, switch, steps, body drift, latch, warm-up
// shift, drift counts, clock periods, lookup value, warmShift, seed.
// The 81 stage and the branches its variants share.
inline constexpr Branch k81Range2{G::Grid25, Sc::None, 0, noSw, S::Plain, fixed(B::Bins81), L::None, W::FadeG3, D::Plain, none, J::Float, zero, seed};
inline constexpr Branch k81Range3{G::GridMid7, Sc::None, 0, noSw, S::Stepped, fixed(B::Mid25), L::None, W::Clock1200, D::Quad, none, J::Int, shift, noSeed};
inline constexpr Branch k81Range4{G::GridHigh7, Sc::None, 0, noSw, S::Plain, pivot(B::SlopeMean, Xb::MeanCH20, Wt::None), L::None, W::Clock1200, D::Periods, clock1200, J::Int, shift, noSeed};
inline constexpr Branch kUpperRange4{G::GridHigh7, Sc::None, 0, noSw, S::Plain, fixed(B::UpperBins), L::None, W::Clock1200, D::Periods, clock1200, J::Int, shift, noSeed};
inline constexpr Branch k101Range4{G::GridHigh10, Sc::None, 0, noSw, S::Stepped, fixed(B::Slope20T1), L::None, W::Ramp1800, D::Periods, clock1800, J::Int, shift, noSeed};
inline constexpr Branch k130Range4{G::GridHigh7, Sc::None, 0, noSw, S::Plain, pivot(B::PivotSlope, Xb::MeanCH20, Wt::None), L::None, W::Ramp1800, D::Periods, clock1800, J::Int, shift, noSeed};

// The scaled-curve family's branches in tempRange 3 and 4 that several share.
inline constexpr Branch kHalf155Range3{G::GridMid7, Sc::S0, 3, noSw, S::Plain, pivot(B::Pivot155, Xb::CH3p20, Wt::Three, L2), L::None, W::W1Half, D::Plain, none, J::Int, zero, noSeed};
inline constexpr Branch kSlopeL2Range4{G::GridHigh7, Sc::S0, 3, noSw, S::Plain, pivot(B::PivotSlope, Xb::CH3p20, Wt::Three, L2), L::None, W::W1Half, D::Plain, none, J::Int, zero, noSeed};
inline constexpr Branch k76Range3{G::GridMid7, Sc::S0, 0, noSw, S::Plain, pivot(B::Pivot155, Xb::CH3p20, Wt::Three, L2), L::None, W::W1HalfScaled, D::Plain, none, J::Int, zero, noSeed};
inline constexpr Branch k75Range3{G::GridMid11, Sc::S6, 0, noSw, S::Plain, pivot(B::Pivot75, Xb::CH2p15, Wt::W3), L::W2, W::W2HalfH, D::LF, none, J::Int, zero, noSeed};
inline constexpr Branch k135Range3{G::GridMid11, Sc::S7, 0, noSw, S::Plain, pivot(B::Pivot75, Xb::CH2p15, Wt::W3), L::W2, W::W1HalfH, D::LG, none, J::Int, zero, noSeed};
inline constexpr Branch k136Range3{G::GridMid11, Sc::S7, 0, noSw, S::Plain, pivot(B::Pivot75, Xb::CH2p20, Wt::W3), L::W2, W::W1HalfH, D::LG, none, J::Int, zero, noSeed};
inline constexpr Branch k136Range4{G::GridHigh7, Sc::S16, 0, noSw, S::Plain, pivot(B::PivotSlope, Xb::CH2p20, Wt::Three), L::None, W::W1HalfScaled, D::Plain, none, J::Int, zero, noSeed};
inline constexpr Branch k96Range2{G::GridLow25Wide, Sc::S13, 0, noSw, S::Plain, curve(Xb::CH2, C::E, Wt::W96), L::None, W::W3Mark4, D::Plain, none, J::Float, zero, seed};

// Per-pixel rows: rows searched in tempRange 2/3/4/5, atmosphere, distance
// gain, final form, the static of the window term, gray variant.
inline constexpr Pixel kPlain81{{12, 7, 7, 0}, A::Plain, true, F::Plain, Channel::CH1, V::Standard};
inline constexpr Pixel kLensPlain{{12, 7, 7, 0}, A::LensTable, false, F::Plain, Channel::CH1, V::Standard};
inline constexpr Pixel kLensTrim{{12, 7, 7, 0}, A::LensTable, false, F::Trim, Channel::CH1, V::Standard};
inline constexpr Pixel kLensTrim11{{12, 11, 7, 0}, A::LensTable, false, F::Trim, Channel::CH1, V::Standard};
inline constexpr Pixel kWindow130{{12, 7, 10, 0}, A::LensTable, false, F::Window, Channel::CH1, V::D};
inline constexpr Pixel kLinearCH11{{12, 11, 7, 0}, A::RangeLinear, false, F::WindowTableCH, Channel::CH1, V::Standard};
inline constexpr Pixel kLinearCH14{{12, 11, 14, 0}, A::RangeLinear, false, F::WindowTableCH, Channel::CH1, V::Standard};
inline constexpr Pixel kLinearCH7{{14, 7, 7, 0}, A::RangeLinear, false, F::WindowTableCH, Channel::CH1, V::Standard};
inline constexpr Pixel kLensWindow14{{14, 7, 7, 0}, A::LensTable, false, F::Window, Channel::CH1, V::Standard};
inline constexpr Pixel kSelf11{{12, 11, 7, 0}, A::LensTable, false, F::WindowTableSelf, Channel::CH1, V::Standard};
inline constexpr Pixel kSelf14{{12, 11, 14, 0}, A::LensTable, false, F::WindowTableSelf, Channel::CH1, V::Standard};
inline constexpr Pixel kSelf1411{{14, 11, 7, 0}, A::LensTable, false, F::WindowTableSelf, Channel::CH1, V::Standard};

// The rows of 61 and 62 run the four-range frame; their branches are unused.
inline constexpr Branch kFourRange{G::Grid25, Sc::None, 0, noSw, S::Plain, fixed(B::Bins81), L::None, W::None, D::Plain, none, J::Int, zero, noSeed};

inline constexpr Recipe kRecipes[] = {
    // calType, stage, drift, air, tempRange 2, 3, 4, per-pixel, per-frame exponent and exp
    {61, StageForm::FourRange, DriftForm::Read, Channel::CH2, kFourRange, kFourRange, kFourRange,
        {{12, 12, 7, 9}, A::Plain, false, F::Window, Channel::CH2, V::A}, Exponent::Distance, Exp::My},
    {62, StageForm::FourRange, DriftForm::Read, Channel::CH1, kFourRange, kFourRange, kFourRange,
        {{12, 12, 7, 10}, A::NoLens, false, F::Window, Channel::CH2, V::A}, Exponent::Plain, Exp::My},
    {71, StageForm::Skeleton, DriftForm::NE, Channel::CH1,
        {G::Grid45, Sc::None, 0, noSw, S::Plain, curve(Xb::MeanCH20, C::B, Wt::TableB), L::None, W::FadeThird4, D::Plain, none, J::Int, zero, seed},
        {G::GridMid7, Sc::None, 0, noSw, S::Plain, pivot(B::Pivot155, Xb::MeanCH20, Wt::B3), L::None, W::Clock1200, D::Quad, none, J::Int, shift, noSeed},
        {G::GridHigh7, Sc::None, 0, noSw, S::Plain, pivot(B::PivotSlope, Xb::MeanCH20, Wt::None), L::None, W::Clock1200, D::Periods, clock1200, J::Int, shift, noSeed},
        {{12, 7, 10, 0}, A::Plain, true, F::Window, Channel::CH1, V::Standard}, Exponent::Distance, Exp::My},
    {72, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::Grid45Ext, Sc::S0, 5, noSw, S::Plain, curve(Xb::CH3p20, C::B, Wt::TableB, L1), L::None, W::FadeThird4, D::Plain, none, J::Int, zero, seed},
        kHalf155Range3, kSlopeL2Range4,
        {{14, 7, 7, 0}, A::RangeLinear, false, F::Window, Channel::CH1, V::Standard}, Exponent::Plain, Exp::My},
    {73, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::GridLow45, Sc::S1, 0, noSw, S::Plain, curve(Xb::T2p20, C::D, Wt::W73), L::W2, W::W1Mark6, D::LA, none, J::Int, zero, seed},
        {G::GridMid11, Sc::S5, 0, noSw, S::Plain, pivot(B::Pivot75, Xb::CH2p20, Wt::Three), L::W2, W::W1HalfH, D::LF, none, J::Int, zero, noSeed},
        {G::GridHigh7, Sc::S10, 0, noSw, S::Plain, pivot(B::PivotSlope, Xb::CH2p20, Wt::Three), L::None, W::W1HalfScaled, D::Plain, none, J::Int, zero, noSeed},
        {{12, 11, 7, 0}, A::RangeLinear, false, F::Window, Channel::CH1, V::Standard}, Exponent::Plain, Exp::My},
    {74, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::GridLow45, Sc::S2, 0, noSw, S::Plain, curve(Xb::T2p20, C::D, Wt::W74), L::W2, W::W2Mark6, D::LB, none, J::Int, zero, seed},
        {G::GridMid11, Sc::S6, 0, noSw, S::Plain, pivot(B::Pivot75, Xb::CH2p20, Wt::W3), L::W2, W::W2HalfH, D::LF, none, J::Int, zero, noSeed},
        {G::GridHigh7, Sc::S10, 0, noSw, S::Plain, pivot(B::PivotSlope, Xb::CH2p20, Wt::Three), L::None, W::W1HalfScaled, D::Plain, none, J::Int, zero, noSeed},
        kLinearCH11, Exponent::Plain, Exp::My},
    {75, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::GridLow45, Sc::S2, 0, noSw, S::Plain, curve(Xb::T2p15, C::DFrom0, Wt::W75), L::W2, W::W2Mark6, D::LB, none, J::Int, zero, seed},
        k75Range3,
        {G::Grid45Ext, Sc::S4, 0, noSw, S::Plain, curve(Xb::CH2p15, C::BFrom0, Wt::W76), L::W1, W::W1Mark4, D::LD, none, J::Int, zero, seed},
        kLinearCH14, Exponent::Plain, Exp::My},
    {76, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::Grid45Ext, Sc::S4, 0, noSw, S::Plain, curve(Xb::CH2p15, C::BFrom0, Wt::W76), L::W1, W::W1Mark4, D::LD, none, J::Int, zero, seed},
        k76Range3, kSlopeL2Range4, kLinearCH7, Exponent::Plain, Exp::My},
    {77, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::GridLow45, Sc::S2, 0, sw, S::Plain, curve(Xb::T2p15, C::DFrom0, Wt::W75), L::W2, W::W2Mark6, D::LB, none, J::Int, zero, seed},
        {G::GridMid11, Sc::S6, 0, sw, S::Plain, pivot(B::Pivot75, Xb::CH2p15, Wt::W3), L::W2, W::W2HalfH, D::LF, none, J::Int, zero, noSeed},
        {G::Grid45Ext, Sc::S4, 0, sw, S::Plain, curve(Xb::CH2p15, C::BFrom0, Wt::W76), L::W1, W::W1Mark4, D::LD, none, J::Int, zero, seed},
        kLinearCH14, Exponent::Plain, Exp::My},
    {78, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::Grid45Ext, Sc::S4, 0, sw, S::Plain, curve(Xb::CH2p15, C::BFrom0, Wt::W76), L::W1, W::W1Mark4, D::LD, none, J::Int, zero, seed},
        k76Range3, kSlopeL2Range4, kLinearCH7, Exponent::Plain, Exp::My},
    {81, StageForm::Skeleton, DriftForm::NE, Channel::CH1, k81Range2, k81Range3, k81Range4, kPlain81, Exponent::Distance, Exp::My},
    {82, StageForm::Skeleton, DriftForm::NE, Channel::CH1, k81Range2, k81Range3, k81Range4, kLensPlain, Exponent::Plain, Exp::My},
    {83, StageForm::Skeleton, DriftForm::NC, Channel::CH1, k81Range2,
        {G::GridMid7, Sc::None, 0, noSw, S::Stepped, fixed(B::Mid25Sum83), L::None, W::Band83, D::Quad, none, J::Int, shift, noSeed},
        k81Range4, {{12, 7, 7, 0}, A::LensTable, false, F::Plain, Channel::CH1, V::B}, Exponent::Plain, Exp::My},
    {84, StageForm::Skeleton, DriftForm::NE, Channel::CH1, k81Range2, k81Range3, k81Range4, kLensTrim, Exponent::Plain, Exp::My},
    {85, StageForm::Skeleton, DriftForm::NE, Channel::CH1,
        {G::GridLow25Wide, Sc::S11, 0, noSw, S::Rise85, curve(Xb::CH2, C::E, Wt::W85), L::None, W::W3Mark4, D::Plain, none, J::Float, zero, seed},
        {G::GridMid11, Sc::S12, 0, noSw, S::Plain, pivot(B::Fifth75, Xb::T2, Wt::Hot35), L::None, W::W3Step, D::Plain, none, J::Int, shift, noSeed},
        {G::GridHigh7, Sc::S12, 3, noSw, S::Plain, pivot(B::SlopeMean, Xb::T2, Wt::Hot35), L::None, W::W3Raw, D::Plain, none, J::Int, shift, noSeed},
        kLensTrim11, Exponent::Plain, Exp::My},
    {91, StageForm::Skeleton, DriftForm::NE, Channel::CH2, k81Range2, k81Range3, kUpperRange4, kPlain81, Exponent::Distance, Exp::My},
    {92, StageForm::Skeleton, DriftForm::NE, Channel::CH2,
        {G::Grid25, Sc::None, 0, noSw, S::Plain, fixed(B::Poly92R2), L::None, W::FadeG3, D::Plain, none, J::FloatAdd, zero, seed},
        {G::GridMid7, Sc::None, 0, noSw, S::Stepped, fixed(B::Poly92R3), L::None, W::Clock1200, D::Quad, none, J::IntAdd, shift, noSeed},
        kUpperRange4, {{12, 7, 7, 0}, A::Plain, true, F::Plain, Channel::CH1, V::C}, Exponent::Distance, Exp::My},
    {93, StageForm::Skeleton, DriftForm::NE, Channel::CH1, k81Range2, k81Range3, kUpperRange4, kLensPlain, Exponent::Plain, Exp::Library},
    {94, StageForm::Skeleton, DriftForm::NE, Channel::CH1, k81Range2, k81Range3, kUpperRange4, kLensTrim, Exponent::Plain, Exp::Library},
    {95, StageForm::Skeleton, DriftForm::NE, Channel::CH1, k81Range2,
        {G::GridMid7, Sc::None, 0, noSw, S::Stepped, fixed(B::Mid25), L::None, W::Clock3000, D::Quad, none, J::Int, shift, noSeed},
        {G::GridHigh7, Sc::None, 0, noSw, S::Plain, fixed(B::UpperBins), L::None, W::Clock3000, D::Periods, clock3000, J::Int, shift, noSeed},
        kLensTrim, Exponent::Plain, Exp::Library},
    {96, StageForm::Skeleton, DriftForm::NE, Channel::CH1, k96Range2,
        {G::GridMid11, Sc::S14, 0, noSw, S::Plain, pivot(B::Fifth75, Xb::T2, Wt::T2Steps96), L::Ch, W::W3Step, D::LH, none, J::Int, shift, noSeed},
        {G::GridHigh7, Sc::S15, 0, noSw, S::Plain, pivot(B::SlopeCH2, Xb::T2, Wt::Hot35), L::None, W::W3Step, D::Plain, none, J::Int, shift, noSeed},
        kLensTrim11, Exponent::Plain, Exp::Library},
    {101, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::Grid25, Sc::None, 0, noSw, S::Plain, fixed(B::Bins101), L::None, W::FadeG3, D::TimesB4To5000, none, J::Float, zero, seed},
        {G::GridMid7, Sc::None, 0, noSw, S::Stepped, pivot(B::SlopeMean, Xb::MeanCH20, Wt::None), L::None, W::Ramp1800, D::Quad, none, J::Int, shift, noSeed},
        k101Range4, {{12, 7, 10, 0}, A::Plain, true, F::Plain, Channel::CH1, V::Standard}, Exponent::Distance, Exp::My},
    {102, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::Grid25, Sc::None, 0, noSw, S::Plain, fixed(B::Bins101), L::None, W::FadeG3, D::Plain, none, J::Float, zero, seed},
        {G::GridMid7, Sc::None, 0, noSw, S::Stepped, fixed(B::Mid25), L::None, W::Half102, D::Plain, none, J::Int, shift, noSeed},
        k101Range4, {{12, 7, 10, 0}, A::LensTable, false, F::Trim, Channel::CH1, V::Standard}, Exponent::Distance, Exp::My},
    {111, StageForm::Long, DriftForm::Read, Channel::CH1,
        {G::Grid45Ext, Sc::None, 0, noSw, S::Ext45, curve(Xb::MeanCH20, C::B, Wt::TableBLong), L::None, W::LensLatch, D::Plain, none, J::ExactDriftFirst, shift, seed},
        {G::GridMid10Wide, Sc::None, 0, noSw, S::MidWide10, pivot(B::Pivot155, Xb::MeanCH20, Wt::None), L::None, W::Clock1200, D::Quad, none, J::ExactIntDrift, shift, noSeed},
        {G::GridHigh10, Sc::None, 0, noSw, S::Stepped, fixed(B::Slope20T1), L::None, W::ClockAlways, D::Periods, clock1200, J::BothInt, shift, noSeed},
        {{14, 10, 10, 0}, A::Plain, false, F::LongBase, Channel::CH1, V::Standard}, Exponent::Distance, Exp::My},
    {121, StageForm::Long, DriftForm::Read, Channel::CH1,
        {G::Grid45Ext, Sc::None, 0, noSw, S::Ext45, curve(Xb::MeanCH20, C::B, Wt::TableBLong), L::None, W::LensLatch, D::Plain, none, J::ExactDriftFirst, shift, seed},
        {G::GridMid10Wide, Sc::None, 0, noSw, S::MidWide10, pivot(B::Pivot155, Xb::MeanCH20, Wt::None), L::None, W::Clock1200, D::Quad, none, J::ExactIntDrift, shift, noSeed},
        {G::GridHigh10, Sc::None, 0, noSw, S::Stepped, fixed(B::Slope20T1), L::None, W::ClockAlways, D::Periods, clock1200, J::BothInt, shift, noSeed},
        {{14, 10, 10, 0}, A::Plain, false, F::LongFixed, Channel::CH1, V::Standard}, Exponent::Distance, Exp::My},
    {130, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::Grid45, Sc::None, 0, noSw, S::Knot22, curve(Xb::MeanCH20, C::B, Wt::TableB), L::None, W::FadeThird4, D::Plain, none, J::OffsetP2, zero, seed},
        {G::GridMid7, Sc::None, 0, noSw, S::Plain, pivot(B::PivotFifth, Xb::MeanCH20, Wt::None), L::None, W::None, D::Plain, none, J::OffsetP3, zero, noSeed},
        k130Range4, kWindow130, Exponent::Plain, Exp::My},
    {131, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::Grid45, Sc::None, 0, noSw, S::Knot22, curve(Xb::MeanCH20, C::B, Wt::TableBPrime), L::None, W::FadeThird4, D::Plain, none, J::OffsetP2, zero, seed},
        {G::GridMid7, Sc::None, 0, noSw, S::Plain, pivot(B::PivotFifth, Xb::MeanCH20, Wt::TableBPrime), L::None, W::None, D::Plain, none, J::OffsetP3, zero, noSeed},
        k130Range4, kWindow130, Exponent::Plain, Exp::My},
    {132, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::Grid45Ext, Sc::S9, 5, noSw, S::Knot26, curve(Xb::CH3p20, C::B, Wt::TableB132), L::None, W::W3Gc4, D::LI, none, J::Int, zero, seed},
        kHalf155Range3, kSlopeL2Range4, kLensWindow14, Exponent::Plain, Exp::My},
    {133, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::GridLow45, Sc::S3, 0, noSw, S::Plain, curve(Xb::T2p20, C::D, Wt::W133), L::W2, W::W1Mark6, D::LC, none, J::Int, zero, noSeed},
        k136Range3,
        {G::GridHigh7, Sc::S16, 0, noSw, S::Plain, pivot(B::PivotSlope, Xb::CH2p20, Wt::Three), L::None, W::W1HalfScaled, D::Plain, none, J::Int, zero, noSeed},
        kSelf11, Exponent::Plain, Exp::My},
    {134, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::Grid45Ext, Sc::S134, 0, noSw, S::Plain, curve(Xb::CH3p20, C::B, Wt::W134), L::W2, W::W3Mark4H134, D::L134, none, J::Int, zero, seed},
        kHalf155Range3, kSlopeL2Range4, kLensWindow14, Exponent::Plain, Exp::My},
    {135, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::GridLow45, Sc::S3, 0, noSw, S::Plain, curve(Xb::T2p15, C::DFrom0, Wt::W135), L::W2, W::W1Mark6, D::LC, none, J::Int, zero, noSeed},
        k135Range3,
        {G::Grid45Ext, Sc::S8, 0, noSw, S::Plain, curve(Xb::CH2p15, C::BFrom0, Wt::W136), L::W1, W::W1Mark4, D::LE, none, J::Int, zero, seed},
        kSelf14, Exponent::Plain, Exp::My},
    {136, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::Grid45Ext, Sc::S8, 0, noSw, S::Plain, curve(Xb::CH2p15, C::BFrom0, Wt::W136), L::W1, W::W1Mark4, D::LE, none, J::Int, zero, seed},
        k136Range3, k136Range4, kSelf1411, Exponent::Plain, Exp::My},
    {137, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::GridLow45, Sc::S3, 0, sw, S::Plain, curve(Xb::T2p15, C::DFrom0, Wt::W135), L::W2, W::W1Mark6, D::LC, none, J::Int, zero, noSeed},
        {G::GridMid11, Sc::S7, 0, sw, S::Plain, pivot(B::Pivot75, Xb::CH2p15, Wt::W3), L::W2, W::W1HalfH, D::LG, none, J::Int, zero, noSeed},
        {G::Grid45Ext, Sc::S8, 0, sw, S::Plain, curve(Xb::CH2p15, C::BFrom0, Wt::W136), L::W1, W::W1Mark4, D::LE, none, J::Int, zero, seed},
        kSelf14, Exponent::Plain, Exp::My},
    {138, StageForm::Skeleton, DriftForm::NC, Channel::CH1,
        {G::Grid45Ext, Sc::S8, 0, sw, S::Plain, curve(Xb::T2p15, C::BFrom0To50, Wt::W138), L::W1, W::W1Mark4, D::LE, none, J::Int, zero, seed},
        k136Range3, k136Range4, kSelf1411, Exponent::Plain, Exp::My},
    {140, StageForm::Skeleton, DriftForm::NE, Channel::CH1,
        {G::GridLow25Wide, Sc::S15, 0, noSw, S::Plain, curve(Xb::CH2, C::E, Wt::W96), L::None, W::W3Mark4, D::Plain, none, J::Float, zero, seed},
        {G::GridMid11, Sc::S15, 0, noSw, S::Plain, pivot(B::Fifth75, Xb::T2, Wt::T2Steps96), L::Ch, W::W3Step, D::LH, none, J::Int, shift, noSeed},
        {G::GridHigh7, Sc::S15, 0, noSw, S::Plain, pivot(B::SlopeCH2, Xb::T2, Wt::Hot35), L::None, W::W3Step, D::Plain, none, J::Int, shift, noSeed},
        kLensTrim11, Exponent::Plain, Exp::Library},
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

}  // namespace kalviro::ladder
