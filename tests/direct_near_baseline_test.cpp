// CalTypes 25, 50, 70, 80 and 100: the one-degree grid of 25, the latched
// warm-up limits and whole-degree result of 50, the polynomial tail of 70,
// and the clock limits of the drift counts.
#include <gtest/gtest.h>

#include "block_builder.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;

// One degree a row from 30 (g[0]) to 41 (g[11]); slope[0] = 100.
Block degreeBlock() {
    Block b = test::workedBlockRange2();
    b.curve({-400, -300, -180, -50, 100, 260, 430, 610, 800, 1000, 1210, 1430}).with(field::tempBinGain(1), 0.5f);
    return b;
}

// CalType 25 in tempRange 2, worked by hand at emissivity 0.90 and 10 m.
TEST(NearBaselineWorked, CalType25Range2) {
    constexpr float kConstB = 175.0f;  // m = 29.5 in 26 up to 30: (26 - 29.5) * (-400 * 0.25) * b[1]
    constexpr float kShift = 2.0f;     // w = 4: (int)(0.5 * slope[0]) = 50 counts, / 25
    constexpr float kConstD = 2.0f;    // the drift of the baseline block
    // base = (int)((1011 - 175) + 10) = 846, v = (int)(2 + 846) = 848: row 8
    // from g[8] = 800 at 38 to g[9] = 1000 at 39.
    constexpr float kT = 38.25f;       // (848 - (800 - 2)) / 200 + 38
    // At 10 m, humidity 60, air c1 = 25 both stages give Tc = 38.66857147;
    // K 1012 scales it about 25.
    constexpr float kInit = 38.82f;    // r = 3882
    constexpr float kReal = 38.83f;    // (int)F = 3883; a boost would give 3894

    Block b = degreeBlock();
    Camera cam(25);
    EXPECT_EQ(cam.init(1011, b.info(), 0.90f, 0.0f), kInit);
    EXPECT_EQ(cam.state().const_b, kConstB);
    EXPECT_EQ(cam.state().const_d, kConstD);
    EXPECT_EQ(b.read(field::warmShift), kShift);  // 25 publishes its shift
    const TempSegment& row8 = cam.state().tempdata[8];
    EXPECT_EQ(row8.grayLow, 800.0f);
    EXPECT_EQ(row8.grayHigh, 1000.0f);
    EXPECT_EQ(row8.tempBase, 38.0f);
    EXPECT_EQ(row8.grayBase, 800.0f - kShift);
    EXPECT_EQ(row8.graySlope, 200.0f);
    EXPECT_EQ(cam.state().tempdata[10].grayHigh, 131070.0f);
    EXPECT_EQ(cam.real(1011, b.info(), 0.90f, 0.0f), kReal);

    Block near = degreeBlock();
    near.with(field::distance, 150);
    Camera plain(25);
    EXPECT_EQ(plain.init(1011, near.info(), 1.0f, 0.0f), kT);
    EXPECT_EQ(plain.real(1011, near.info(), 1.0f, 0.0f), kT);
}

// CalType 25: the shift truncates slope[0] to whole counts and ends at 1800.
struct Degree11ShiftCase {
    int32_t upTime;
    float g1;             // g[0] is -100
    int32_t wHundredths;  // c5 - c1
    float shift;
};

class Degree11Shift : public ::testing::TestWithParam<Degree11ShiftCase> {};

