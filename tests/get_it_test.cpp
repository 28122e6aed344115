// GetITValue: a cubic at most in itDelta = tempCH5 / 100 - itRefTemp. One
// member for each form of a cell, checked against a value formed here in the
// stated precision and grouping.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "block_builder.hpp"
#include "kalviro.h"

namespace {

using kalviro::test::Block;
namespace field = kalviro::field;

enum class Form { Cubic, Linear, Zero, BlockCubic };

constexpr float kSlope = 0.75f;
constexpr float kExt[2] = {0.0021f, -0.037f};
constexpr float kGain[2] = {-0.0013f, 0.052f};

struct ItCase {
    const char* name;
    GetITFn fn;
    int32_t range;
    Form form;
    double c3 = 0.0, c2 = 0.0;  // of a block cubic: the block's own, as floats
    bool half = false;
    bool squareFirst = false;  // s + (square + cubic): 56 and 58 in tempRange 3
    int32_t tempCH5 = 3217;
    float itRefTemp = 25.5f;
};

Block blockFor(int32_t tempCH5, float itRefTemp, int32_t range) {
    Block b;
    b.with(field::tempCH5, tempCH5)
        .with(field::itRefTemp, itRefTemp)
        .with(field::itSlope, kSlope)
        .with(field::tempRange, range)
        .with(field::grayCurveExt(0), kExt[0])
        .with(field::grayCurveExt(1), kExt[1])
        .with(field::tempBinGain(10), kGain[0])
        .with(field::tempBinGain(11), kGain[1]);
    return b;
}

double expected(const ItCase& c) {
    const float x = static_cast<float>(static_cast<double>(c.tempCH5) / 100.0) - c.itRefTemp;
    const double xd = x;
    const double s = static_cast<double>(x * kSlope);
    const float a = static_cast<float>(c.c3), b = static_cast<float>(c.c2);
    double v = 0.0;
    switch (c.form) {
        case Form::Cubic:
            v = c.squareFirst ? s + (xd * (c.c2 * xd) + ((c.c3 * xd) * xd) * xd)
                              : (((c.c3 * xd) * xd) * xd + xd * (c.c2 * xd)) + s;
            break;
        case Form::Linear: v = s; break;
        case Form::Zero: v = 0.0; break;
        case Form::BlockCubic: v = static_cast<double>(x * kSlope + (((a * x) * x) * x + (b * x) * x)); break;
    }
    if (!c.half) return v;
    return v > 0 ? v + 0.5 : v - 0.5;
}

class GetITValue : public testing::TestWithParam<ItCase> {};

TEST_P(GetITValue, AsTheFormulaGroupsIt) {
    const ItCase& c = GetParam();
    Block b = blockFor(c.tempCH5, c.itRefTemp, c.range);
    const auto before = b.snapshot();
    const double got = c.fn(b.info());
    const double want = expected(c);
    EXPECT_EQ(std::memcmp(&got, &want, sizeof got), 0) << got << " vs " << want;
    EXPECT_EQ(b.snapshot(), before) << "the block is only read";
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Members, GetITValue, testing::Values(
    ItCase{"Cubic20Range2", GetITValue_20, 2, Form::Cubic, -0.000247, 0.032593},
    ItCase{"CubicWithHalf21Range3", GetITValue_21, 3, Form::Cubic, 7.8e-05, -0.008741, true},
    ItCase{"CubicWithHalfBelowRef92Range4", GetITValue_92, 4, Form::Cubic, 1.74e-05, -0.00204537, true, false,
           1850, 27.25f},
    ItCase{"SquareFirst56Range3", GetITValue_56, 3, Form::Cubic, -7.143e-05, 0.01144754, false, true},
    ItCase{"Linear25", GetITValue_25, 9, Form::Linear},
    ItCase{"Linear100Range3", GetITValue_100, 3, Form::Linear},
    ItCase{"Zero132Range2", GetITValue_132, 2, Form::Zero},
    ItCase{"Zero73", GetITValue_73, 4, Form::Zero},
    ItCase{"BlockCubic24FromGrayCurveExt", GetITValue_24, 4, Form::BlockCubic, kExt[0], kExt[1]},
    ItCase{"BlockCubic54FromTempBinGain", GetITValue_54, 9, Form::BlockCubic, kGain[0], kGain[1]}),
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
