// CalTypes 51, 52, 54, 55, 110 and 120: LensRule with its latched and
// reversed limits, the untruncated lookup value, the whole-degree per-frame
// result and the window correction of the per-pixel result.
#include <gtest/gtest.h>

#include <vector>

#include "block_builder.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;

// Grid45Ext with g[4] = 300 (A = 100 for 54..120) and slope 30 from 55 up.
Block windowBlock() {
    Block b = test::quietBlock();
    b.curve({-1000, -700, -450, -240, 300, 750, 1350, 2250, 3150, 4050, 4950, 6150})
        .with(field::grayCurveExt(0), 7650.0f)
        .with(field::grayCurveExt(1), 9150.0f);
    return b;
}

// CalType 54 in tempRange 2, worked by hand: emissivity 0.90, 10 m,
// humidity 40, window 90 percent.
TEST(LensWindowWorked, CalType54Range2) {
    constexpr float kConstB = -262.5f;  // mb 52 in 50 up to 55: ((55 - 52) * 30 - 300) * b[5] 1.25
    constexpr float kConstD = 3.0f;     // the camera's shutterDrift, taken as it is
    constexpr float kXd = 50.0f;        // w = 4 between 2 and 6: 100 * (1 - 2 / 4)
    constexpr float kShift = 2.0f;      // 50 / 25
    // v = ((1000 + 262.5) + 10.25) + 3 = 1275.75, not truncated: row 6 from
    // g[5] 750 at 70 to g[6] 1350 at 90, grayBase (float)(750 - 1.8 * 2).
    constexpr float kGrayBase6 = 746.4000244140625f;
    constexpr float kT = 87.6449966430664f;  // (1275.75 - 746.4) / 30 + 70
    constexpr float kInit = 90.0f;           // Tc 89.60946655, r = 9037, whole degrees
    // Per pixel v = (int)1272.75 + 3 = 1275: T 87.62, Tc 89.58367920,
    // F = 9035.868164, then (F / 0.9 - (25 * 0.1) * 100) / 100.
    constexpr float kReal = 97.8985366821289f;
    (void)kT;

    Block b = windowBlock();
    b.with(field::tempBinGain(5), 1.25f)
        .with(field::grayOffset, 10.25f)
        .with(field::shutterDrift, 3)
        .with(field::lensType, 1)
        .with(field::upTime, 600)
        .with(field::distance, 1000)
        .with(field::humidity, 40)
        .with(field::windowTransLong, 90);
    test::atMean(b, 32.0f);
    test::atWarm(b, 400);
    Camera cam(54);
    EXPECT_EQ(cam.init(1000, b.info(), 0.90f, 0.0f), kInit);
    EXPECT_EQ(cam.state().const_b, kConstB);
    EXPECT_EQ(cam.state().const_d, kConstD);
    EXPECT_EQ(cam.state().xd, kXd);
    EXPECT_EQ(cam.state().dT, 2.0f);
    EXPECT_EQ(cam.state().dCH5, 6.0f);
    EXPECT_EQ(cam.state().init_flag, 1);
    EXPECT_EQ(cam.state().const_CH1, 25.0f);
    EXPECT_EQ(cam.state().tempdata[6].grayBase, kGrayBase6);
    EXPECT_EQ(cam.state().tempdata[4].grayBase, 0.0f - kShift);  // rows 0 to 4 plain
    EXPECT_EQ(b.read(field::warmShift), kShift);
    EXPECT_EQ(b.read(field::shutterDrift), 3);
    EXPECT_EQ(cam.real(1000, b.info(), 0.90f, 0.0f), kReal);
}

// LensRule, on the xd it leaves. A = 100 in every member (g[4] = g[6] = 300);
// 52 takes its limits from e[0], e[1], the others from warmDiffLow/High.
struct LensCase {
    float low, high;
    int32_t upTime;
    int32_t wHundredths;
    float xd;
    const char* note;
};

class LensRule : public ::testing::TestWithParam<std::tuple<int, LensCase>> {};

