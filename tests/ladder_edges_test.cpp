// The edges of the tables every ladder CalType shares: the emissivity
// ladder's bands and bins, the rows of the lens table of the atmosphere, and
// the trim table. Expected values are worked from the printed tables with
// the stated precision; each row names the bin, row or factor it must take.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "block_builder.hpp"
#include "ladder/emiss_ladder.hpp"
#include "ladder/pixel.hpp"
#include "ladder/recipes.hpp"

namespace kalviro::ladder {
namespace {

using test::Block;

double above(double x) { return std::nextafter(x, INFINITY); }
float below(float x) { return std::nextafter(x, -INFINITY); }

using test::caseName;

struct LadderCase {
    const char* name;
    float emissivity;
    float baseTemp;
    double x;
    float factor;
};

class Ladder : public testing::TestWithParam<LadderCase> {};

// The per-frame call and the per-pixel plan must take the same bin.
TEST_P(Ladder, FactorOfTheBinTaken) {
    const LadderCase& c = GetParam();
    EXPECT_EQ(ladderFactor(c.emissivity, c.x, c.baseTemp), c.factor);
    EXPECT_EQ(ladderPlan(c.emissivity, c.baseTemp).factorAt(c.x), c.factor);
}

// tempCH1 2302: 23.02f + 430 rounds below the exact sum in single precision,
// so the exact sum already lies above the edge.
const float kOddBase = 23.02f;

// clang-format off
INSTANTIATE_TEST_SUITE_P(Edges, Ladder, testing::Values(
    LadderCase{"MinusFortyTakesBin0", 0.9f, 25.0f, -15.0, 1.17053401f},
    LadderCase{"NextDoubleTakesBin1", 0.9f, 25.0f, above(-15.0), 1.14543712f},
    LadderCase{"FarBelowStaysInBin0", 0.9f, 25.0f, -975.0, 1.17053401f},
    LadderCase{"BaseTakesBin8AboveOne", 1.0f, 25.0f, 25.0, 1.07238865f},
    LadderCase{"Plus430TakesBin22", 0.9f, 25.0f, 455.0, 1.07558393f},
    LadderCase{"NextDoubleTakesBin23", 0.9f, 25.0f, above(455.0), 1.07559955f},
    LadderCase{"EdgeSummedInSinglePrecision", 0.9f, kOddBase, static_cast<double>(kOddBase) + 430.0, 1.07559955f},
    LadderCase{"HalfTakesUpperBand", 0.5f, 25.0f, 85.0, 1.66596854f},
    LadderCase{"JustBelowHalfTakesLowerBand", 0.49999997f, 25.0f, 85.0, 6.37812185f},
    LadderCase{"LowerBin15GoesNegative", 0.4f, 25.0f, 150.0, -39.0572929f},
    LadderCase{"LowerBin12WithItsOddSquareTerm", 0.3f, 25.0f, 70.0, 92.4743042f},
    LadderCase{"LowerBin0IsTheUpperRow", 0.4f, 25.0f, -20.0, -130.229019f},
    LadderCase{"AboveOneExtrapolatesUpperBin23", 1.2f, 25.0f, 500.0, 0.621324182f}),
    caseName<LadderCase>);
// clang-format on

// No constant term: emissivity 0 gives 0 in every bin of both bands.
TEST(Ladder, ZeroEmissivityGivesZeroEverywhere) {
    for (double x = -60.0; x <= 520.0; x += 5.0) EXPECT_EQ(ladderFactor(0.0f, x, 25.0f), 0.0f) << x;
}

// atmLensTable with the per-frame constants, humidity 60, an object at 80
// degrees in air at 25 (V0 = 80.3524628) unless the row says otherwise.
struct AirCase {
    const char* name;
    int32_t range, lens, distance;  // distance: the block's, hundredths of a metre
    float dist;                     // the argument
    float air, raw;
    float apparent;
};

class LensTable : public testing::TestWithParam<AirCase> {};

TEST_P(LensTable, RowOfRangeLensAndDistance) {
    const AirCase& c = GetParam();
    Block b;
    b.with(field::tempRange, c.range)
        .with(field::lensType, c.lens)
        .with(field::distance, c.distance)
        .with(field::humidity, 60);
    CalState st{};
    st.const_A3 = 0.04f;
    st.const_B3 = 0.167f;
    const AirPlan plan = airPlan(Atmosphere::LensTable, st, b.raw(), c.air, c.dist);
    EXPECT_EQ(airApply(plan, c.raw), c.apparent);
}

constexpr float kV0 = 80.3524628f;

// clang-format off
INSTANTIATE_TEST_SUITE_P(Rows, LensTable, testing::Values(
    AirCase{"Lens1At1p5LinearGivesV0", 2, 1, 150, 0.0f, 25.0f, 80.0f, kV0},
    AirCase{"Lens3Below1p5Base", 3, 3, 149, 0.0f, 25.0f, 80.0f, kV0},
    AirCase{"Lens3At1p5MeasuredFrom1m", 3, 3, 150, 0.0f, 25.0f, 80.0f, 80.5437775f},
    AirCase{"Lens2Below1p2Near", 2, 2, 119, 0.0f, 25.0f, 80.0f, 81.366272f},
    AirCase{"Lens2At1p2Down", 2, 2, 120, 0.0f, 25.0f, 80.0f, 80.9309998f},
    AirCase{"Range3Lens2Below3AddsMetres", 3, 2, 299, 0.0f, 25.0f, 80.0f, 80.3624649f},
    AirCase{"Range3Lens2At3UpGivesV0", 3, 2, 300, 0.0f, 25.0f, 80.0f, kV0},
    AirCase{"Lens1Below10Over300", 2, 1, 999, 0.0f, 25.0f, 80.0f, 82.6264343f},
    AirCase{"Lens1At10Over380", 2, 1, 1000, 0.0f, 25.0f, 80.0f, 82.1498184f},
    AirCase{"HalfMicrometreIsZeroBlockDecides", 2, 2, 500, 0.5e-6f, 25.0f, 80.0f, 80.6738739f},
    AirCase{"TwoMicrometresTakenNear", 2, 2, 500, 2e-6f, 25.0f, 80.0f, 81.7818604f},
    AirCase{"Lens3V0Of50Over200", 2, 3, 350, 0.0f, 50.0f, 50.0f, 50.5f},
    AirCase{"Lens3V0Below50Over500", 2, 3, 350, 0.0f, 49.999996f, 49.999996f, 50.1999969f},
    AirCase{"Lens0Range2Down4", 2, 0, 250, 0.0f, 25.0f, 80.0f, 80.8345795f},
    AirCase{"Lens0Range3Near", 3, 0, 100, 0.0f, 25.0f, 80.0f, 81.636734f},
    AirCase{"Lens0Range4Up4", 4, 0, 500, 0.0f, 25.0f, 80.0f, 80.4328156f},
    AirCase{"Range5Base", 5, 2, 100, 0.0f, 25.0f, 80.0f, kV0}),
    caseName<AirCase>);
// clang-format on

// trimTable of the plan of CalType 84, tempOffset 37. At X = 100 the factor
// shows in the result: f1 of the first row is 0.98179, so 9817.9 + 37.
struct TrimCase {
    const char* name;
    float X, emissivity;
    int32_t envTemp, auxGate;
    int32_t result;
};

class Trim : public testing::TestWithParam<TrimCase> {};

TEST_P(Trim, BandRowAndStep) {
    const TrimCase& c = GetParam();
    Block b;
    b.with(field::envTemp, c.envTemp).with(field::auxGate, c.auxGate).with(field::tempOffset, 37);
    const PixelPlan plan = pixelPlan(*Recipes::rowFor(84), CalState{}, b.raw(), c.emissivity, 0.0f, false);
    EXPECT_EQ(trimTable(c.X, plan), c.result);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Edges, Trim, testing::Values(
    TrimCase{"AuxGate2999Untrimmed", 100.0f, 0.9f, 2000, 2999, 10037},
    TrimCase{"AuxGate3000E1f1", 100.0f, 0.9f, 2000, 3000, 9854},
    TrimCase{"AuxGate14999LowBand", 100.0f, 0.9f, 2000, 14999, 9854},
    TrimCase{"AuxGate15000HighBand", 100.0f, 0.9f, 2000, 15000, 9545},
    TrimCase{"EnvTemp2299Cool", 100.0f, 0.9f, 2299, 12000, 9854},
    TrimCase{"EnvTemp2300Warm", 100.0f, 0.9f, 2300, 12000, 9944},
    TrimCase{"AuxGateNegativeUntrimmed", 100.0f, 0.9f, 2000, -12000, 10037},
    TrimCase{"EmissivityOneUntrimmed", 100.0f, 1.0f, 2000, 12000, 10037},
    TrimCase{"JustBelowOneE1", 100.0f, below(1.0f), 2000, 12000, 9854},
    TrimCase{"At0p75E1", 100.0f, 0.75f, 2000, 12000, 9854},
    TrimCase{"Below0p75E2", 100.0f, below(0.75f), 2000, 12000, 9846},
    TrimCase{"At0p55E2", 100.0f, 0.55f, 2000, 12000, 9846},
    TrimCase{"Below0p55E3", 100.0f, below(0.55f), 2000, 12000, 9851},
    TrimCase{"At0p375E3", 100.0f, 0.375f, 2000, 12000, 9851},
    TrimCase{"Below0p375E4", 100.0f, below(0.375f), 2000, 12000, 9585},
    TrimCase{"AboveOneE4", 100.0f, 1.2f, 2000, 12000, 9585},
    TrimCase{"OnT1f1", 70.0f, 0.9f, 2000, 12000, 6909},
    TrimCase{"BelowT1f0", below(70.0f), 0.9f, 2000, 12000, 6905},
    TrimCase{"OnT4f4", 180.0f, 0.9f, 2000, 12000, 18001},
    TrimCase{"OddFactor0p9556", 263.0f, 0.45f, 2000, 12000, 25169}),
    caseName<TrimCase>);
// clang-format on

}  // namespace
}  // namespace kalviro::ladder
