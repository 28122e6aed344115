// CalTypes 20, 24, 26, 27 and 57: the emissivity table, the worked block of
// CalType 20, the row tests at curve points and CalType 26's clock shift.
#include <gtest/gtest.h>

#include <vector>

#include "block_builder.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;

// The baseline's worked block on CalType 20 at emissivity 0.90, worked by
// hand: the same table as the baseline, but the air temperature c1 in both
// stages and scaling about c1 by the table factor.
TEST(EspFamilyWorked, CalType20Range2) {
    constexpr int32_t kDrift = 2;             // (int)(0.5 * 100 * 100 / 10000 + 100 * 2 / 100)
    constexpr float kConstB = -180.0f;        // m = 29.5 in 25 up to 30: (25 - 29.5) * 40
    constexpr float kXd = 200.0f;             // w = 4 halfway from 2 to 6: 0.5 * g[3]
    constexpr float kShift = 8.0f;            // 200 / 25
    // v = (int)(2 + (int)((1000 + 180) + 10)) = 1192 lies in row 5.
    constexpr float kT = 52.0f;  // (1192 - (1100 - 8)) / 50 + 50
    // K 1012: 0.90 reads percent 90, index 10. At 10 m and humidity 60 both
    // stages correct T to 52.852935791015625 about the air c1 = 25.
    constexpr int32_t kR = 5318;        // (int)(27.852936 * 1.012 * 100 + 2500)
    constexpr int32_t kBoosted = 5334;  // F = 5318.7168 raised 0.3 percent at 10 m
    Block b = test::workedBlockRange2();
    Camera cam(20);
    EXPECT_EQ(cam.init(1000, b.info(), 0.90f, 0.0f), static_cast<float>(kR) / 100.0f);
    EXPECT_EQ(b.read(field::shutterDrift), kDrift);
    EXPECT_EQ(cam.state().const_b, kConstB);
    EXPECT_EQ(cam.state().xd, kXd);
    EXPECT_EQ(cam.state().const_d, static_cast<float>(kDrift));
    EXPECT_EQ(cam.state().const_CH1, 25.0f);
    EXPECT_EQ(cam.state().tempdata[5].grayBase, 1100.0f - kShift);
    EXPECT_EQ(cam.state().tempdata[5].graySlope, 50.0f);
    EXPECT_EQ(b.read(field::warmShift), 0.0f);  // tempRange 2 publishes 0.0
    EXPECT_EQ(b.read(field::atmA), 4);
    EXPECT_EQ(b.read(field::atmB), 167);
    EXPECT_EQ(cam.real(1000, b.info(), 0.90f, 0.0f), static_cast<float>(kBoosted) / 100.0f);

    // At 1.5 metres and K 1000 the raw temperature shows as it is.
    Block near = test::workedBlockRange2();
    near.with(field::distance, 150);
    Camera plain(20);
    EXPECT_EQ(plain.init(1000, near.info(), 1.0f, 0.0f), kT);
    EXPECT_EQ(plain.real(1000, near.info(), 1.0f, 0.0f), kT);
}

// Emissivity index: percent truncated, above 100 reads index 0, 0 and below
// index 99. An unknown tempRange gives the raw temperature 0.0, which is
// scaled about the air temperature (25): the result is 25 * (1 - K / 1000).
struct EspCase {
    float emissivity;
    int32_t hundredths;  // both stages
};

class EspScaling : public ::testing::TestWithParam<std::tuple<int, EspCase>> {};

TEST_P(EspScaling, ScalesAboutTheAirTemperature) {
    const auto [calType, c] = GetParam();
    Block b = test::quietBlock();
    b.with(field::tempRange, 7);
    Camera cam(calType);
    const float want = static_cast<float>(c.hundredths) / 100.0f;
    EXPECT_EQ(cam.init(1000, b.info(), c.emissivity, 0.0f), want);
    EXPECT_EQ(cam.real(1000, b.info(), c.emissivity, 0.0f), want);
}

