// CalTypes 12 and 60: four ranges, the camera's own drift counts, rows that
// stand in for the search at low emissivities, and a window in the per-pixel
// stage.
#include <gtest/gtest.h>

#include "block_builder.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;

// A curve on GridLow25 (-20 .. 50, zero point at 25) whose rows differ in
// slope, past the warm-up (no shift), body at 25 degrees (no body drift).
Block oldBlock(int32_t range) {
    Block b;
    b.curve({-2250, -1800, -1250, -1000, -750, -400, -250, 250, 500, 750, 1000, 1250}).gains(2.0f);
    b.with(field::tempRange, range).with(field::bodyTemp, 25).with(field::upTime, 5000);
    b.with(field::warmDivisor, 25.0f).with(field::warmGain, 1.0f).with(field::driftGain, 1.0f);
    b.with(field::atmA, 4).with(field::atmB, 167).with(field::tempCH1, 2500).with(field::distance, 300);
    return b.with(field::humidity, 60).with(field::tempGain, 100).with(field::windowTrans, 100);
}

class OldFrame : public ::testing::TestWithParam<int32_t> {};

// The camera's drift counts join the gray value: divided by driftGain in
// ranges 2 and 3, as they stand in 4 and 5, negative ones alike.
TEST_P(OldFrame, ShutterDriftJoinsTheGrayValue) {
    for (int32_t range : {2, 3, 4, 5}) {
        Camera cam(GetParam());
        Block b = oldBlock(range);
        b.with(field::driftGain, 3.0f).with(field::shutterDrift, -30);
        const float withDrift = cam.init(700, b.info(), 0.95f, 0.0f);
        b.with(field::shutterDrift, 0);
        const int32_t counts = range <= 3 ? -10 : -30;
        EXPECT_EQ(cam.init(700 + counts, b.info(), 0.95f, 0.0f), withDrift) << "tempRange " << range;
    }
}

// Up to 9 percent the row of that number gives T, wherever v lies: moving
// g[8] moves row 9, which v = 1200 (on row 11) never reaches by search. In
// tempRange 4 the rows 7 to 9 are what an earlier frame left.
TEST_P(OldFrame, LowEmissivityTakesTheRowOfItsPercent) {
    auto result = [&](float g8, float emissivity, bool range4) {
        Camera cam(GetParam());
        Block b = oldBlock(2);
        b.with(field::grayCurve(8), g8);
        if (!range4) return cam.once(1200, b.info(), emissivity, 0.0f);
        cam.init(600, b.info(), emissivity, 0.0f);
        Block now = oldBlock(4);
        now.curve({100, 200, 300, 400, 500, 600, 700, 800});
        return cam.once(450, now.info(), emissivity, 0.0f);
    };
    for (bool range4 : {false, true}) {
        EXPECT_NE(result(500.0f, 0.09f, range4), result(600.0f, 0.09f, range4)) << range4;
        EXPECT_EQ(result(500.0f, 0.10f, range4), result(600.0f, 0.10f, range4)) << range4;
    }
}

// tempRange 5: the per-frame stage searches its ten rows, the per-pixel
// stage yields the value of T = 0.0 for every gray value.
TEST_P(OldFrame, Range5PerPixelIgnoresTheRows) {
    Camera cam(GetParam());
    Block b = oldBlock(5);
    b.curve({-600, -400, 0, 400, 800, 1200, 2000, 2800, 4400, 6000, 7600});
    const float low = cam.init(100, b.info(), 0.95f, 0.0f);
    const float high = cam.init(3000, b.info(), 0.95f, 0.0f);
    EXPECT_GT(high, low);
    EXPECT_EQ(cam.real(100, b.info(), 0.95f, 0.0f), cam.real(3000, b.info(), 0.95f, 0.0f));
}

// The word at 0x030 narrows the window only in tempRange 4, and only when
// the window is not fully open.
TEST_P(OldFrame, WindowTermOfRange4) {
    struct Case {
        int32_t range;
        int32_t windowTrans;
        bool wordMatters;
    };
    for (const Case c : {Case{4, 90, true}, Case{4, 100, false}, Case{2, 90, false}}) {
        Camera cam(GetParam());
        Block b = oldBlock(c.range);
        b.with(field::windowTrans, c.windowTrans).with(field::warmDiffLow, 0.02f);
        cam.init(600, b.info(), 0.95f, 0.0f);
        const float narrow = cam.real(600, b.info(), 0.95f, 0.0f);
        b.with(field::warmDiffLow, 0.0f);
        const float plain = cam.real(600, b.info(), 0.95f, 0.0f);
        EXPECT_EQ(narrow != plain, c.wordMatters) << "tempRange " << c.range << ", window " << c.windowTrans;
    }
}

INSTANTIATE_TEST_SUITE_P(CalTypes, OldFrame, ::testing::Values(12, 60));

}  // namespace
}  // namespace kalviro
