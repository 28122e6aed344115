// Two ladder members of other frame layouts worked by hand in tempRange 2:
// 121 (the long layout: the camera's drift, x not truncated, limits latched
// from the first frame, whole degrees per frame, fractions per pixel about a
// fixed 20 degrees) and 62 (the four-range frame: atmosphere and drift from
// the block, the no-lens atmosphere, the row of the emissivity percent).
#include <gtest/gtest.h>

#include "core/four_range.hpp"
#include "kalviro.hpp"
#include "ladder/pixel.hpp"
#include "ladder_frame.hpp"

namespace kalviro {
namespace {

using test::Block;
using test::stateOf;

// Camera at 31.8 degrees, sensor 36.0, shutters 33.1 and 33.7, 6 m away,
// window 92 percent, lensType 1 in its warm-up.
Block block121() {
    Block b;
    b.with(field::tempRange, 2)
        .curve({-2700, -2000, -1400, -780, 520, 1380, 2650, 4700, 6900, 9250, 11700, 15200});
    b.with(field::grayCurveExt(0), 19800.0f).with(field::grayCurveExt(1), 24600.0f);
    test::withGains(b, {1.06f, 1.04f, 1.02f, 1.01f, 1.0f, 0.985f, 0.97f, 0.96f, 0.95f, 0.94f, 0.93f, 0.92f,
                        0.91f, 0.9f, 0.89f});
    b.with(field::warmDiffLow, 2.0f).with(field::warmDiffHigh, 6.0f).with(field::warmDivisor, 20.0f);
    b.with(field::shutterCH2, 33.1f).with(field::shutterCH3, 33.7f).with(field::shutterDrift, -7);
    b.with(field::tempCH1, 3180).with(field::tempCH5, 3600).with(field::lensType, 1).with(field::upTime, 900);
    b.with(field::grayRef, 9000)
        .with(field::grayOffset, 3.25f)
        .with(field::distance, 600)
        .with(field::humidity, 50);
    return b.with(field::tempGain, 100).with(field::tempOffset, 35).with(field::windowTransLong, 92);
}

TEST(LadderLayoutWorked, CalType121) {
    constexpr int32_t kGray = 11840;                // gIn 2840
    constexpr float kConstB = -430.2480773925781f;  // xb 53.4: ((55 - xb) * s[4] 52 - gc[4]) * bg[5] 0.985
    constexpr float kXd = 77.99996948242188f;       // limits 2, 6 latched; dW 4.2: (520 / 3.0) * 0.45
    constexpr float kShift = 3.899998426437378f;    // xd / 20, published
    // x = (-7 + (2840 + 430.24808)) + 3.25 = 3266.498, not truncated: row 7
    // from gc[6] 2650 at 90, kD 2.3.
    constexpr float kGrayBase7 = 2641.030029296875f;  // (float)(2650 - 2.3 * D)
    constexpr float kRaw = 99.15319061279297f;        // (3266.498 - 2641.03) / 68.333336 + 90
    constexpr int32_t kCut = 10062;                   // per frame, 100.627945 at 6 m with myexp, cut
    constexpr float kFactor = 1.0834934711456299f;    // emissivity 0.9, upper band, bin (+50, +70]
    constexpr float kInit = 106.0f;                   // 10636 + 35 = 10671 hundredths, whole degrees
    constexpr float kRawPixel = 99.14590454101562f;   // v = (int)3273.498 - 7 = 3266
    constexpr float kApparent = 100.62049102783203f;  // atmPlain at 6 m, humidity in single precision
    // h = ((100.62 - 20.0) / 100.0) * 100 * g = 87.351776 about 20 degrees,
    // V = 10770.178, then (V / 0.92 - (31.8 * 0.08) * 100) / 100.
    constexpr float kReal = 114.52314758300781f;
    Block b = block121();
    EXPECT_EQ(test::rawOf(121, b, kGray), kRaw);
    Camera cam(121);
    EXPECT_EQ(cam.init(kGray, b.info(), 0.9f, 0.0f), kInit);
    const CalState& st = stateOf(cam);
    EXPECT_EQ(st.const_b, kConstB);
    EXPECT_EQ(st.xd, kXd);
    EXPECT_EQ(st.const_d, -7.0f);
    EXPECT_EQ(st.tempdata[7].grayBase, kGrayBase7);
    EXPECT_EQ(st.const_CH1, 31.8f);
    EXPECT_EQ(b.read(field::warmShift), kShift);
    EXPECT_EQ(ladder::ladderFactor(0.9f, kCut / 100.0, 31.8f), kFactor);
    const ladder::AirPlan air = ladder::airPlan(ladder::Atmosphere::Plain, st, b.raw(), st.const_CH1, 0.0f);
    EXPECT_EQ(ladder::airApply(air, kRawPixel), kApparent);
    EXPECT_EQ(cam.real(kGray, b.info(), 0.9f, 0.0f), kReal);
}

// A body-temperature camera: bodyTemp 28, the block's atmosphere 5 and 150,
// drift 9 counts by driftGain 1.25, in its warm-up (upTime 500), 2 m away.
Block block62() {
    Block b;
    b.with(field::tempRange, 2).curve({-1650, -1290, -920, -740, -560, -375, -190, 200, 405, 615, 830, 1050});
    b.gains(1.0f).with(field::tempBinGain(0), 1.04f).with(field::bodyTemp, 28).with(field::shutterDrift, 9);
    b.with(field::atmA, 5)
        .with(field::atmB, 150)
        .with(field::driftGain, 1.25f)
        .with(field::warmDivisor, 20.0f);
    b.with(field::warmGain, 0.8f)
        .with(field::upTime, 500)
        .with(field::tempCH1, 2630)
        .with(field::grayRef, 8000);
    b.with(field::grayOffset, 4.5f)
        .with(field::distance, 200)
        .with(field::humidity, 70)
        .with(field::tempGain, 100);
    return b.with(field::tempOffset, -25).with(field::windowTrans, 97);
}

TEST(LadderLayoutWorked, CalType62) {
    constexpr int32_t kGray = 8320;  // gIn 320
    constexpr float kEm = 0.95f;
    constexpr float kConstB = -124.79999542236328f;       // bodyTemp in (25, 30]: (25 - 28) * s[7] 40 * bg[0]
    constexpr float kShift = 4.666666507720947f;          // ((gc[7] 200 / 20) * 0.8 * 700) / 1200.0
    constexpr int32_t kX = 456;                           // (int)(320 + 124.8 + 4.5) + (int)(9 / 1.25)
    constexpr float kRaw = 36.32539749145508f;            // row 9 from 405 at 35: (456 - (405 - D)) / 42 + 35
    constexpr float kApparentFrame = 36.39944076538086f;  // the block's 0.05 and 0.15, myexp, not cut
    constexpr float kFactor = 1.0413950681686401f;        // upper band, bin (+5, +15] about 26.3
    constexpr float kInit = 36.56f;                       // (int)((2630 + 1014.4) - 25)
    constexpr float kApparent = 36.545040130615234f;      // per pixel, V0 36.399441 by down(3, 250) at 2 m
    constexpr float kReal = 37.06f;                       // (int)(3671.9136 / 0.97 - 100 * (26.3 * 0.03))
    // A gray beyond the sentinel finds no row; emissivity 0.05 takes row 5:
    // (142136 - (-190 - D)) / 37 + 20 = 3866.7749 as the raw value.
    constexpr float kPercentRow = 6347.14f;
    Block b = block62();
    CalState fresh;
    const FourRangeLookup look = fourRangeFrame(fresh, b.raw(), kGray, FourRangeMath::Ladder);
    EXPECT_EQ(look.v, kX);
    EXPECT_EQ(look.raw, kRaw);
    const auto before = b.snapshot();
    Camera cam(62);
    EXPECT_EQ(cam.init(kGray, b.info(), kEm, 0.0f), kInit);
    EXPECT_EQ(b.snapshot(), before);  // nothing is written back
    const CalState& st = stateOf(cam);
    EXPECT_EQ(st.const_A3, 0.05f);
    EXPECT_EQ(st.const_B3, 0.15f);
    EXPECT_EQ(st.const_b, kConstB);
    EXPECT_EQ(st.tempdata[9].grayBase, 405.0f - kShift);
    EXPECT_EQ(st.const_CH2, 26.3f);
    EXPECT_EQ(ladder::ladderFactor(kEm, static_cast<double>(kApparentFrame * 100.0f) / 100.0, 26.3f),
              kFactor);
    const ladder::AirPlan air = ladder::airPlan(ladder::Atmosphere::NoLens, st, b.raw(), st.const_CH1, 0.0f);
    EXPECT_EQ(ladder::airApply(air, kRaw), kApparent);
    EXPECT_EQ(cam.real(kGray, b.info(), kEm, 0.0f), kReal);
    EXPECT_EQ(cam.real(150000, b.info(), 0.05f, 0.0f), kPercentRow);
}

}  // namespace
}  // namespace kalviro