INSTANTIATE_TEST_SUITE_P(
    HundredthsMembers, EspScaling,
    ::testing::Combine(::testing::Values(20, 22, 23, 24, 25, 26, 27, 56, 57, 58),
                       ::testing::Values(EspCase{1.0f, 0},         // K 1000
                                         EspCase{0.92f, 0},        // K 1000, the last of the ones
                                         EspCase{0.91f, -15},      // K 1006
                                         EspCase{0.90f, -30},      // K 1012
                                         EspCase{0.5f, -1175},     // K 1470
                                         EspCase{0.01f, -10450},   // K 5180
                                         EspCase{0.0f, -10450},    // index 99
                                         EspCase{-0.2f, -10450},   // index 99
                                         EspCase{1.005f, 0},       // percent 100, index 0
                                         EspCase{1.5f, 0})));      // above 100, index 0

// With K = 1000, tempGain 100 and no offset the output is the corrected
// temperature to the hundredth.
class EspUnity : public ::testing::TestWithParam<float> {};

TEST_P(EspUnity, OutputIsTheCorrectedTemperature) {
    Block b = test::workedBlockRange2();
    b.with(field::distance, 150);
    Camera cam(20);
    EXPECT_EQ(cam.init(1000, b.info(), GetParam(), 0.0f), 52.0f);
    EXPECT_EQ(cam.real(1000, b.info(), GetParam(), 0.0f), 52.0f);
}

INSTANTIATE_TEST_SUITE_P(OneAndPointNinetyTwo, EspUnity, ::testing::Values(1.0f, 0.92f));

// A v on a curve point. Shutter mean 25 (mb 45) gives const_b = 0 on both
// grids, and no drift, so v is the gray value itself. The shift makes the two
// rows that meet there disagree: the row that holds v shows.
struct CurvePointCase {
    int calType;
    float frame;  // Init
    float pixel;  // Real
};

class RowAtCurvePoint : public ::testing::TestWithParam<CurvePointCase> {};

TEST_P(RowAtCurvePoint, PicksTheRowOfEachStage) {
    const CurvePointCase c = GetParam();
    Block b = test::quietBlock();
    int32_t gray;
    if (c.calType == 57 || c.calType == 58) {
        // Grid45: g[4] 300 at 55, g[5] 450 at 70 (slope 10), g[6] 2050 at 90
        // (slope 80). s = (300 / 3) / 40 = 2.5. Lower row: (450 - 297.5) / 10
        // + 55 = 70.25; upper row: 2.5 / 80 + 70 = 70.03125.
        b.curve({-1300, -900, -600, -300, 300, 450, 2050, 3000, 4000, 5000, 6000, 7000});
        gray = 450;
    } else {
        // Grid25: g[3] 400 at 35, g[4] 550 at 50 (slope 10), g[5] 2150 at 70
        // (slope 80). s = g[3] / 40 = 10. Lower row: (550 - 390) / 10 + 35 =
        // 51; upper row: 10 / 80 + 50 = 50.125.
        b.curve({-1600, -1000, -400, 400, 550, 2150, 3100, 4700, 6300, 7900, 9500, 11700});
        gray = 550;
    }
    b.with(field::warmDivisor, 40.0f).with(field::upTime, 600);  // w = 0: full shift
    Camera cam(c.calType);
    EXPECT_EQ(cam.init(gray, b.info(), 1.0f, 0.0f), c.frame);
    EXPECT_EQ(cam.real(gray, b.info(), 1.0f, 0.0f), c.pixel);
}

INSTANTIATE_TEST_SUITE_P(Members, RowAtCurvePoint,
                         ::testing::Values(CurvePointCase{20, 50.12f, 51.0f},  // closed-open per frame
                                           CurvePointCase{24, 50.12f, 51.0f},
                                           CurvePointCase{27, 50.12f, 51.0f},
                                           CurvePointCase{57, 70.25f, 70.25f},  // open-closed in both
                                           CurvePointCase{58, 70.25f, 70.25f}),
                         [](const auto& p) { return "CalType" + std::to_string(p.param.calType); });

// CalType 26 in tempRange 2: the shift runs down to upTime 3000 in whole gray
// counts, only while c2 - c1 is below warmDiffLow, and is published.
struct Clock26Case {
    int32_t upTime;
    float g3;
    int32_t c2MinusC1;  // hundredths
    float shift;
};

class Clock3000 : public ::testing::TestWithParam<Clock26Case> {};

