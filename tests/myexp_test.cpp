// myexp: the integer part by repeated multiplication with 2.718281, the
// fraction by the series to the ninth power. It jumps at whole arguments.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "kalviro.h"

namespace {

// The series of the fraction alone, summed in the stated order.
double series(double f) {
    const double f2 = f * f;
    const double f3 = f2 * f;
    const double f4 = f3 * f;
    const double f5 = f4 * f;
    const double f6 = f5 * f;
    const double f7 = f6 * f;
    const double f8 = f7 * f;
    const double f9 = f8 * f;
    return 1.0 + f + 0.5 * f2 + f3 / 6 + f4 / 24 + f5 / 120 + f6 / 720 + f7 / 5040 + f8 / 40320 + f9 / 362880;
}

constexpr double kBase = 2.718281;

struct ExpCase {
    const char* name;
    double x;
    double expected;
};

class MyExp : public testing::TestWithParam<ExpCase> {};

TEST_P(MyExp, Exactly) {
    const ExpCase& c = GetParam();
    EXPECT_EQ(myexp(c.x), c.expected) << "x = " << c.x;
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Points, MyExp, testing::Values(
    ExpCase{"Zero", 0.0, 1.0},
    ExpCase{"MinusZero", -0.0, 1.0},
    ExpCase{"One", 1.0, 2.718281},
    ExpCase{"MinusOne", -1.0, 1.0 / 2.718281},
    ExpCase{"Two", 2.0, kBase * kBase},
    ExpCase{"MinusTwo", -2.0, 1.0 / (kBase * kBase)},
    ExpCase{"MinusHalf", -0.5, series(-0.5)},
    ExpCase{"JustBelowOne", 0.999999, series(0.999999)},
    ExpCase{"TwoAndAHalf", 2.5, series(0.5) * (kBase * kBase)},
    ExpCase{"MinusOneAndAQuarter", -1.25, series(-0.25) * (1.0 / kBase)}),
    [](const testing::TestParamInfo<ExpCase>& i) { return std::string(i.param.name); });
// clang-format on

TEST(MyExp, IsNotTheLibraryExponential) {
    EXPECT_NE(myexp(-0.5), std::exp(-0.5));
    EXPECT_NE(myexp(1.0), std::exp(1.0));
}

// At a whole argument the power takes over from the series. The series'
// own e (2.7182815...) lies above the truncated base, so just below 1.0 the
// value is higher than at 1.0: the function drops by about half a millionth.
TEST(MyExp, DropsAtWholeArguments) {
    const double below = myexp(std::nextafter(1.0, 0.0));
    EXPECT_GT(below - myexp(1.0), 5e-7);
    EXPECT_LT(below - myexp(1.0), 6e-7);
    EXPECT_GT(myexp(std::nextafter(2.0, 0.0)), myexp(2.0));
}

// A huge exponent gives 0 or infinity, not a spin through billions of
// multiplications; NaN stays NaN.
TEST(MyExp, HugeAndNaNArguments) {
    EXPECT_EQ(myexp(-2.0e9), 0.0);
    EXPECT_EQ(myexp(-2147483000.0), 0.0);
    EXPECT_TRUE(std::isinf(myexp(2.0e9)));
    EXPECT_TRUE(std::isnan(myexp(std::numeric_limits<double>::quiet_NaN())));
}

}  // namespace
