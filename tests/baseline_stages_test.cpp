// The stages of the baseline CalType 21, one at a time: warm-up shift, drift
// counts, distance boost and unknown ranges.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "block_builder.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;
using test::stateOf;

// The worked block of a range; any other range keeps the tempRange 4 block.
Block workedBlock(int32_t range) {
    if (range == 2) return test::workedBlockRange2();
    if (range == 3) return test::workedBlockRange3();
    return test::workedBlockRange4();
}

// Zeroed statics: no row holds, T = 0, A3 = B3 = 0 so e = 1, Tc = 0; then
// (int)(-20 * E(1.0) * 100 + 2000) = -2.
TEST(BeforeAnyFrame, PerPixelGivesMinusTwoHundredths) {
    Block b = test::workedBlockRange3();
    const Camera cam(21);
    for (int32_t gray : {0, 3000, -5000, 65535})
        EXPECT_EQ(cam.real(gray, b.info(), 1.0f, 0.0f), -0.02f) << gray;
}

// The shift s of the table. warmHold set: s comes from warmShift and the
// block keeps it. warmHold 0: the stage's own shift, which tempRange 2 then
// stores as 0.0 and the others as applied. In tempRange 3 and 4, while
// upTime is below 1200 and c5 - c1 below warmDiffLow (c1 25.00, low 2), s is
// (1200 - upTime) units of 8 / 1200; in tempRange 2 the worked block fades
// xd to 200, s = 200 / 25.
struct ShiftCase {
    const char* name;
    int32_t range, upTime, hold, tempCH5;
    float applied, stored;
};

class WarmShift : public testing::TestWithParam<ShiftCase> {};

TEST_P(WarmShift, TableAndBlock) {
    const ShiftCase& c = GetParam();
    Block b = workedBlock(c.range);
    b.with(field::upTime, c.upTime)
        .with(field::warmHold, c.hold)
        .with(field::tempCH5, c.tempCH5)
        .with(field::warmShift, 7.5f);
    Camera cam(21);
    cam.init(1000, b.info(), 0.95f, 0.0f);
    const TempSegment* rows = stateOf(cam).tempdata;
    EXPECT_EQ(c.range == 2 ? rows[3].grayBase : rows[0].grayBase,
              c.range == 2 ? -c.applied : -1000.0f - c.applied);
    EXPECT_EQ(b.read(field::warmShift), c.stored);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, WarmShift, testing::Values(
    ShiftCase{"Range3LastCount", 3, 1199, 0, 2600, 8.0f / 1200.0f, 8.0f / 1200.0f},
    ShiftCase{"Range3Over", 3, 1200, 0, 2600, 0.0f, 0.0f},
    ShiftCase{"Range3Ramp", 3, 600, 0, 2600, 4.0f, 4.0f},
    ShiftCase{"Range2Held", 2, 600, 1, 2900, 7.5f, 7.5f},
    ShiftCase{"Range2OwnStoresZero", 2, 600, 0, 2900, 8.0f, 0.0f}),
    [](const testing::TestParamInfo<ShiftCase>& i) { return std::string(i.param.name); });
// clang-format on

// A positive shutter drift counts four times in tempRange 3 and 4, never in
// 2; the block keeps the count before the multiplication. Above upTime 3000
// tempRange 4 takes the long-run drift (m - (c2 + c3) * 0.5) * (250 / 100).
// shutterCH2 30 gives drift 2, 32 gives -1.
struct DriftCase {
    const char* name;
    int32_t range;
    float shutterCH2;
    int32_t upTime, shutterDrift;
    float constD;
};

class DriftCounts : public testing::TestWithParam<DriftCase> {};

TEST_P(DriftCounts, QuadrupledOrLongRun) {
    const DriftCase& c = GetParam();
    Block b = workedBlock(c.range);
    b.with(field::shutterCH2, c.shutterCH2).with(field::upTime, c.upTime).with(field::driftScale, 250);
    Camera cam(21);
    cam.init(1000, b.info(), 0.95f, 0.0f);
    EXPECT_EQ(b.read(field::shutterDrift), c.shutterDrift);
    EXPECT_EQ(stateOf(cam).const_d, c.constD);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Rules, DriftCounts, testing::Values(
    DriftCase{"Range2Positive", 2, 30.0f, 600, 2, 2.0f},
    DriftCase{"Range3Positive", 3, 30.0f, 600, 2, 8.0f},
    DriftCase{"Range4Positive", 4, 30.0f, 600, 2, 8.0f},
    DriftCase{"Range3Negative", 3, 32.0f, 600, -1, -1.0f},
    DriftCase{"Range4At3000", 4, 30.0f, 3000, 2, 8.0f},
    DriftCase{"Range4At3001", 4, 30.0f, 3001, 2, -2.0f}),
    [](const testing::TestParamInfo<DriftCase>& i) { return std::string(i.param.name); });
