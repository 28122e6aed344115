// One block of each Direct family worked by hand in tempRange 2, with the
// values of the stages on the way: CalTypes 20, 25, 54 and 22 (lensType 1).
#include <gtest/gtest.h>

#include "block_builder.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;

// The baseline's worked block on CalType 20 at emissivity 0.90: the same
// table, but the air c1 in both stages and scaling about c1 by K.
TEST(DirectWorked, CalType20) {
    constexpr int32_t kDrift = 2;  // (int)(0.5 * 100 * 100 / 10000 + 100 * 2 / 100)
    // m = 29.5 in 25 up to 30: const_b = (25 - 29.5) * 40 = -180. w = 4 halfway
    // from 2 to 6: xd = 0.5 * g[3] = 200, s = 200 / 25 = 8. v = (int)(2 +
    // (int)((1000 + 180) + 10)) = 1192 lies in row 5.
    constexpr float kT = 52.0f;  // (1192 - (1100 - 8)) / 50 + 50
    // K 1012 at 0.90; at 10 m and humidity 60 both stages correct T to
    // 52.852935791015625 about c1 = 25.
    constexpr int32_t kR = 5318;        // (int)(27.852936 * 1.012 * 100 + 2500)
    constexpr int32_t kBoosted = 5334;  // F = 5318.7168 raised 0.3 percent at 10 m
    Block b = test::workedBlockRange2();
    Camera cam(20);
    EXPECT_EQ(cam.init(1000, b.info(), 0.90f, 0.0f), static_cast<float>(kR) / 100.0f);
    EXPECT_EQ(b.read(field::shutterDrift), kDrift);
    EXPECT_EQ(b.read(field::warmShift), 0.0f);  // tempRange 2 publishes 0.0
    EXPECT_EQ(cam.real(1000, b.info(), 0.90f, 0.0f), static_cast<float>(kBoosted) / 100.0f);

    // At 1.5 metres K 1000 (1.0 down to 0.92) shows T to the hundredth.
    b.with(field::distance, 150);
    for (float e : {1.0f, 0.92f}) {
        EXPECT_EQ(cam.init(1000, b.info(), e, 0.0f), kT) << e;
        EXPECT_EQ(cam.real(1000, b.info(), e, 0.0f), kT) << e;
    }
}

// CalType 25 on one degree a row from 30 (g[0]) to 41 (g[11]), slope[0] 100.
TEST(DirectWorked, CalType25) {
    // m = 29.5 in 26 up to 30: const_b = (26 - 29.5) * (-400 * 0.25) * b[1] = 175.
    constexpr float kShift = 2.0f;  // w = 4: (int)(0.5 * slope[0]) = 50 counts, / 25
    // base = (int)((1011 - 175) + 10) = 846, v = (int)(2 + 846) = 848: row 8
    // from g[8] = 800 at 38 to g[9] = 1000 at 39.
    constexpr float kT = 38.25f;     // (848 - (800 - 2)) / 200 + 38
    constexpr float kInit = 38.82f;  // Tc 38.66857147 at 10 m scaled by K 1012 about 25
    constexpr float kReal = 38.83f;  // (int)F = 3883; a boost would give 3894
    Block b = test::workedBlockRange2();
    b.curve({-400, -300, -180, -50, 100, 260, 430, 610, 800, 1000, 1210, 1430})
        .with(field::tempBinGain(1), 0.5f);
    Camera cam(25);
    EXPECT_EQ(cam.init(1011, b.info(), 0.90f, 0.0f), kInit);
    EXPECT_EQ(b.read(field::warmShift), kShift);  // 25 publishes its shift
    EXPECT_EQ(cam.real(1011, b.info(), 0.90f, 0.0f), kReal);
    b.with(field::distance, 150);
    EXPECT_EQ(cam.init(1011, b.info(), 1.0f, 0.0f), kT);
}