TEST_P(LensRule, AmplitudeByLimits) {
    const auto [calType, c] = GetParam();
    Block b = test::quietBlock();
    b.curve({-750, -650, -540, -420, 300, 400, 300, 415, 775, 1155, 1555, 1975})
        .with(field::lensType, 1)
        .with(field::upTime, c.upTime);
    if (calType == 52) {
        b.with(field::grayCurveExt(0), c.low).with(field::grayCurveExt(1), c.high);
        b.with(field::warmDiffLow, 1300.0f).with(field::warmDiffHigh, 1400.0f);
    } else {
        b.with(field::warmDiffLow, c.low).with(field::warmDiffHigh, c.high);
    }
    test::atWarm(b, c.wHundredths);
    Camera cam(calType);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().xd, c.xd) << c.note;
    EXPECT_EQ(b.read(field::warmShift), c.xd / 25.0f) << c.note;
}

// The ramp between reversed limits 5 and 2 at w = 4.
const float kRampAt4 = 100.0f * (1.0f - (4.0f - 5.0f) / (2.0f - 5.0f));

INSTANTIATE_TEST_SUITE_P(
    Limits, LensRule,
    ::testing::Combine(
        ::testing::Values(51, 52, 54, 55, 110, 120),
        ::testing::Values(LensCase{5, 2, 100, 400, 75.0f, "reversed, early, w above the middle: A * 0.75"},
                          LensCase{5, 2, 119, 400, 75.0f, "119 is still early"},
                          LensCase{5, 2, 120, 400, kRampAt4, "reversed at 120: the ramp"},
                          LensCase{5, 2, 120, 600, 100.0f, "reversed, w above dT: A"},
                          LensCase{5, 2, 100, 600, 75.0f, "reversed, early: A * 0.75 also above dT"},
                          LensCase{5, 2, 100, 300, 100.0f * (1.0f - (3.0f - 5.0f) / (2.0f - 5.0f)),
                                   "reversed, early, w below the middle: the ramp"},
                          LensCase{5, 2, 120, 200, 0.0f, "reversed, w on dCH5: ramp at its end"},
                          LensCase{5, 2, 120, 150, 0.0f, "reversed, w below dCH5: 0"},
                          LensCase{2, 5, 600, 200, 100.0f, "ordered, w on dT: A"},
                          LensCase{2, 5, 600, 350, 50.0f, "ordered, halfway"},
                          LensCase{2, 5, 600, 500, 0.0f, "ordered, w on dCH5: A * (1 - 1)"},
                          LensCase{2, 5, 600, 525, 0.0f, "ordered, w above dCH5: 0"},
                          LensCase{4, 4, 600, 400, 100.0f, "equal limits, w on them: A"},
                          LensCase{2, 5, 1800, 200, 0.0f, "above 1799: no shift, xd untouched"})));

// Limits latch at the very first per-frame call only, as floats.
class LensLatch : public ::testing::TestWithParam<int> {};

Block latchBlock(int calType, float low, float high) {
    Block b = test::quietBlock();
    b.curve({-750, -650, -540, -420, 300, 400, 300, 415, 775, 1155, 1555, 1975})
        .with(field::lensType, 1)
        .with(field::upTime, 600);
    if (calType == 52) {
        b.with(field::grayCurveExt(0), low).with(field::grayCurveExt(1), high);
    } else {
        b.with(field::warmDiffLow, low).with(field::warmDiffHigh, high);
    }
    return b;
}

TEST_P(LensLatch, FloatLimitsOfTheFirstFrame) {
    Block b = latchBlock(GetParam(), 2.5f, 6.5f);
    test::atWarm(b, 450);
    Camera cam(GetParam());
    cam.init(1000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().dT, 2.5f);
    EXPECT_EQ(cam.state().dCH5, 6.5f);
    EXPECT_EQ(cam.state().xd, 50.0f);
    Block later = latchBlock(GetParam(), 1.0f, 3.0f);
    test::atWarm(later, 450);
    cam.init(1000, later.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().xd, 50.0f);
}

TEST_P(LensLatch, LatchedBeforeTheClockTest) {
    Block b = latchBlock(GetParam(), 2.5f, 6.5f);
    b.with(field::upTime, 1800);
    Camera cam(GetParam());
    cam.init(1000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().dT, 2.5f);
    EXPECT_EQ(cam.state().dCH5, 6.5f);
    EXPECT_EQ(cam.state().xd, 0.0f);
}

