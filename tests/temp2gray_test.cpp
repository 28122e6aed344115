// KALVIRO_Temp2Gray against forward functions of known shape: fixed-slope
// steps on the caller's scale until the target is bracketed, then bisection;
// a hit is within 20 hundredths.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "block_builder.hpp"
#include "kalviro.h"

namespace {

using Model = int32_t (*)(int32_t gray);  // hundredths of a degree

Model gModel = nullptr;
const TempFrameInfo* gBlock = nullptr;
size_t gCalls = 0;

// Degrees whose reading (int)(x * 100.0f) is exactly the model's value: half
// a hundredth away from zero keeps the truncation on it. Every call gets the
// caller's block and emissivity, and distance +0.0.
float forward(int32_t gray, TempFrameInfo* block, float emissivity, float distance) {
    ++gCalls;
    EXPECT_EQ(block, gBlock);
    EXPECT_EQ(emissivity, 0.37f);
    EXPECT_EQ(distance, 0.0f);
    EXPECT_FALSE(std::signbit(distance));
    const int32_t v = gModel(gray);
    return static_cast<float>((v + (v >= 0 ? 0.5 : -0.5)) / 100.0);
}

struct SearchCase {
    const char* name;
    Model model;  // null: no forward function at all
    int32_t tempMin, tempMax, grayMin, grayMax, target;
    int32_t gray;
    size_t calls;
};

class Temp2Gray : public testing::TestWithParam<SearchCase> {};

TEST_P(Temp2Gray, FindsOrStops) {
    const SearchCase& c = GetParam();
    kalviro::test::Block b;
    gModel = c.model;
    gBlock = b.info();
    gCalls = 0;
    EXPECT_EQ(KALVIRO_Temp2Gray(c.model ? forward : nullptr, b.info(), c.tempMin, c.tempMax, c.grayMin,
                                c.grayMax, c.target, 0.37f),
              c.gray);
    EXPECT_EQ(gCalls, c.calls);
}

// Scales: 0..9999 gray on 0..99 degrees is one gray count per hundredth.
// clang-format off
INSTANTIATE_TEST_SUITE_P(Searches, Temp2Gray, testing::Values(
    SearchCase{"FirstEstimateHits", [](int32_t g) { return g; }, 0, 9900, 0, 9999, 4321, 4321, 1},
    SearchCase{"TwentyAboveHits", [](int32_t g) { return g + 20; }, 0, 9900, 0, 9999, 4321, 4321, 1},
    SearchCase{"TwentyBelowHits", [](int32_t g) { return g - 20; }, 0, 9900, 0, 9999, 4321, 4321, 1},
    SearchCase{"TwentyOneAboveSteps", [](int32_t g) { return g + 21; }, 0, 9900, 0, 9999, 4321, 4300, 2},
    SearchCase{"TwentyOneBelowSteps", [](int32_t g) { return g - 21; }, 0, 9900, 0, 9999, 4321, 4342, 2},
    // 50 hundredths short, but 50 * 10 / 10000 is 0: the same gray 101 times.
    SearchCase{"StepTruncatesToZero", [](int32_t g) { return 1000 * g; }, 0, 9900, 0, 9, 5050, 5, 101},
    // The target lies in the jump: bisection closes on 499 | 500, whose
    // neighbours never hit, and repeats 499 until its 100 rounds are used up.
    SearchCase{"JumpOverTheBand", [](int32_t g) { return g < 500 ? g : g + 1000; },
               0, 9900, 0, 9999, 900, 499, 102},
    // Overshoot both ways, then bisection; midpoints truncate towards zero
    // (-937, -1007, -995).
    SearchCase{"NegativeTargetAndGrays", [](int32_t g) { return 3 * g; },
               -2000, 1900, -1000, 999, -3000, -995, 8},
    // 40000 * 65536 wraps to -1673527296: the first estimate is -25536, and
    // the step 65536 * 65536 wraps to 0.
    SearchCase{"ProductWrapsAt32Bits", [](int32_t g) { return g; }, 0, 65436, 0, 65535, 40000, -25536, 101},
    SearchCase{"TempWidthZero", [](int32_t g) { return g; }, 100, 0, 77, 9999, 50, 77, 0},
    SearchCase{"NullFunctionGivesGrayMin", nullptr, 0, 9900, 123, 9999, 5000, 123, 0}),
    [](const testing::TestParamInfo<SearchCase>& i) { return std::string(i.param.name); });
// clang-format on

}  // namespace
