// Conversions and wrapping integer arithmetic: defined answers where C++
// leaves them undefined, the same on every host.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "core/numeric.hpp"

namespace kalviro {
namespace {

struct FloatCase {
    const char* name;
    float x;
    int32_t expected;
};

class ToIntFloat : public testing::TestWithParam<FloatCase> {};

TEST_P(ToIntFloat, TruncatesOrGivesIntMin) { EXPECT_EQ(toInt(GetParam().x), GetParam().expected); }

constexpr float kNaNf = std::numeric_limits<float>::quiet_NaN();
constexpr float kInff = std::numeric_limits<float>::infinity();

// clang-format off
INSTANTIATE_TEST_SUITE_P(Edges, ToIntFloat, testing::Values(
    FloatCase{"LargestBelow2p31", 2147483520.0f, 2147483520},
    FloatCase{"Exactly2p31", 2147483648.0f, INT32_MIN},
    FloatCase{"MinusExactly2p31", -2147483648.0f, INT32_MIN},
    FloatCase{"SmallestAboveMinus2p31", -2147483520.0f, -2147483520},
    FloatCase{"BelowMinus2p31", -2147483904.0f, INT32_MIN},
    FloatCase{"NaN", kNaNf, INT32_MIN},
    FloatCase{"PlusInf", kInff, INT32_MIN},
    FloatCase{"MinusInf", -kInff, INT32_MIN},
    FloatCase{"NegativeTowardZero", -1.9f, -1},
    FloatCase{"MinusHalf", -0.5f, 0},
    FloatCase{"JustBelowOne", 0.99999994f, 0},
    FloatCase{"MinusHundredsFraction", -2.64f, -2}),
    [](const testing::TestParamInfo<FloatCase>& i) { return std::string(i.param.name); });
// clang-format on

struct DoubleCase {
    const char* name;
    double x;
    int32_t expected;
};

class ToIntDouble : public testing::TestWithParam<DoubleCase> {};

TEST_P(ToIntDouble, TruncatesOrGivesIntMin) { EXPECT_EQ(toInt(GetParam().x), GetParam().expected); }

// clang-format off
INSTANTIATE_TEST_SUITE_P(Edges, ToIntDouble, testing::Values(
    DoubleCase{"JustBelow2p31", 2147483647.9, INT32_MAX},
    DoubleCase{"Exactly2p31", 2147483648.0, INT32_MIN},
    DoubleCase{"MinusFractionAboveMin", -2147483647.5, -2147483647},
    DoubleCase{"FractionBelowMinTruncatesIn", -2147483648.5, INT32_MIN},
    DoubleCase{"BelowMin", -2147483649.0, INT32_MIN},
    DoubleCase{"NaN", std::numeric_limits<double>::quiet_NaN(), INT32_MIN},
    DoubleCase{"PlusInf", std::numeric_limits<double>::infinity(), INT32_MIN},
    DoubleCase{"MinusInf", -std::numeric_limits<double>::infinity(), INT32_MIN},
    DoubleCase{"NegativeTowardZero", -2.5, -2},
    DoubleCase{"TinyNegative", -1e-300, 0}),
    [](const testing::TestParamInfo<DoubleCase>& i) { return std::string(i.param.name); });
// clang-format on

enum class Op { Add, Sub, Mul, Shl, Div };

struct WrapCase {
    const char* name;
    Op op;
    int32_t a;
    int32_t b;
    int32_t expected;
};

class Wrap : public testing::TestWithParam<WrapCase> {};

TEST_P(Wrap, AsOnA32BitMachine) {
    const WrapCase& c = GetParam();
    int32_t r = 0;
    switch (c.op) {
        case Op::Add: r = wrapAdd(c.a, c.b); break;
        case Op::Sub: r = wrapSub(c.a, c.b); break;
        case Op::Mul: r = wrapMul(c.a, c.b); break;
        case Op::Shl: r = wrapShl(c.a, c.b); break;
        case Op::Div: r = wrapDiv(c.a, c.b); break;
    }
    EXPECT_EQ(r, c.expected);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Edges, Wrap, testing::Values(
    WrapCase{"AddPastMax", Op::Add, INT32_MAX, 1, INT32_MIN},
    WrapCase{"AddBelowMin", Op::Add, INT32_MIN, -1, INT32_MAX},
    WrapCase{"SubBelowMin", Op::Sub, INT32_MIN, 1, INT32_MAX},
    WrapCase{"SubMinFromZero", Op::Sub, 0, INT32_MIN, INT32_MIN},
    WrapCase{"MulFullCircle", Op::Mul, 65536, 65536, 0},
    WrapCase{"MulPastMax", Op::Mul, 46341, 46341, -2147479015},
    WrapCase{"MulNegative", Op::Mul, -65536, 40000, 1673527296},
    WrapCase{"ShlIntoSign", Op::Shl, 1, 31, INT32_MIN},
    WrapCase{"ShlNegative", Op::Shl, -1, 4, -16},
    WrapCase{"ShlOutOfTop", Op::Shl, 0x40000001, 2, 4},
    WrapCase{"DivMinByMinusOne", Op::Div, INT32_MIN, -1, INT32_MIN},
    WrapCase{"DivTowardZero", Op::Div, -7, 2, -3},
    WrapCase{"DivNegativeDivisor", Op::Div, 7, -2, -3},
    WrapCase{"DivByMinusOne", Op::Div, 5, -1, -5}),
    [](const testing::TestParamInfo<WrapCase>& i) { return std::string(i.param.name); });
// clang-format on

}  // namespace
}  // namespace kalviro