// clang-format on

// a = (int)(shutterCH2 * 100.0) with the product in float: 0.29f * 100.0f
// rounds to 29.0 (in double 28.99999917 would give 28), so the drift
// tempCH2 - a is 0.
TEST(ShutterDrift, ShutterTemperatureScaledInFloat) {
    Block b = test::workedBlockRange2();
    b.with(field::shutterCH2, 0.29f)
        .with(field::tempCH2, 29)
        .with(field::shutterQuad, 0.0f)
        .with(field::shutterLin, 100.0f);
    Camera cam(21);
    cam.init(1000, b.info(), 0.95f, 0.0f);
    EXPECT_EQ(b.read(field::shutterDrift), 0);
}

// The distance boost of the per-pixel result, from the block's distance. The
// object is as warm as the air, so only the boost moves the result: 25
// degrees scale to 2500.66 before it.
struct BoostCase {
    const char* name;
    int32_t range;
    int32_t gray;  // at the air temperature
    int32_t air;   // tempCH2
    int32_t distance;
    float expected;
};

class DistanceBoost : public testing::TestWithParam<BoostCase> {};

TEST_P(DistanceBoost, PerPixelOnly) {
    const BoostCase& c = GetParam();
    Block b = c.range == 2
                  ? test::plainBlock(
                        2, {-1300, -800, -300, 300, 900, 1700, 2500, 3700, 4900, 6100, 7300, 8900}, 0.0f)
                  : test::plainBlock(c.range, {-500, 0, 500, 1500, 2700, 4000, 6800, 9900}, 0.0f);
    b.with(field::tempCH2, c.air).with(field::distance, c.distance);
    Camera cam(21);
    cam.init(c.gray, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.real(c.gray, b.info(), 1.0f, 0.0f), c.expected);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Distances, DistanceBoost, testing::Values(
    BoostCase{"Range2At8m", 2, 0, 2500, 800, 25.00f},
    BoostCase{"Range2At10m", 2, 0, 2500, 1000, 25.08f},
    BoostCase{"Range2NegativeAt10m", 2, -1050, -1000, 1000, -10.06f},
    BoostCase{"Range3At4m", 3, 1500, 30000, 400, 300.36f},
    BoostCase{"Range3At15m", 3, 1500, 30000, 1500, 307.87f},
    BoostCase{"Range4At100m", 4, 500, 60000, 10000, 600.76f}),
    [](const testing::TestParamInfo<BoostCase>& i) { return std::string(i.param.name); });
// clang-format on

class UnknownRange : public testing::TestWithParam<int32_t> {};

// A tempRange outside 2, 3, 4 builds nothing and keeps const_b, const_d and
// the table; T = 0 goes through the tail (air at 0 here, so -0.02), and
// warmShift receives 0.0.
TEST_P(UnknownRange, TailRunsOnZero) {
    Camera cam(21);
    Block first = test::workedBlockRange2();
    cam.init(1000, first.info(), 0.95f, 0.0f);
    const CalState before = stateOf(cam);

    Block b = test::workedBlockRange2();
    b.with(field::tempRange, GetParam())
        .with(field::tempCH1, 0)
        .with(field::tempCH2, 0)
        .with(field::warmShift, 7.5f);
    EXPECT_EQ(cam.init(1000, b.info(), 1.0f, 0.0f), -0.02f);
    EXPECT_EQ(cam.real(1000, b.info(), 1.0f, 0.0f), -0.02f);
    EXPECT_EQ(b.read(field::warmShift), 0.0f);
    EXPECT_EQ(stateOf(cam).const_b, before.const_b);
    EXPECT_EQ(stateOf(cam).const_d, before.const_d);
    EXPECT_EQ(std::memcmp(stateOf(cam).tempdata, before.tempdata, sizeof before.tempdata), 0);
}

INSTANTIATE_TEST_SUITE_P(Ranges, UnknownRange, testing::Values(0, 7, INT32_MIN));

}  // namespace
}  // namespace kalviro