// CalType 54 at emissivity 0.90, 10 m, humidity 40, window 90 percent, on
// Grid45Ext with g[4] = 300 (A = 100) and slope 30 from 55 up.
TEST(DirectWorked, CalType54WithWindow) {
    // mb 52 in 50 up to 55: const_b = ((55 - 52) * 30 - 300) * b[5] 1.25 =
    // -262.5; const_d 3, the camera's shutterDrift as it is; w = 4 between 2
    // and 6: xd = 100 * (1 - 2 / 4) = 50.
    constexpr float kShift = 2.0f;  // 50 / 25
    // v = ((1000 + 262.5) + 10.25) + 3 = 1275.75, not truncated: row 6 from
    // g[5] 750 at 70, grayBase (float)(750 - 1.8 * 2) = 746.400024; T = 87.645.
    constexpr float kInit = 90.0f;  // Tc 89.60946655, r = 9037, whole degrees
    // Per pixel v = (int)1272.75 + 3 = 1275: T 87.62, Tc 89.58367920,
    // F = 9035.868164, then (F / 0.9 - (25 * 0.1) * 100) / 100.
    constexpr float kReal = 97.8985366821289f;
    Block b = test::quietBlock();
    b.curve({-1000, -700, -450, -240, 300, 750, 1350, 2250, 3150, 4050, 4950, 6150});
    b.with(field::grayCurveExt(0), 7650.0f).with(field::grayCurveExt(1), 9150.0f);
    b.with(field::tempBinGain(5), 1.25f).with(field::grayOffset, 10.25f).with(field::shutterDrift, 3);
    b.with(field::lensType, 1).with(field::upTime, 600).with(field::distance, 1000);
    b.with(field::humidity, 40).with(field::windowTransLong, 90);
    test::atMean(b, 32.0f);
    test::atWarm(b, 400);
    Camera cam(54);
    EXPECT_EQ(cam.init(1000, b.info(), 0.90f, 0.0f), kInit);
    EXPECT_EQ(b.read(field::warmShift), kShift);
    EXPECT_EQ(cam.real(1000, b.info(), 0.90f, 0.0f), kReal);
}

// CalType 22, lensType 1: shutter mean 9.5 (mb 29.5), driftGain 1.5,
// itRefTemp 30, emissivity 0.90.
TEST(DirectWorked, CalType22Lens1) {
    // const_b = G 1.1 * ((25 - 29.5) * 40) = -198, mb in 25 up to 35.
    // fb = (int)((1000 + 198) + 10) = 1208. h = itRefTemp = 30, w = 29 - 25
    // = 4, x = h - c5 = 1. upTime 600 < 1000 and 8.0 > w: case A2, with
    // f = (float)(1.3 - (400 * 0.8) / 600) = 0.76666665, xd = (float)(400 *
    // (1 - 2 / 5.5)) = 254.545456; const_d 2: c = 1.0 for w in 3.5..10.
    constexpr float kShift = 7.806060314178467f;  // (254.54546 / 25) * f; fb below g[5]: kept
    // v = (int)(2 + 1208) = 1210 in row 5, whose grayBase takes factor 1.1:
    // 1100 + s * -1.1 = 1091.41333.
    constexpr float kT = 52.37f;     // (1210 - 1091.41333) / 50 + 50 = 52.371735
    constexpr float kInit = 53.56f;  // Tc 53.23641586 at 10 m, K 1012: r 5356
    constexpr float kReal = 53.57f;  // (int)F = 5357, no boost in 22
    Block b = test::workedBlockRange2();
    b.with(field::shutterCH2, 10.0f).with(field::shutterCH3, 9.0f).with(field::tempCH2, 1100);  // drift 2
    b.with(field::driftGain, 1.5f).with(field::itRefTemp, 30.0f).with(field::lensType, 1);
    Camera cam(22);
    EXPECT_EQ(cam.init(1000, b.info(), 0.90f, 0.0f), kInit);
    EXPECT_EQ(b.read(field::warmShift), kShift);
    EXPECT_EQ(cam.real(1000, b.info(), 0.90f, 0.0f), kReal);
    b.with(field::distance, 150);
    Camera fresh(22);
    EXPECT_EQ(fresh.init(1000, b.info(), 1.0f, 0.0f), kT);
}

}  // namespace
}  // namespace kalviro
