// Two scaled-curve members worked by hand in tempRange 2, with the values of
// the stages on the way: 73 (grid D, W73, the latch w2 and ladder LA, the
// range-linear atmosphere, the window formula) and 96 (grid E, its
// interpolated weights, band W3, the trim table).
#include <gtest/gtest.h>

#include "kalviro.hpp"
#include "ladder/pixel.hpp"
#include "ladder_frame.hpp"

namespace kalviro {
namespace {

using test::Block;
using test::stateOf;

constexpr float kEm = 0.95f;

// A camera at 23.4 degrees, sensor 26.65, 8 m away at humidity 55.
Block block73() {
    Block b;
    b.with(field::tempRange, 2)
        .curve({-2400, -2050, -1700, -1250, -900, -500, 450, 1200, 2300, 3500, 4800, 6200});
    test::withGains(b, {1.12f, 1.08f, 1.05f, 1.03f, 1.02f, 1.01f, 1.0f, 0.99f, 0.97f, 0.96f, 0.95f, 0.94f,
                        0.93f, 0.92f, 0.28f});
    b.with(field::warmDiffLow, 2.0f).with(field::warmDiffHigh, 6.0f).with(field::warmDivisor, 20.0f);
    b.with(field::itRefTemp, 25.0f).with(field::itSlope, 0.12f).with(field::driftGain, 0.98f);
    b.with(field::shutterQuad, 0.8f).with(field::shutterLin, 30.0f).with(field::shutterCH5, 26.2f);
    b.with(field::tempCH1, 2340)
        .with(field::tempCH2, 2410)
        .with(field::tempCH5, 2665)
        .with(field::grayRef, 8200);
    b.with(field::grayOffset, 12.5f)
        .with(field::upTime, 2400)
        .with(field::distance, 800)
        .with(field::humidity, 55);
    return b.with(field::tempGain, 100).with(field::tempOffset, -15).with(field::windowTrans, 95);
}

TEST(LadderScaledWorked, CalType73) {
    constexpr int32_t kGray = 9650;                 // gIn 1450
    constexpr float kMark6 = 452.0767822265625f;    // m[6] = 450 * g, g = 1.0046151 (S1 at e = 1.65)
    constexpr float kConstB = 44.0142707824707f;    // xb 44.1: (45 - xb) * s[5] 45.207752 * L(7, 40) 0.9736
    constexpr float kXd = 310.80279541015625f;      // W1, dW 3.25: ramp 0.6875 * m[6]
    constexpr float kShift = 15.540140151977539f;   // xd / 20
    constexpr float kConstD = 13.389999389648438f;  // N 13 (d = 45), w2 23.4: 13 * (float)(bg[14] + 0.75)
    // x = 13 + (int)((1450 - 44.01427) + 12.5) = 1431 in row 8 from m[7] at 70.
    constexpr float kRaw = 74.36172485351562f;      // (1431 - (m[7] - D)) / 55.253834 + 70
    constexpr int32_t kCut = 7468;                  // per frame, 74.687103 at 1.5 m cut to hundredths
    constexpr float kFactor = 1.0398838520050049f;  // upper band, bin (+50, +70]
    constexpr float kInit = 76.57f;                 // 7672 - 15
    constexpr float kApparent = 76.3053207397461f;  // per pixel, V0 74.687103 by lin(1.5, 300) at 8 m
    constexpr float kReal = 81.21f;                 // (int)(7826.539 / 0.95 - 100 * (23.4 * 0.05))
    Block b = block73();
    EXPECT_EQ(test::rawOf(73, b, kGray), kRaw);
    Camera cam(73);
    EXPECT_EQ(cam.init(kGray, b.info(), kEm, 0.0f), kInit);
    const CalState& st = stateOf(cam);
    EXPECT_EQ(st.tempdata[6].grayHigh, kMark6);
    EXPECT_EQ(st.const_b, kConstB);
    EXPECT_EQ(st.xd, kXd);
    EXPECT_EQ(st.tempdata[5].grayBase, 0.0f - kShift);
    EXPECT_EQ(st.const_d, kConstD);
    EXPECT_EQ(b.read(field::warmShift), 0.0f);  // 73 publishes 0.0
    EXPECT_EQ(ladder::ladderFactor(kEm, kCut / 100.0, 23.4f), kFactor);
    const ladder::AirPlan air =
        ladder::airPlan(ladder::Atmosphere::RangeLinear, st, b.raw(), st.const_CH1, 0.0f);
    EXPECT_EQ(ladder::airApply(air, kRaw), kApparent);
    EXPECT_EQ(cam.real(kGray, b.info(), kEm, 0.0f), kReal);
}

// A warm camera (30.1 degrees, sensor 33.2), shutter at 31.6, 5 m away.
Block block96() {
    Block b;
    b.with(field::tempRange, 2)
        .curve({-1500, -1180, -840, -420, 380, 800, 1250, 1980, 3050, 4200, 5450, 6800});
    test::withGains(b, {1.06f, 1.04f, 1.02f, 1.01f, 1.0f, 1.0f, 0.99f, 0.98f, 0.97f, 0.96f, 0.95f, 0.94f,
                        0.93f, 0.92f, 0.9f});
    b.with(field::warmDiffLow, 2.0f).with(field::warmDiffHigh, 6.0f).with(field::warmDivisor, 25.0f);
    b.with(field::itRefTemp, 30.0f).with(field::itSlope, 0.15f).with(field::curveBias, -0.02f);
    b.with(field::driftGain, 1.1f).with(field::shutterQuad, 0.8f).with(field::shutterLin, 30.0f);
    b.with(field::shutterCH2, 31.6f)
        .with(field::tempCH1, 3010)
        .with(field::tempCH2, 3190)
        .with(field::tempCH5, 3320);
    b.with(field::grayRef, 8000)
        .with(field::grayOffset, -6.5f)
        .with(field::lensType, 1)
        .with(field::upTime, 2400);
    b.with(field::distance, 500)
        .with(field::humidity, 45)
        .with(field::tempGain, 100)
        .with(field::tempOffset, 20);
    return b.with(field::envTemp, 2450).with(field::auxGate, 8000);
}

TEST(LadderScaledWorked, CalType96) {
    constexpr int32_t kGray = 10380;                // gIn 2380
    constexpr float kMark4 = 397.73681640625f;      // m[4] = 380 * g, g = 1.0466758 (S13 at e = 3.2)
    constexpr float kConstB = -270.9065246582031f;  // [30, 35): (25 - 31.6) * s[4] 39.773682 * 1.032
    constexpr float kShift = 11.5343656539917f;     // W3, dW 3.1: A = m[4] / 25 = 15.909472 * ramp 0.725
    constexpr float kConstD = 9.0f;                 // N: d = 30, (int)(720 / 10000.0 + 900 / 100.0)
    // x = (int)(9 + (int)(-6.5 + (2380 + 270.90652))) = 2653 in row 8 from m[7] at 70.
    constexpr float kRaw = 80.57404327392578f;       // (2653 - (m[7] - D)) / 55.997154 + 70
    constexpr int32_t kCut = 8089;                   // per frame, 80.893929 with exp, cut
    constexpr float kFactor = 1.0398838520050049f;   // upper band, bin (+50, +70]
    constexpr float kInit = 83.11f;                  // 8291 + 20
    constexpr float kApparent = 81.83769226074219f;  // per pixel, V0 80.893929 by lin(1.5, 300), lensType 1
    // X = 83.901192: envTemp 24, auxGate 80, E1, [76, 121) trims by 0.99075.
    constexpr float kReal = 83.32f;
    Block b = block96();
    EXPECT_EQ(test::rawOf(96, b, kGray), kRaw);
    Camera cam(96);
    EXPECT_EQ(cam.init(kGray, b.info(), kEm, 0.0f), kInit);
    const CalState& st = stateOf(cam);
    EXPECT_EQ(st.tempdata[4].grayHigh, kMark4);
    EXPECT_EQ(st.const_b, kConstB);
    EXPECT_EQ(st.tempdata[3].grayBase, 0.0f - kShift);
    EXPECT_EQ(st.const_d, kConstD);
    EXPECT_EQ(b.read(field::warmShift), 0.0f);  // range 2 publishes 0.0
    EXPECT_EQ(ladder::ladderFactor(kEm, kCut / 100.0, 30.1f), kFactor);
    const ladder::AirPlan air =
        ladder::airPlan(ladder::Atmosphere::LensTable, st, b.raw(), st.const_CH1, 0.0f);
    EXPECT_EQ(ladder::airApply(air, kRaw), kApparent);
    EXPECT_EQ(cam.real(kGray, b.info(), kEm, 0.0f), kReal);
}

}  // namespace
}  // namespace kalviro
