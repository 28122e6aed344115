// Three ladder CalTypes worked by hand on one realistic block each, with the
// values on the way: the stage's raw temperature, the apparent temperature,
// the ladder factor, and the per-frame and per-pixel results.
#include <gtest/gtest.h>

#include "block_builder.hpp"
#include "kalviro.hpp"
#include "ladder/pixel.hpp"
#include "ladder/recipes.hpp"
#include "ladder/stage.hpp"

namespace kalviro::ladder {
namespace {

using test::Block;

// What a worked block shows on the way: the stage's raw temperature, the
// per-frame result, the ladder factor at the cut apparent temperature, the
// per-pixel apparent temperature of the pixel's raw one, the per-pixel result.
struct Worked {
    float raw;
    int32_t frame;
    double cut;
    float baseTemp, factor;
    float rawPixel, apparent;
    int32_t pixel;
};

// The two halves of the per-frame call and the per-pixel plan on the statics
// they leave, then the same block through a camera. Returns the block as the
// per-frame call left it.
Block expectWorked(int calType, Block (*make)(), int32_t gray, float emissivity, const Worked& w) {
    const Recipe& r = *Recipes::rowFor(calType);
    CalState st = initialState(calType);
    Block b = make();
    const float raw = stage(r, st, b.raw(), gray);
    EXPECT_EQ(raw, w.raw);
    EXPECT_EQ(frameResult(r, raw, b.raw(), emissivity), w.frame);
    EXPECT_EQ(ladderFactor(emissivity, w.cut, w.baseTemp), w.factor);
    // A plan for one gray value and one with the whole ladder taken at once.
    for (bool eager : {false, true}) {
        const PixelPlan plan = pixelPlan(r, st, b.raw(), emissivity, 0.0f, eager);
        EXPECT_EQ(airApply(plan.air, w.rawPixel), w.apparent);
        EXPECT_EQ(pixelDegrees(plan, gray), static_cast<float>(w.pixel) / 100.0f) << eager;
    }

    Block fresh = make();
    Camera cam(calType);
    EXPECT_EQ(cam.init(gray, fresh.info(), emissivity, 0.0f), static_cast<float>(w.frame) / 100.0f);
    EXPECT_EQ(cam.real(gray, fresh.info(), emissivity, 0.0f), static_cast<float>(w.pixel) / 100.0f);
    return b;
}

// The baseline's worked block at 10 m, gray 1000, emissivity 0.95: atmPlain
// with myexp, and the distance gain from 8 m on.
TEST(LadderWorked, CalType81WithDistanceGain) {
    constexpr int32_t kDrift = 2;  // (int)(0.5 * 100 * 100 / 10000 + 100 * 2 / 100)
    // meanCH 29.5 in [25, 30): const_b = (25 - 29.5) * 40 = -180. dW = 4 halfway
    // from 2 to 6: xd = 200, D = 8. x = (int)(2 + (int)(10 + 1180)) = 1192.
    constexpr float kRaw = 52.0f;             // row 5: (1192 - (1100 - 8)) / 50 + 50
    constexpr float kApparent = 52.8529358f;  // myexp(-(8.5 * 0.167)) about const_CH1 25
    constexpr double kCut = 52.85;            // per frame: the apparent value cut to hundredths
    constexpr float kFactor = 1.03923857f;    // upperBand bin 11 (+15, +30], in both calls
    constexpr int32_t kInit = 5394;           // (int)(28.9427948 * 100 + 2500)
    // Per pixel 2500 + 27.8529358 * g * 100 = 5394.58398, raised at 10 m by
    // (10 - 8) * 0.25 * 0.6 percent to 5410.76758.
    constexpr int32_t kReal = 5410;  // 54.10 degrees
    const Block b = expectWorked(81, test::workedBlockRange2, 1000, 0.95f,
                                 {kRaw, kInit, kCut, 25.0f, kFactor, kRaw, kApparent, kReal});
    EXPECT_EQ(b.read(field::shutterDrift), kDrift);
}

// tempRange 4 past the warm-up with a warm camera (tempCH1 40 degrees),
// humidity 45, lensType 2 at 5 m, emissivity 0.90, envTemp 25 and auxGate
// 120: upper-bin body drift, library exp per frame, atmLensTable and trim.
Block block94() {
    Block b = test::workedBlockRange4();
    b.with(field::driftGain, 1.2f).with(field::shutterCH2, 42.0f).with(field::shutterCH3, 41.0f);
    b.with(field::tempCH1, 4000).with(field::tempCH2, 4300).with(field::tempCH3, 4150);
    b.with(field::tempCH5, 4200).with(field::distance, 500).with(field::humidity, 45);
    return b.with(field::lensType, 2).with(field::envTemp, 2500).with(field::auxGate, 12000);
}

TEST(LadderWorked, CalType94WithLensTableAndTrim) {
    // meanCH 41.5 in (40, 45]: const_b = (25 - 41.5) * (-1000 / 155.0 * 0.5)
    // * (1.2f - 0.1) = 58.5483894. upTime 3500: D = 0 and the long-run
    // const_d = (41.5 - (43 + 41.5) * 0.5) * (250 / 100) = -1.5, cut to -1.
    // x = (int)(10 + (3000 - 58.5483894)) - 1 = 2950.
    constexpr float kRaw = 719.230774f;       // row 4: (2950 - 2700) / 13 + 700
    constexpr int32_t kInit = 77520;          // a = 723.535522 with exp(-0.988 * 0.167), cut to 723.53
    constexpr float kFactor = 1.07559955f;    // upperBand bin 23, above +430, in both calls
    constexpr float kApparent = 724.982605f;  // V0 723.535522 by up(3, 1000) at 5 m
    // X = 40 + 684.982605 * g = 776.766968; warm, auxGate 120, row E1: X >= 209
    // takes 0.99186 (77676 untrimmed).
    constexpr int32_t kReal = 77044;
    const Block b =
        expectWorked(94, block94, 3000, 0.9f, {kRaw, kInit, 723.53, 40.0f, kFactor, kRaw, kApparent, kReal});
    EXPECT_EQ(b.read(field::warmShift), 0.0f);
}

// tempRange 2 on grid B, shutter mean 16 (xb 36), dW 3.5, itDelta 2.5,
// lensType 3 at 5 m, window 90 percent, driftGain 0.05, gray 2500 at 0.85.
Block block130() {
    Block b = test::quietBlock();
    b.curve({-2600, -1800, -1150, -600, 400, 1050, 1950, 3400, 4900, 6500, 8100, 10300});
    b.with(field::tempBinGain(3), 1.1f).with(field::shutterLin, 5.0f).with(field::shutterQuad, 0.5f);
    b.with(field::grayOffset, 10.0f).with(field::driftGain, 0.05f).with(field::itRefTemp, 28.0f);
    b.with(field::shutterCH5, 29.9f).with(field::upTime, 600).with(field::tempCH1, 2700);
    b.with(field::tempCH5, 3050).with(field::distance, 500).with(field::lensType, 3);
    test::atMean(b, 16.0f);
    return b.with(field::windowTrans, 90);
}

TEST(LadderWorked, CalType130WithOffsetPolynomialStretchAndWindow) {
    constexpr int32_t kDrift = 3;  // 3050 - (int)(29.9f * 100f) = 60: (int)(0.18 + 3.0)
    // const_b = (600 - (36 - 30) * 40) * 1.1f = 396, stored for the pixel only.
    // xd = 0.625 * (400 / 3.0) = 83.3333359, D = 3.33333349. P2 at 2.5 is
    // -289.596871: x = 3 + (int)((float)(P2 + 10) + 2500) = 2223, row 7 with
    // grayBase 1950 - 1.4 * D = 1945.33337 and slope 48.3333321.
    constexpr float kRaw = 95.7448273f;
    constexpr int32_t kInit = 10522;       // a = 96.1853714 with myexp(-0.167), cut to 96.18
    constexpr float kFactor = 1.1307689f;  // bin 13 (+50, +70] about 27 in both calls
    // Per pixel 2500 stretches to 2519.59473 above gc[5]; v = (int)(2519.59473
    // - 396 + 10) + 3 = 2136 on row 7.
    constexpr float kRawPixel = 93.9448242f;
    constexpr float kApparent = 96.0253754f;  // V0 >= 50: lin(1.5, 200) at 5 m
    constexpr int32_t kReal = 11402;          // 10505.1738 / 0.9 - 100 * (27 * 0.1)
    const Block b = expectWorked(130, block130, 2500, 0.85f,
                                 {kRaw, kInit, 96.18, 27.0f, kFactor, kRawPixel, kApparent, kReal});
    EXPECT_EQ(b.read(field::shutterDrift), kDrift);
}

}  // namespace
}  // namespace kalviro::ladder
