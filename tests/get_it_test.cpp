// GetITValue: a cubic at most in itDelta = tempCH5 / 100 - itRefTemp. The
// members' table is written out here as the camera's documentation gives
// it, and every cell is checked against a value formed in the stated
// precision and grouping.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "block_builder.hpp"
#include "kalviro.h"

namespace {

using kalviro::test::Block;
namespace field = kalviro::field;

enum class Form { Cubic, Linear, Zero, ExtCubic, GainCubic, Undefined };

struct Cell {
    Form form;
    double c3 = 0.0;
    double c2 = 0.0;
};

Cell cubic(double c3, double c2) { return {Form::Cubic, c3, c2}; }
const Cell linear{Form::Linear};
const Cell zero{Form::Zero};
const Cell ext{Form::ExtCubic};
const Cell gain{Form::GainCubic};
const Cell undefined{Form::Undefined};

struct Member {
    std::vector<int32_t> calTypes;
    Cell cells[4];  // tempRange 2, 3, 4, any other
    bool half;
};

const std::vector<Member>& members() {
    static const std::vector<Member> all = {
        {{20}, {cubic(-0.000247, 0.032593), cubic(-7.8e-05, 0.007937), zero, zero}, false},
        {{21, 90, 91, 93, 94, 95},
         {cubic(0.000195, -0.032352), cubic(7.8e-05, -0.008741), cubic(1.74e-05, -0.00204537), undefined},
         true},
        {{23}, {cubic(0.000195, -0.032352), cubic(3.9e-05, -0.002728), zero, zero}, false},
        {{24, 26}, {ext, ext, ext, ext}, false},
        {{25}, {linear, linear, linear, linear}, false},
        {{27, 100}, {cubic(9.0824e-06, -0.00495584), linear, zero, zero}, false},
        {{50, 51, 52},
         {cubic(-7.043e-05, 0.016577), cubic(-7.043e-05, 0.016577), cubic(-7.043e-05, 0.016577),
          cubic(-7.043e-05, 0.016577)},
         false},
        {{54, 110, 111}, {gain, gain, gain, gain}, false},
        {{55, 120, 121},
         {cubic(0.000158, -0.013827), cubic(0.000158, -0.013827), cubic(0.000158, -0.013827),
          cubic(0.000158, -0.013827)},
         false},
        {{56}, {cubic(-0.000154814928402905, 0.0142839200977729), cubic(-7.143e-05, 0.01144754), undefined, undefined},
         false},
        {{57, 70, 71, 72},
         {cubic(-0.00012474874, 0.018076006), cubic(-0.000115632147072285, 0.0098193120104784),
          cubic(-2.40477091530815e-05, 0.00370262882507424), undefined},
         false},
        {{58},
         {cubic(-0.00012474874, 0.018076006), cubic(-0.000115632147072285, 0.0098193120104784), undefined,
          undefined},
         false},
        {{73, 74, 75, 76, 77, 78, 85, 96, 133, 135, 136, 137, 138, 140}, {zero, zero, zero, zero}, false},
        {{80, 81, 82, 84},
         {cubic(-0.000247, 0.032593), cubic(-7.8e-05, 0.007937),
          cubic(-1.59414104045404e-05, 0.00557585827760067), zero},
         false},
        {{83},
         {cubic(-0.000139, 0.027305), cubic(-4.77e-05, 0.0077567),
          cubic(-1.59414104045404e-05, 0.00557585827760067), zero},
         false},
        {{92},
         {cubic(-0.000165134032818593, 0.017486549741088), cubic(-0.000214798683494655, 0.0166190755950175),
          cubic(1.74e-05, -0.00204537), undefined},
         true},
        {{101}, {cubic(1.14657276919182e-05, -0.00455412709886126), linear, zero, zero}, false},
        {{102},
         {cubic(1.14657276919182e-05, -0.00455412709886126), cubic(-5.74207046981574e-06, -0.00464684156067616),
          zero, zero},
         false},
        {{130, 131},
         {cubic(-7.2304925114637e-05, 0.0168355161825247), cubic(-3.90677583686755e-05, 0.00457333967049565),
          cubic(-3.90677583686755e-05, 0.00457333967049565), undefined},
         false},
        {{132, 134},
         {zero, cubic(-3.90677583686755e-05, 0.00457333967049565), cubic(-3.90677583686755e-05, 0.00457333967049565),
          undefined},
         false},
    };
    return all;
}

struct Exported {
    int32_t calType;
    GetITFn fn;
};

#define KALVIRO_GETIT_ROW(nn, layout, hasIT, converts) KALVIRO_IF(hasIT, Exported{nn, GetITValue_##nn},)
const std::vector<Exported> kExported = {KALVIRO_CALTYPES(KALVIRO_GETIT_ROW)};
#undef KALVIRO_GETIT_ROW

struct Inputs {
    int32_t tempCH5;
    float itRefTemp;
    float itSlope;
};

// itDelta above, below and exactly at the reference, and one without the
// linear term.
const Inputs kInputs[] = {{3217, 25.5f, 0.75f}, {1850, 27.25f, 1.3f}, {2500, 25.0f, 2.0f}, {4123, 22.0f, 0.0f},
                          {-733, 31.0f, -0.4f}};

constexpr float kExt[2] = {0.0021f, -0.037f};
constexpr float kGain[2] = {-0.0013f, 0.052f};

Block blockFor(const Inputs& in, int32_t range) {
    Block b;
    b.with(field::tempCH5, in.tempCH5)
        .with(field::itRefTemp, in.itRefTemp)
        .with(field::itSlope, in.itSlope)
        .with(field::tempRange, range)
        .with(field::grayCurveExt(0), kExt[0])
        .with(field::grayCurveExt(1), kExt[1])
        .with(field::tempBinGain(10), kGain[0])
        .with(field::tempBinGain(11), kGain[1]);
    return b;
}

// The value as the text forms it.
double expected(const Cell& cell, bool half, bool sFirst, const Inputs& in) {
    const float t = static_cast<float>(static_cast<double>(in.tempCH5) / 100.0);
    const float x = t - in.itRefTemp;
    const double xd = x;
    const double s = static_cast<double>(x * in.itSlope);
    double v = 0.0;
    switch (cell.form) {
        case Form::Cubic:
            v = sFirst ? s + (xd * (cell.c2 * xd) + ((cell.c3 * xd) * xd) * xd)
                       : (((cell.c3 * xd) * xd) * xd + xd * (cell.c2 * xd)) + s;
            break;
        case Form::Linear: v = s; break;
        case Form::Zero: v = 0.0; break;
        case Form::ExtCubic:
            v = static_cast<double>(x * in.itSlope + (((kExt[0] * x) * x) * x + (kExt[1] * x) * x));
            break;
        case Form::GainCubic:
            v = static_cast<double>(x * in.itSlope + (((kGain[0] * x) * x) * x + (kGain[1] * x) * x));
            break;
        case Form::Undefined: break;
    }
    if (!half) return v;
    return v > 0 ? v + 0.5 : v - 0.5;
}

const Member* memberOf(int32_t calType) {
    for (const Member& m : members()) {
        for (int32_t c : m.calTypes) {
            if (c == calType) return &m;
        }
    }
    return nullptr;
}

class GetITValue : public testing::TestWithParam<Exported> {};

TEST_P(GetITValue, EveryRangeAsWritten) {
    const Exported& e = GetParam();
    const Member* m = memberOf(e.calType);
    ASSERT_NE(m, nullptr) << "every CalType with a GetITValue has a row";
    const int32_t ranges[] = {2, 3, 4, 9};
    for (int column = 0; column < 4; ++column) {
        const Cell& cell = m->cells[column];
        if (cell.form == Form::Undefined) continue;  // no defined value
        const int32_t range = ranges[column];
        const bool sFirst = range == 3 && (e.calType == 56 || e.calType == 58);
        for (const Inputs& in : kInputs) {
            Block b = blockFor(in, range);
            const auto before = b.snapshot();
            const double want = expected(cell, m->half, sFirst, in);
            const double got = e.fn(b.info());
            EXPECT_EQ(std::memcmp(&got, &want, sizeof got), 0)
                << "tempRange " << range << ", tempCH5 " << in.tempCH5 << ": " << got << " vs " << want;
            if (KALVIRO_IsAlgSurport(e.calType)) {
                EXPECT_EQ(KALVIRO_GetIT(e.calType, b.info()), got);
            }
            EXPECT_EQ(b.snapshot(), before) << "the block is only read";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Members, GetITValue, testing::ValuesIn(kExported),
                         [](const testing::TestParamInfo<Exported>& i) {
                             return std::to_string(i.param.calType);
                         });

TEST(GetITTable, FiftyFourMembers) {
    size_t listed = 0;
    for (const Member& m : members()) listed += m.calTypes.size();
    EXPECT_EQ(listed, 54u);
    EXPECT_EQ(kExported.size(), 54u);
}

const GetITFn kHalfMembers[] = {GetITValue_21, GetITValue_90, GetITValue_91, GetITValue_92,
                                GetITValue_93, GetITValue_94, GetITValue_95};

class HalfAwayFromZero : public testing::TestWithParam<GetITFn> {};

// x = 0 makes v = 0 in every form, and 0 is not above 0: -0.5.
TEST_P(HalfAwayFromZero, ZeroDeltaGivesMinusHalf) {
    for (int32_t range : {2, 3, 4}) {
        Block b = blockFor({2500, 25.0f, 3.0f}, range);
        EXPECT_EQ(GetParam()(b.info()), -0.5) << range;
    }
}

// The half is added to the double and no truncation follows.
TEST_P(HalfAwayFromZero, KeepsTheFraction) {
    Block up = blockFor({2000, 10.0f, 1.0f}, 2);  // x = 10: v is a fraction above 0 in both rows
    const double v = GetParam()(up.info());
    EXPECT_NE(v, std::floor(v));
    Block down = blockFor({1000, 20.0f, 1.0f}, 2);  // x = -10
    EXPECT_LT(GetParam()(down.info()), -0.5);
}

INSTANTIATE_TEST_SUITE_P(Seven, HalfAwayFromZero, testing::ValuesIn(kHalfMembers));

// 132 has coefficients in tempRange 3 and 4 but none in 2: 0.0 although
// itSlope is not 0.
TEST(GetITCells, Range2Of132IsZero) {
    Block b = blockFor({3217, 25.5f, 0.75f}, 2);
    EXPECT_EQ(GetITValue_132(b.info()), 0.0);
    b.with(field::tempRange, 3);
    EXPECT_NE(GetITValue_132(b.info()), 0.0);
}

// 100 in tempRange 3: itDelta * itSlope and nothing else.
TEST(GetITCells, Range3Of100IsLinear) {
    Block b = blockFor({3217, 25.5f, 0.75f}, 3);
    const float x = static_cast<float>(32.17) - 25.5f;
    EXPECT_EQ(GetITValue_100(b.info()), static_cast<double>(x * 0.75f));
}

// The all-zero members read nothing: even a block of NaNs gives 0.0.
TEST(GetITCells, SeventyThreeIsZeroForEveryBlock) {
    Block nan;
    std::memset(nan.raw(), 0xff, 512);
    EXPECT_EQ(GetITValue_73(nan.info()), 0.0);
    for (const Inputs& in : kInputs) {
        for (int32_t range : {2, 3, 4, 5, -1}) {
            Block b = blockFor(in, range);
            EXPECT_EQ(GetITValue_73(b.info()), 0.0);
        }
    }
}

}  // namespace