TEST_P(Degree11Shift, WholeCountsOfSlope0) {
    const Degree11ShiftCase c = GetParam();
    Block b = test::quietBlock();
    b.curve({-100, c.g1, 0, 100, 200, 300, 400, 500, 600, 700, 800, 900}).with(field::upTime, c.upTime);
    test::atWarm(b, c.wHundredths);
    Camera cam(25);
    cam.init(0, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(b.read(field::warmShift), c.shift);
}

INSTANTIATE_TEST_SUITE_P(Limits, Degree11Shift,
                         ::testing::Values(Degree11ShiftCase{1799, -79.3f, 0, 20.0f / 25.0f},  // 20.7 -> 20
                                           Degree11ShiftCase{1800, -79.3f, 0, 0.0f},
                                           Degree11ShiftCase{1799, -50.0f, 0, 50.0f / 25.0f},
                                           Degree11ShiftCase{1799, -50.0f, 199, 50.0f / 25.0f},
                                           Degree11ShiftCase{1799, -50.0f, 500, 12.0f / 25.0f},  // (int)12.5
                                           Degree11ShiftCase{1799, -50.0f, 601, 0.0f}));

// CalType 25 has no distance boost, in tempRange 3 at 10 m either; with
// driftGainExt 100 its tempRange 3 is CalType 20's, which boosts by
// (10 - 4) * 0.25 / 110 of its value.
TEST(NearBaseline, CalType25HasNoBoostInRange3) {
    Block b25 = test::workedBlockRange3();
    b25.with(field::driftGainExt, 100);
    Block b20 = b25;
    Camera c25(25);
    Camera c20(20);
    const float init25 = c25.init(3000, b25.info(), 1.0f, 0.0f);
    EXPECT_EQ(init25, c20.init(3000, b20.info(), 1.0f, 0.0f));
    const float real25 = c25.real(3000, b25.info(), 1.0f, 0.0f);
    const float real20 = c20.real(3000, b20.info(), 1.0f, 0.0f);
    EXPECT_NEAR(real20, real25 * (1.0f + 1.5f / 110.0f), 0.025f);
    EXPECT_GT(real20 - real25, 4.0f);
}

// CalType 50 reports whole degrees from the per-frame call, truncated towards
// zero, and the per-pixel F / 100 with its decimals. Unknown tempRange: T is
// 0.0, which scales about the air to 0, so the offset is the whole result.
struct LongResultCase {
    int32_t offset;
    float init;
    float real;
};

class LongResult : public ::testing::TestWithParam<LongResultCase> {};

TEST_P(LongResult, WholeDegreesPerFrame) {
    const LongResultCase c = GetParam();
    Block b = test::quietBlock();
    b.with(field::tempRange, 7).with(field::tempOffset, c.offset);
    Camera cam(50);
    EXPECT_EQ(cam.init(1000, b.info(), 1.0f, 0.0f), c.init);
    EXPECT_EQ(cam.real(1000, b.info(), 1.0f, 0.0f), c.real);
    EXPECT_EQ(cam.state().init_flag, 1);  // set whatever the tempRange
}

INSTANTIATE_TEST_SUITE_P(Signs, LongResult,
                         ::testing::Values(LongResultCase{2599, 25.0f, 2599.0f / 100.0f},
                                           LongResultCase{-2599, -25.0f, -2599.0f / 100.0f},
                                           LongResultCase{99, 0.0f, 99.0f / 100.0f}));

// CalType 50's short LensRule on g[6] / 3 = 100: limits latched at the first
// lensType 1 frame, the lower one truncated.
Block lens50Block() {
    Block b = test::quietBlock();
    b.curve({-750, -650, -540, -420, -290, -150, 300, 415, 775, 1155, 1555, 1975})
        .with(field::lensType, 1)
        .with(field::upTime, 600);
    return b;
}

TEST(CalType50Lens, LowerLimitLosesItsFraction) {
    Block b = lens50Block();
    b.with(field::warmDiffLow, 2.9f);
    test::atWarm(b, 250);
    Camera cam(50);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().dT, 2.0f);
    EXPECT_EQ(cam.state().dCH5, 6.0f);
    EXPECT_EQ(cam.state().xd, 87.5f);  // (1 - (2.5 - 2) / (6 - 2)) * 100; 2.9 would give 100
    EXPECT_EQ(b.read(field::warmShift), 87.5f / 25.0f);
}

TEST(CalType50Lens, LimitsHoldForLife) {
    Block b = lens50Block();
    test::atWarm(b, 250);
    Camera cam(50);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    b.with(field::warmDiffLow, 1.0f).with(field::warmDiffHigh, 3.0f);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().xd, 87.5f);  // still 2 and 6; 1 and 3 would give 25
}

TEST(CalType50Lens, FirstFrameOfAnotherLensLatchesZero) {
    Block b = lens50Block();
    b.with(field::lensType, 2);
    test::atWarm(b, 300);
    Camera cam(50);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().init_flag, 1);
    b.with(field::lensType, 1);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().dT, 0.0f);
    EXPECT_EQ(cam.state().dCH5, 0.0f);
    EXPECT_EQ(cam.state().xd, 0.0f);  // w = 3 above the latched 0
    test::atWarm(b, -100);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().xd, 100.0f);  // a negative w gives A
}

