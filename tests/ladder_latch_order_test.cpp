// The first-frame state of the ladder stages, run frame by frame on one
// camera: 136's one flag and its two latches, and the warm-up limits that
// 111 keeps from its first frame.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "block_builder.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;
using test::stateOf;

// 136 with N = 40 drift counts (tempCH5 40 hundredths above shutterCH5,
// shutterLin 100): range 2 scales N by LE on w1, range 3 by LG on w2, range
// 4 not at all. Gains 1, so LE's first rows are 1.0 + literal.
struct LatchFrame {
    int32_t range, tempCH1, flag;
    float w1, w2, constD;
};

struct LatchRun {
    const char* name;
    std::vector<LatchFrame> frames;
};

class Latch136 : public ::testing::TestWithParam<LatchRun> {};

TEST_P(Latch136, OneFlagForBothLatches) {
    Camera cam(136);
    int n = 0;
    for (const LatchFrame& f : GetParam().frames) {
        Block b = test::quietBlock();
        b.curve({-2400, -2050, -1700, -1250, -900, -500, 450, 1200, 2300, 3500, 4800, 6200});
        b.with(field::shutterCH5, 25.0f).with(field::tempCH5, 2540).with(field::shutterLin, 100.0f);
        b.with(field::tempRange, f.range).with(field::tempCH1, f.tempCH1);
        cam.init(1000, b.info(), 1.0f, 0.0f);
        const CalState& st = stateOf(cam);
        ++n;
        EXPECT_EQ(st.flag, f.flag) << "frame " << n;
        EXPECT_EQ(st.w1, f.w1) << "frame " << n;
        EXPECT_EQ(st.w2, f.w2) << "frame " << n;
        EXPECT_EQ(st.const_d, f.constD) << "frame " << n;
    }
}

INSTANTIATE_TEST_SUITE_P(Runs, Latch136,
                         ::testing::Values(
                             // Range 4 holds no latch; range 2 then latches w1 = 28, (25, 30]: 1.075;
                             // range 3 finds the flag cleared and w2 = 0.0 in (-5, 0]: 0.65, not
                             // 1.1 of 40 degrees; w1 keeps 28 when T1 falls to 10.
                             LatchRun{"RangeFourFirst",
                                      {{4, 3500, 1, 0.0f, 0.0f, 40.0f},
                                       {2, 2800, 0, 28.0f, 0.0f, 43.0f},
                                       {3, 4000, 0, 28.0f, 0.0f, 26.0f},
                                       {2, 1000, 0, 28.0f, 0.0f, 43.0f}}},
                             // Range 3 first: w2 = 40, (35, 40]: 1.1; range 2 then reads w1 = 0.0,
                             // (-5, 0]: 1.0 + 0.7.
                             LatchRun{"RangeThreeFirst",
                                      {{3, 4000, 0, 0.0f, 40.0f, 44.0f}, {2, 2800, 0, 0.0f, 40.0f, 68.0f}}}),
                         [](const auto& p) { return std::string(p.param.name); });

// 111 on a curve with gc[4] = 300 (M = 100), warmDivisor 25, upTime 600
// unless given: range 2 publishes D = xd / 25.
struct LimitFrame {
    int32_t range, lensType, upTime, w;  // w: dW in hundredths
    float low, high;                     // warmDiffLow, warmDiffHigh of the block
    float dT, dCH5, shift;               // the limits kept, and warmShift written
};

struct LimitRun {
    const char* name;
    std::vector<LimitFrame> frames;
};

class Limits111 : public ::testing::TestWithParam<LimitRun> {};

TEST_P(Limits111, FirstFrameKeepsTheLimits) {
    Camera cam(111);
    int n = 0;
    for (const LimitFrame& f : GetParam().frames) {
        Block b = test::lensBlock(111, f.upTime, f.w, f.low, f.high);
        b.with(field::tempRange, f.range).with(field::lensType, f.lensType);
        cam.init(1000, b.info(), 1.0f, 0.0f);
        const CalState& st = stateOf(cam);
        ++n;
        EXPECT_EQ(st.init_flag, 1) << "frame " << n;
        EXPECT_EQ(st.dT, f.dT) << "frame " << n;
        EXPECT_EQ(st.dCH5, f.dCH5) << "frame " << n;
        EXPECT_EQ(b.read(field::warmShift), f.shift) << "frame " << n;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Runs, Limits111,
    ::testing::Values(
        // Lens 1 first: limits 2 and 6, dW 4 halfway: xd 50. Later limits 1
        // and 3 change nothing.
        LimitRun{"LensOneFirst", {{2, 1, 600, 400, 2, 6, 2, 6, 2.0f}, {2, 1, 600, 400, 1, 3, 2, 6, 2.0f}}},
        // Lens 2 first: no shift, and the limits stay 0.0 for good: dW 4 above
        // them gives 0, dW -1 the whole M.
        LimitRun{"LensTwoFirst",
                 {{2, 2, 600, 400, 2, 6, 0, 0, 0.0f},
                  {2, 1, 600, 400, 2, 6, 0, 0, 0.0f},
                  {2, 1, 600, -100, 2, 6, 0, 0, 4.0f}}},
        // Range 3 first: only range 2 takes the limits.
        LimitRun{"RangeThreeFirst",
                 {{3, 1, 600, 400, 2, 6, 0, 0, 0.0f}, {2, 1, 600, 400, 2, 6, 0, 0, 0.0f}}}),
    [](const auto& p) { return std::string(p.param.name); });

}  // namespace
}  // namespace kalviro