// A first frame of an unknown tempRange (or another lens) sets init_flag and
// leaves the limits at 0 for good: positive w gives 0, negative w gives A.
TEST_P(LensLatch, UnknownRangeFirstLatchesZero) {
    for (auto first : {std::pair{9, 1}, std::pair{2, 3}, std::pair{3, 1}}) {
        Block b = latchBlock(GetParam(), 2.5f, 6.5f);
        b.with(field::tempRange, first.first).with(field::lensType, first.second);
        Camera cam(GetParam());
        cam.init(1000, b.info(), 1.0f, 0.0f);
        EXPECT_EQ(cam.state().init_flag, 1);
        b.with(field::tempRange, 2).with(field::lensType, 1);
        test::atWarm(b, 50);
        cam.init(1000, b.info(), 1.0f, 0.0f);
        EXPECT_EQ(cam.state().dT, 0.0f);
        EXPECT_EQ(cam.state().dCH5, 0.0f);
        EXPECT_EQ(cam.state().xd, 0.0f);
        test::atWarm(b, -50);
        cam.init(1000, b.info(), 1.0f, 0.0f);
        EXPECT_EQ(cam.state().xd, 100.0f);
    }
}

INSTANTIATE_TEST_SUITE_P(Members, LensLatch, ::testing::Values(51, 52, 54, 55, 110, 120));

// warmHold puts warmShift in place of the shift in every branch of LensRule,
// also where it leaves early, and the block keeps its warmShift.
struct HoldCase {
    int32_t lensType;
    int32_t upTime;
};

class LensHold : public ::testing::TestWithParam<std::tuple<int, HoldCase>> {};

TEST_P(LensHold, TableTakesWarmShift) {
    const auto [calType, c] = GetParam();
    Block b = test::quietBlock();
    b.curve({-830, -630, -450, -240, 200, 560, 1160, 2240, 3440, 4760, 6200, 8200})
        .with(field::lensType, c.lensType)
        .with(field::upTime, c.upTime)
        .with(field::warmHold, 1)
        .with(field::warmShift, 7.5f);
    Camera cam(calType);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    // Row 0 counts down from g[1], but from g[0] on the one-degree grid of 52.
    const float anchor = calType == 52 ? -830.0f : -630.0f;
    EXPECT_EQ(cam.state().tempdata[0].grayBase, anchor - 7.5f);
    EXPECT_EQ(b.read(field::warmShift), 7.5f);
}

INSTANTIATE_TEST_SUITE_P(Members, LensHold,
                         ::testing::Combine(::testing::Values(50, 51, 52, 54, 55, 110, 120),
                                            ::testing::Values(HoldCase{1, 600}, HoldCase{3, 600},
                                                              HoldCase{1, 1800}, HoldCase{2, 100})));

// CalType 52: one degree a row, g[k] = 100 k; the word at 0x030 is the
// thirteenth point (1300 at 42), so row 11 has slope 200 and is measured from
// g[10] like row 10. Shutter mean 10 (mb 30) gives const_b = 0.
Block degree12Block() {
    Block b = test::quietBlock();
    b.curve({0, 100, 200, 300, 400, 500, 600, 700, 800, 900, 1000, 1100})
        .with(field::warmDiffLow, 1300.0f)
        .with(field::lensType, 3);
    test::atMean(b, 10.0f);
    return b;
}

class Degree12Row11 : public ::testing::TestWithParam<std::pair<int32_t, float>> {};

