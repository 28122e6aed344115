// GetITValue: a cubic at most in itDelta = tempCH5 / 100 - itRefTemp, with
// itSlope from the block. Values worked by hand for tempCH5 32.17, itRefTemp
// 25.5 (itDelta 6.66999817) and itSlope 0.75, one member for each form; the
// reference vectors replay the rest.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "block_builder.hpp"
#include "kalviro.h"

namespace {

using kalviro::test::Block;
namespace field = kalviro::field;

Block blockFor(int32_t tempCH5, float itRefTemp, int32_t range) {
    Block b;
    b.with(field::tempCH5, tempCH5)
        .with(field::itRefTemp, itRefTemp)
        .with(field::itSlope, 0.75f)
        .with(field::tempRange, range)
        .with(field::tempBinGain(10), -0.0013f)
        .with(field::tempBinGain(11), 0.052f);
    return b;
}

struct ItCase {
    const char* name;
    GetITFn fn;
    int32_t range;
    double want;
    int32_t tempCH5 = 3217;
    float itRefTemp = 25.5f;
};

class GetITValue : public testing::TestWithParam<ItCase> {};

TEST_P(GetITValue, WorkedByHand) {
    const ItCase& c = GetParam();
    Block b = blockFor(c.tempCH5, c.itRefTemp, c.range);
    const auto before = b.snapshot();
    EXPECT_EQ(c.fn(b.info()), c.want);
    EXPECT_EQ(b.snapshot(), before) << "the block is only read";
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Members, GetITValue, testing::Values(
    ItCase{"CubicWithHalf21Range3", GetITValue_21, 3, 5.1367671413709655},  // 4.63676714 + 0.5
    ItCase{"HalfAwayFromZero92Range4", GetITValue_92, 4, -7.2307552812499996, 1850, 27.25f},
    ItCase{"Linear100Range3", GetITValue_100, 3, 5.0024986267089844},  // itDelta * itSlope
    ItCase{"Zero132Range2", GetITValue_132, 2, 0.0},
    ItCase{"Cubic132Range3", GetITValue_132, 3, 5.1943683715730788},
    ItCase{"BlockCubicInFloat54", GetITValue_54, 9, 6.9301571846008301}),  // tempBinGain[10], [11]
    [](const testing::TestParamInfo<ItCase>& i) { return std::string(i.param.name); });
// clang-format on

// x = 0 makes v = 0, and 0 is not above 0: the members with the half give
// -0.5. In their undefined cell the half still goes onto whatever v holds.
TEST(GetITHalf, ZeroDeltaGivesMinusHalfAndUndefinedGetsItsHalf) {
    for (int32_t range : {2, 3, 4}) {
        Block b = blockFor(2500, 25.0f, range);
        EXPECT_EQ(GetITValue_21(b.info()), -0.5) << range;
        EXPECT_EQ(GetITValue_92(b.info()), -0.5) << range;
    }
    Block other = blockFor(3217, 25.5f, 9);
    EXPECT_FALSE(std::fabs(GetITValue_21(other.info())) < 0.5);
}

// The all-zero members read nothing: even a block of NaNs gives 0.0.
TEST(GetITZero, SeventyThreeIgnoresTheBlock) {
    Block nan;
    std::memset(nan.raw(), 0xff, 512);
    EXPECT_EQ(GetITValue_73(nan.info()), 0.0);
}

}  // namespace
