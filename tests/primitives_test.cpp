// The small pieces everything rests on: integer conversion and wrapping
// arithmetic defined where C++ leaves them undefined, myexp, the emissivity
// factor and block words at any address.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "core/block.hpp"
#include "core/emissivity.hpp"
#include "core/numeric.hpp"
#include "kalviro.h"

namespace kalviro {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

struct ToIntCase {
    const char* name;
    double x;
    bool asFloat;  // converted from the float nearest x
    int32_t expected;
};

class ToInt : public testing::TestWithParam<ToIntCase> {};

TEST_P(ToInt, TruncatesOrGivesIntMin) {
    const ToIntCase& c = GetParam();
    EXPECT_EQ(c.asFloat ? toInt(static_cast<float>(c.x)) : toInt(c.x), c.expected);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Edges, ToInt, testing::Values(
    ToIntCase{"FloatLargestBelow2p31", 2147483520.0, true, 2147483520},
    ToIntCase{"Float2p31", 2147483648.0, true, INT32_MIN},
    ToIntCase{"FloatBelowMinus2p31", -2147483904.0, true, INT32_MIN},
    ToIntCase{"FloatNaN", kNaN, true, INT32_MIN},
    ToIntCase{"FloatInf", kInf, true, INT32_MIN},
    ToIntCase{"FloatTowardZero", -1.9, true, -1},
    ToIntCase{"DoubleJustBelow2p31", 2147483647.9, false, INT32_MAX},
    ToIntCase{"Double2p31", 2147483648.0, false, INT32_MIN},
    ToIntCase{"DoubleBelowMin", -2147483649.0, false, INT32_MIN},
    ToIntCase{"DoubleNaN", kNaN, false, INT32_MIN},
    ToIntCase{"DoubleMinusInf", -kInf, false, INT32_MIN},
    ToIntCase{"DoubleTowardZero", -2.5, false, -2}),
    [](const testing::TestParamInfo<ToIntCase>& i) { return std::string(i.param.name); });
// clang-format on

struct WrapCase {
    const char* name;
    int32_t (*op)(int32_t, int32_t);
    int32_t a, b, expected;
};

class Wrap : public testing::TestWithParam<WrapCase> {};

TEST_P(Wrap, AsOnA32BitMachine) { EXPECT_EQ(GetParam().op(GetParam().a, GetParam().b), GetParam().expected); }

// clang-format off
INSTANTIATE_TEST_SUITE_P(Edges, Wrap, testing::Values(
    WrapCase{"AddPastMax", wrapAdd, INT32_MAX, 1, INT32_MIN},
    WrapCase{"SubBelowMin", wrapSub, INT32_MIN, 1, INT32_MAX},
    WrapCase{"MulPastMax", wrapMul, 46341, 46341, -2147479015},
    WrapCase{"ShlIntoSign", [](int32_t a, int32_t n) { return wrapShl(a, n); }, 1, 31, INT32_MIN},
    WrapCase{"DivMinByMinusOne", wrapDiv, INT32_MIN, -1, INT32_MIN},
    WrapCase{"DivTowardZero", wrapDiv, -7, 2, -3}),
    [](const testing::TestParamInfo<WrapCase>& i) { return std::string(i.param.name); });
// clang-format on

// myexp: the integer part by repeated multiplication with 2.718281, the
// fraction by the series to the ninth power; the series values worked by hand.
struct ExpCase {
    const char* name;
    double x, expected;
};

class MyExp : public testing::TestWithParam<ExpCase> {};

TEST_P(MyExp, Exactly) { EXPECT_EQ(myexp(GetParam().x), GetParam().expected) << GetParam().x; }

// clang-format off
INSTANTIATE_TEST_SUITE_P(Points, MyExp, testing::Values(
    ExpCase{"Zero", 0.0, 1.0},
    ExpCase{"One", 1.0, 2.718281},
    ExpCase{"MinusOne", -1.0, 1.0 / 2.718281},
    ExpCase{"MinusHalf", -0.5, 0.6065306594552606},  // the series alone
    ExpCase{"MinusOneAndAQuarter", -1.25, 0.2865048841790631}),  // series(-0.25) * (1 / 2.718281)
    [](const testing::TestParamInfo<ExpCase>& i) { return std::string(i.param.name); });
// clang-format on

// The series' own e lies above the truncated base: just below a whole
// argument the value is higher than at it. A huge exponent gives 0 or
// infinity at once, not billions of multiplications; NaN stays NaN.
TEST(MyExp, DropsAtWholeArgumentsAndEndsOnHugeOnes) {
    EXPECT_GT(myexp(std::nextafter(1.0, 0.0)) - myexp(1.0), 5e-7);
    EXPECT_EQ(myexp(-2147483000.0), 0.0);
    EXPECT_TRUE(std::isinf(myexp(2.0e9)));
    EXPECT_TRUE(std::isnan(myexp(kNaN)));
}

// Esp_Table by index 100 - percent, the percent truncated from
// emissivity * 100 in float; 0, negative or above 100 hit the ends.
struct EspCase {
    const char* name;
    float emissivity;
    int32_t factor;
};

class EspIndex : public testing::TestWithParam<EspCase> {};

TEST_P(EspIndex, PercentTruncatedInFloat) { EXPECT_EQ(espFactor(GetParam().emissivity), GetParam().factor); }

// clang-format off
INSTANTIATE_TEST_SUITE_P(Rule, EspIndex, testing::Values(
    EspCase{"Zero", 0.0f, 5180},
    EspCase{"Negative", -0.2f, 5180},
    EspCase{"OnePercent", 0.01f, 5180},  // 0.01f * 100.0f rounds up to 1.0
    EspCase{"Unity", 1.0f, 1000},
    EspCase{"JustAbove", 1.005f, 1000},  // 100.5 truncates to 100
    EspCase{"WellAbove", 1.5f, 1000},
    EspCase{"P92", 0.92f, 1000},
    EspCase{"P91", 0.91f, 1006},
    EspCase{"P90", 0.90f, 1012}),  // 0.9f * 100.0f rounds up to 90.0; in double 89.99999762
    [](const testing::TestParamInfo<EspCase>& i) { return std::string(i.param.name); });
// clang-format on

TEST(EspTable, Ends) {
    EXPECT_EQ(Esp_Table[0], 1000);
    EXPECT_EQ(Esp_Table[99], 5180);
}

// The block of a frame whose size is not a multiple of 4 starts at an odd
// byte: words are little-endian and a write touches its four bytes only.
TEST(BlockWords, LittleEndianAtAnOddAddress) {
    std::array<uint8_t, 514> buffer;
    buffer.fill(0xee);
    uint8_t* b = buffer.data() + 1;
    set(b, field::tempCH1, 0x12345678);
    const uint8_t written[6] = {0xee, 0x78, 0x56, 0x34, 0x12, 0xee};
    EXPECT_EQ(std::memcmp(b + 0x0db, written, 6), 0);
    EXPECT_EQ(get(b, field::tempCH1), 0x12345678);
    const uint8_t onePointFive[4] = {0x00, 0x00, 0xc0, 0x3f};
    std::memcpy(b + 0x128, onePointFive, 4);
    EXPECT_EQ(get(b, field::warmShift), 1.5f);
}

}  // namespace
}  // namespace kalviro