TEST_P(Degree12Row11, MeasuredFromG10) {
    Block b = degree12Block();
    Camera cam(52);
    cam.init(GetParam().first, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().const_b, 0.0f);
    EXPECT_EQ(cam.state().tempdata[11].grayBase, 1000.0f);
    EXPECT_EQ(cam.state().tempdata[11].graySlope, 200.0f);
    EXPECT_EQ(cam.real(GetParam().first, b.info(), 1.0f, 0.0f), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Values, Degree12Row11,
                         ::testing::Values(std::pair{1050, 40.5f},    // row 10
                                           std::pair{1100, 41.0f},    // g[11] still in row 10
                                           std::pair{1101, 41.505f},  // jumps by row 10's width / 200
                                           std::pair{1150, 41.75f}));

// CalType 52's body drift turns from b[0] to b[1] at mb 45.
TEST(CalType52, BodyDriftGainAt45) {
    for (auto [mb, want] :
         {std::pair{44.5f, (30.0f - 44.5f) * 100.0f * 1.5f}, std::pair{45.0f, (30.0f - 45.0f) * 100.0f * 2.0f}}) {
        Block b = degree12Block();
        b.with(field::tempBinGain(0), 1.5f).with(field::tempBinGain(1), 2.0f);
        test::atMean(b, mb - 20.0f);
        Camera cam(52);
        cam.init(0, b.info(), 1.0f, 0.0f);
        EXPECT_EQ(cam.state().const_b, want) << "mb " << mb;
    }
}

// CalType 52 in tempRange 3: the word at 0x030 is the limit of ClockLow.
TEST(CalType52, Range3LimitIsTheWordAt030) {
    for (auto [low, shifted] : {std::pair{5.0f, true}, std::pair{3.0f, false}}) {
        Block b = degree12Block();
        b.with(field::tempRange, 3).with(field::warmDiffLow, low).with(field::upTime, 600);
        b.with(field::grayCurveExt(0), 100.0f).with(field::grayCurveExt(1), 200.0f);
        test::atWarm(b, 400);
        Camera cam(52);
        cam.init(0, b.info(), 1.0f, 0.0f);
        // (1200 - 600) * ((100 - 0) * 0.5 / 25) / 1200 = 1
        EXPECT_EQ(b.read(field::warmShift), shifted ? 1.0f : 0.0f) << "warmDiffLow " << low;
    }
}

// The window: W = windowTransLong / 100, result (F / W - (a * (1 - W)) * 100) / 100.
// An unknown tempRange with tempOffset 3699 gives r = 3699 and F = 3699.
class Window : public ::testing::TestWithParam<std::tuple<int, std::pair<int32_t, float>>> {};

TEST_P(Window, CorrectsThePixelOnly) {
    const auto [calType, c] = GetParam();
    Block b = windowBlock();
    b.with(field::tempRange, 8).with(field::tempOffset, 3699).with(field::windowTransLong, c.first);
    Camera cam(calType);
    EXPECT_EQ(cam.init(1000, b.info(), 1.0f, 0.0f), 36.0f);  // r = 3699, whole degrees
    EXPECT_EQ(cam.real(1000, b.info(), 1.0f, 0.0f), c.second);
}

INSTANTIATE_TEST_SUITE_P(
    EspMembers, Window,
    ::testing::Combine(::testing::Values(51, 52, 54, 55),
                       ::testing::Values(std::pair{100, 3699.0f / 100.0f},                        // F / 100
                                         std::pair{50, (3699.0f / 0.5f - 12.5f * 100.0f) / 100.0f},  // 61.48
                                         std::pair{80, 41.2374992370605f})));

// 110 is 54 with the polynomial tail: the same table, but base 20 and
// E(1.0) = 1.00132108 instead of base c1 and K = 1000. T = 52 at 1.5 m.
TEST(LensWindow, CalType110DiffersFrom54AtEmissivityOne) {
    Block b54 = windowBlock();
    test::atMean(b54, 25.0f);  // mb 45: const_b = 0
    Block b110 = b54;
    Camera c54(54);
    Camera c110(110);
    // row 4 on the zero point: 0 to g[4] = 300 at 45..55, slope 30.
    const int32_t gray = 210;  // (210 - 0) / 30 + 45 = 52
    EXPECT_EQ(c54.init(gray, b54.info(), 1.0f, 0.0f), 52.0f);
    EXPECT_EQ(c110.init(gray, b110.info(), 1.0f, 0.0f), 52.0f);  // 5204 in whole degrees
    EXPECT_EQ(c54.real(gray, b54.info(), 1.0f, 0.0f), 52.0f);
    // F = (float)(32 * E(1.0)) * 100 + 2000 = 5204.2275
    const double E1 = 1.0013210773468018;
    const float F = static_cast<float>(32.0 * E1) * 100.0f + 2000.0f;
    EXPECT_EQ(c110.real(gray, b110.info(), 1.0f, 0.0f), F / 100.0f);
    EXPECT_NE(c110.real(gray, b110.info(), 1.0f, 0.0f), c54.real(gray, b54.info(), 1.0f, 0.0f));
    EXPECT_EQ(c110.state().tempdata[4].graySlope, c54.state().tempdata[4].graySlope);
}

}  // namespace
}  // namespace kalviro