TEST_P(Clock3000, ShiftInWholeGrayCounts) {
    const Clock26Case c = GetParam();
    Block b = test::quietBlock();
    b.curve({-1600, -1000, -400, c.g3, 1100, 2100, 3100, 4700, 6300, 7900, 9500, 11700})
        .with(field::upTime, c.upTime)
        .with(field::tempCH2, 2500 + c.c2MinusC1);
    Camera cam(26);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(b.read(field::warmShift), c.shift);
    EXPECT_EQ(cam.state().tempdata[0].grayBase, -1000.0f - c.shift);
}

INSTANTIATE_TEST_SUITE_P(
    Limits, Clock3000,
    ::testing::Values(Clock26Case{3000, 1000.0f, 0, 0.0f},          // the clock has run out
                      Clock26Case{2999, 1000.0f, 0, 0.0f},          // 1000 / 3000 truncates to 0
                      Clock26Case{2997, 1000.0f, 0, 1.0f / 25.0f},  // 3000 / 3000 = 1 count
                      Clock26Case{1500, 1000.0f, 0, 20.0f},         // 500 counts / 25
                      Clock26Case{1500, 1000.0f, 199, 20.0f},       // c2 - c1 1.99 below 2
                      Clock26Case{1500, 1000.0f, 200, 0.0f}));      // c2 - c1 at warmDiffLow

// CalType 26: drift counts times b[4] in tempRange 2, and c2 as the air.
TEST(EspFamily, CalType26DriftTimesB4AndAirC2) {
    Block b = test::workedBlockRange2();
    b.with(field::tempBinGain(4), 1.5f);
    Camera cam(26);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().const_d, 3.0f);  // drift 2 * 1.5
    EXPECT_EQ(cam.state().const_CH2, 31.0f);
}

// 57 in tempRange 3: Table 4 on k = (g[0] / 155) * 0.5 = 1 with g[0] = 310.
// 40 up to 45 is a gap that takes the outer bins' gain; b[7] is read by no bin.
struct Mid45Case {
    float mb;
    float constB;
};

class Mid45Bins : public ::testing::TestWithParam<std::tuple<int, Mid45Case>> {};

TEST_P(Mid45Bins, GainByBin) {
    const auto [calType, c] = GetParam();
    // Gains b[k] = 1 + k / 16: H(14, 3) = 1.875 * 3 - 1.8125 * 2 = 2.0,
    // H(14, 2) = 1.9375, L(2) = 2 - 1.0625 = 0.9375.
    for (float b7 : {1.0f, 9.0f}) {
        Block b = test::quietBlock();
        for (int k = 0; k < 15; ++k) b.with(field::tempBinGain(k), 1.0f + static_cast<float>(k) / 16.0f);
        b.with(field::tempBinGain(7), b7);
        b.curve({310, 400, 500, 600, 700, 800, 900, 1000}).with(field::tempRange, 3);
        test::atMean(b, c.mb - 20.0f);
        Camera cam(calType);
        cam.init(1000, b.info(), 1.0f, 0.0f);
        EXPECT_EQ(cam.state().const_b, c.constB) << "mb " << c.mb << ", b[7] " << b7;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table4, Mid45Bins,
    ::testing::Combine(::testing::Values(57, 70),
                       ::testing::Values(Mid45Case{-1.0f, 46.0f * 2.0f},      // below 0: H(14, 3)
                                         Mid45Case{0.0f, 45.0f * 0.9375f},    // 0 holds L(2)
                                         Mid45Case{5.0f, 40.0f * 1.0f},       // b[0]
                                         Mid45Case{39.0f, 6.0f * 1.375f},     // b[6]
                                         Mid45Case{40.0f, 5.0f * 2.0f},       // gap: H(14, 3)
                                         Mid45Case{42.0f, 3.0f * 2.0f},       // gap: H(14, 3)
                                         Mid45Case{47.0f, -2.0f},             // no gain
                                         Mid45Case{50.0f, -5.0f * 1.5f},      // b[8]
                                         Mid45Case{80.0f, -35.0f * 1.875f},   // b[14]
                                         Mid45Case{85.0f, -40.0f * 1.9375f},  // H(14, 2)
                                         Mid45Case{90.0f, -45.0f * 2.0f})));  // H(14, 3)

}  // namespace
}  // namespace kalviro