TEST(CalType50Lens, LatchesBeforeTheClockTest) {
    Block b = lens50Block();
    b.with(field::upTime, 2000);
    test::atWarm(b, 250);
    Camera cam(50);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(b.read(field::warmShift), 0.0f);  // above 1799: no shift
    EXPECT_EQ(cam.state().dCH5, 6.0f);
    b.with(field::upTime, 600).with(field::warmDiffLow, 1.0f).with(field::warmDiffHigh, 3.0f);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().xd, 87.5f);
}

// CalType 70 builds what 57 builds, and scales on the base of 20 degrees with
// E(1.0) = 1.00132108 rather than about the air with K: T = 70.25 comes out
// as (int)(50.25 * E(1.0) * 100 + 2000) = 7031.
TEST(NearBaseline, CalType70IsCalType57WithThePolynomialTail) {
    Block b57 = test::quietBlock();
    b57.curve({-1300, -900, -600, -300, 300, 450, 2050, 3000, 4000, 5000, 6000, 7000})
        .with(field::warmDivisor, 40.0f);
    Block b70 = b57;
    Camera c57(57);
    Camera c70(70);
    EXPECT_EQ(c57.init(450, b57.info(), 1.0f, 0.0f), 70.25f);
    EXPECT_EQ(c70.init(450, b70.info(), 1.0f, 0.0f), 70.31f);
    EXPECT_EQ(c57.real(450, b57.info(), 1.0f, 0.0f), 70.25f);
    EXPECT_EQ(c70.real(450, b70.info(), 1.0f, 0.0f), 70.31f);
    EXPECT_EQ(c70.state().const_b, c57.state().const_b);
    EXPECT_EQ(c70.state().tempdata[5].grayBase, c57.state().tempdata[5].grayBase);
}

// tempRange 4: the shutter drift (positive, so times 4) up to upTime 3000,
// the long-run drift (m - (c2 + c3) * 0.5) * (driftScale / 100) above it.
// m = 25, c2 = 26, c3 = 25, driftScale 250: -0.5 * 2 = -1.
struct LongRunCase {
    int calType;
    int32_t upTime;
    float constD;
};

class LongRun : public ::testing::TestWithParam<LongRunCase> {};

TEST_P(LongRun, TakesOverAfter3000) {
    const LongRunCase c = GetParam();
    Block b = test::quietBlock();
    b.curve({-1000, -600, 400, 1500, 2700, 4000, 6800, 9900, 12000, 15000, 18000, 21000})
        .with(field::tempRange, 4)
        .with(field::upTime, c.upTime)
        .with(field::tempCH2, 2600)  // 100 hundredths since the shutter: drift 3
        .with(field::shutterLin, 3.0f)
        .with(field::shutterDrift, 3)  // what the reading CalTypes take
        .with(field::driftScale, 250);
    Camera cam(c.calType);
    cam.init(3000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().const_d, c.constD);
    EXPECT_EQ(b.read(field::shutterDrift), 3);  // the block keeps the unmultiplied drift
}

std::vector<LongRunCase> longRunCases() {
    std::vector<LongRunCase> out;
    for (int ct : {20, 22, 23, 24, 25, 26, 27, 50, 51, 52, 54, 55, 56, 57, 58, 70, 80, 100, 110, 120}) {
        out.push_back({ct, 1199, 12.0f});
        out.push_back({ct, 3000, 12.0f});
        out.push_back({ct, 3001, -1.0f});
    }
    return out;
}

INSTANTIATE_TEST_SUITE_P(Members, LongRun, ::testing::ValuesIn(longRunCases()), [](const auto& p) {
    return "CalType" + std::to_string(p.param.calType) + "_upTime" + std::to_string(p.param.upTime);
});

// CalType 100 in tempRange 2: drift * b[4] until upTime 5000, then none.
class Drift100 : public ::testing::TestWithParam<std::pair<int32_t, float>> {};

TEST_P(Drift100, EndsAt5000) {
    Block b = test::quietBlock();
    b.curve({-1600, -1000, -400, 400, 1100, 2100, 3100, 4700, 6300, 7900, 9500, 11700})
        .with(field::upTime, GetParam().first)
        .with(field::tempCH2, 2600)
        .with(field::shutterLin, 3.0f)
        .with(field::tempBinGain(4), 1.5f);
    Camera cam(100);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().const_d, GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Limits, Drift100,
                         ::testing::Values(std::pair{4999, 4.5f}, std::pair{5000, 0.0f}, std::pair{20, 4.5f}));

}  // namespace
}  // namespace kalviro
