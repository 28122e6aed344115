// KALVIRO_Temp2Gray against forward functions of known shape: fixed-slope
// steps on the caller's scale until the target is bracketed, then bisection;
// a hit is within 20 hundredths.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "block_builder.hpp"
#include "kalviro.h"

namespace {

using Model = int32_t (*)(int32_t gray);  // hundredths of a degree

Model gModel = nullptr;
std::vector<int32_t> gSeen;
std::vector<float> gDistances;
std::vector<float> gEmissivities;
std::vector<const TempFrameInfo*> gBlocks;

// Degrees whose reading (int)(x * 100.0f) is exactly v: half a hundredth
// away from zero keeps the truncation on v.
float degreesOf(int32_t v) { return static_cast<float>((v + (v >= 0 ? 0.5 : -0.5)) / 100.0); }

float forward(int32_t gray, TempFrameInfo* block, float emissivity, float distance) {
    gSeen.push_back(gray);
    gDistances.push_back(distance);
    gEmissivities.push_back(emissivity);
    gBlocks.push_back(block);
    return degreesOf(gModel(gray));
}

int32_t identity(int32_t g) { return g; }
int32_t plus20(int32_t g) { return g + 20; }
int32_t minus20(int32_t g) { return g - 20; }
int32_t plus21(int32_t g) { return g + 21; }
int32_t minus21(int32_t g) { return g - 21; }
int32_t steep(int32_t g) { return 1000 * g; }
int32_t thrice(int32_t g) { return 3 * g; }
int32_t jumpAt500(int32_t g) { return g < 500 ? g : g + 1000; }
int32_t flat(int32_t g) { return g / 1000; }

struct SearchCase {
    const char* name;
    Model model;
    int32_t tempMin, tempMax, grayMin, grayMax, target;
    int32_t gray;
    size_t calls;
};

class Temp2Gray : public testing::TestWithParam<SearchCase> {
protected:
    void SetUp() override {
        gSeen.clear();
        gDistances.clear();
        gEmissivities.clear();
        gBlocks.clear();
    }
};

TEST_P(Temp2Gray, FindsOrStops) {
    const SearchCase& c = GetParam();
    gModel = c.model;
    kalviro::test::Block b;
    const int32_t g = KALVIRO_Temp2Gray(forward, b.info(), c.tempMin, c.tempMax, c.grayMin, c.grayMax, c.target, 0.37f);
    EXPECT_EQ(g, c.gray);
    EXPECT_EQ(gSeen.size(), c.calls);
    for (size_t i = 0; i < gSeen.size(); ++i) {
        EXPECT_EQ(gDistances[i], 0.0f);
        EXPECT_FALSE(std::signbit(gDistances[i]));
        EXPECT_EQ(gEmissivities[i], 0.37f);
        EXPECT_EQ(gBlocks[i], b.info());
    }
}

// Scales: 0..9999 gray on 0..99 degrees is one gray count per hundredth.
// clang-format off
INSTANTIATE_TEST_SUITE_P(Searches, Temp2Gray, testing::Values(
    SearchCase{"FirstEstimateHits", identity, 0, 9900, 0, 9999, 4321, 4321, 1},
    SearchCase{"TwentyAboveHits", plus20, 0, 9900, 0, 9999, 4321, 4321, 1},
    SearchCase{"TwentyBelowHits", minus20, 0, 9900, 0, 9999, 4321, 4321, 1},
    SearchCase{"TwentyOneAboveSteps", plus21, 0, 9900, 0, 9999, 4321, 4300, 2},
    SearchCase{"TwentyOneBelowSteps", minus21, 0, 9900, 0, 9999, 4321, 4342, 2},
    SearchCase{"OffTheScaleNotClamped", identity, 0, 9900, 0, 9999, 20000, 20000, 1},
    // 50 hundredths short, but 50 * 10 / 10000 is 0: the same gray 101 times.
    SearchCase{"StepTruncatesToZero", steep, 0, 9900, 0, 9, 5050, 5, 101},
    // Overshoot both ways, then bisection; 1007 reads 21 above, 995 hits.
    SearchCase{"BisectionHits", thrice, 0, 9900, 0, 9999, 3000, 995, 11},
    // The same mirrored: midpoints truncate towards zero (-937, -1007, -995).
    SearchCase{"NegativeTargetAndGrays", thrice, -2000, 1900, -1000, 999, -3000, -995, 8},
    // The target lies in the jump: bisection closes on 499 | 500 and repeats
    // 499 until its 100 rounds are used up.
    SearchCase{"JumpOverTheBand", jumpAt500, 0, 9900, 0, 9999, 900, 499, 102},
    // 40000 * 65536 wraps to -1673527296: the first estimate is -25536, and
    // the step 65536 * 65536 wraps to 0.
    SearchCase{"ProductWrapsAt32Bits", identity, 0, 65436, 0, 65535, 40000, -25536, 101},
    SearchCase{"TempWidthZero", identity, 100, 0, 77, 9999, 50, 77, 0}),
    [](const testing::TestParamInfo<SearchCase>& i) { return std::string(i.param.name); });
// clang-format on

TEST(Temp2GrayTrace, SameMidpointRepeatedWhenNeighboursNeverHit) {
    gSeen.clear();
    gModel = jumpAt500;
    kalviro::test::Block b;
    KALVIRO_Temp2Gray(forward, b.info(), 0, 9900, 0, 9999, 900, 1.0f);
    ASSERT_EQ(gSeen.size(), 102u);
    EXPECT_EQ(gSeen[0], 900);
    EXPECT_EQ(gSeen[1], -100);
    for (size_t i = 30; i < gSeen.size(); ++i) EXPECT_EQ(gSeen[i], 499) << i;
}

// 101 rounds that never bracket: the result is where the last step lands,
// a gray value never evaluated.
TEST(Temp2GrayTrace, UnbracketedReturnsTheLastStepUnevaluated) {
    gSeen.clear();
    gModel = flat;
    kalviro::test::Block b;
    const int32_t g = KALVIRO_Temp2Gray(forward, b.info(), 0, 9900, 0, 9999, 5000, 1.0f);
    ASSERT_EQ(gSeen.size(), 101u);
    const int32_t last = gSeen.back();
    EXPECT_EQ(g, last + (5000 - flat(last)));
    for (int32_t seen : gSeen) EXPECT_NE(seen, g);
}

TEST(Temp2GrayTrace, NullFunctionGivesGrayMin) {
    kalviro::test::Block b;
    EXPECT_EQ(KALVIRO_Temp2Gray(nullptr, b.info(), 0, 9900, 123, 9999, 5000, 1.0f), 123);
}

}  // namespace
