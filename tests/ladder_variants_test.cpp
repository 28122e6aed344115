// Where the variants of the 81 stage part from it: 101's drift clock, 83's
// warm-up band, 71's fall-through weight, 95's longer clock, the const_b that
// 130 stores but does not subtract and the one 92 adds.
#include <gtest/gtest.h>

#include <vector>

#include "block_builder.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;
using test::stateOf;

enum class Read { Shift, ConstB, ConstD };

struct VariantCase {
    const char* note;
    int calType;
    Block (*make)(int32_t p);
    int32_t p;
    Read read;
    float want;
};

const std::initializer_list<float> kCurve3 = {-1000, -600, 400, 1500, 2700, 4000, 6800, 9900};

// tempCH5 one degree above shutterCH5: N = 3; bg[4] 1.5.
Block drift101(int32_t upTime) {
    Block b = test::quietBlock();
    b.curve({-1600, -1000, -400, 400, 1100, 2100, 3100, 4700, 6300, 7900, 9500, 11700});
    b.with(field::tempCH5, 2600).with(field::shutterCH5, 25.0f).with(field::shutterLin, 3.0f);
    return b.with(field::tempBinGain(4), 1.5f).with(field::upTime, upTime);
}

// A = (-600 + 1000) * 0.5 / 25 = 8 below warmDiffLow 2, none up to
// warmDiffHigh 6, A * ramp above; upTime 5000 is not read.
Block band83(int32_t dWHundredths) {
    Block b = test::quietBlock();
    b.curve(kCurve3).with(field::tempRange, 3).with(field::upTime, 5000);
    return test::atWarm(b, dWHundredths);
}

// Gains 1 + k / 16 and bg[7] 9, which no bin reads; k = (310 / 155.0) * 0.5 = 1.
Block table71(int32_t xb) {
    Block b = test::quietBlock();
    for (int k = 0; k < 15; ++k) b.with(field::tempBinGain(k), 1.0f + static_cast<float>(k) / 16.0f);
    b.with(field::tempBinGain(7), 9.0f).curve({310, 400, 500, 600, 700, 800, 900, 1000});
    b.with(field::tempRange, 3);
    return test::atMean(b, static_cast<float>(xb - 20));
}

// Shutter mean 25, tempCH2 one degree above it: N = 3, 12 when quadrupled;
// the long-run drift is (25 - (26 + 25) * 0.5) * 2 = -1. The half step is 8.
// p is tempRange * 10000 + upTime.
Block clock95(int32_t rangeAndUpTime) {
    Block b = test::quietBlock();
    b.curve(kCurve3).with(field::tempCH2, 2600).with(field::shutterLin, 3.0f).with(field::driftScale, 250);
    return b.with(field::tempRange, rangeAndUpTime / 10000).with(field::upTime, rangeAndUpTime % 10000);
}

std::vector<VariantCase> cases() {
    using R = Read;
    return {
        {"drift times bg[4] below 5000", 101, drift101, 4999, R::ConstD, 4.5f},
        {"no drift from 5000", 101, drift101, 5000, R::ConstD, 0.0f},
        {"below the band: A", 83, band83, 199, R::Shift, 8.0f},
        {"on warmDiffLow: none", 83, band83, 200, R::Shift, 0.0f},
        {"on warmDiffHigh: none", 83, band83, 600, R::Shift, 0.0f},
        {"above the band: A * -0.25", 83, band83, 700, R::Shift, -2.0f},
        {"xb 0: 2 bg[0] - bg[1]", 71, table71, 0, R::ConstB, 45.0f * 0.9375f},
        {"xb 37: bg[6]", 71, table71, 37, R::ConstB, 8.0f * 1.375f},
        {"xb 42 falls through: 3 bg[14] - 2 bg[13]", 71, table71, 42, R::ConstB, 3.0f * 2.0f},
        {"xb -3 falls through", 71, table71, -3, R::ConstB, 48.0f * 2.0f},
        {"xb 47: no weight", 71, table71, 47, R::ConstB, -2.0f},
        {"range 3 shifts until 3000", 95, clock95, 31200, R::Shift, 4.8f},
        {"range 3 last count", 95, clock95, 32999, R::Shift, static_cast<float>(8.0 / 3000.0)},
        {"range 4 last count", 95, clock95, 42999, R::Shift, static_cast<float>(8.0 / 3000.0)},
        {"range 4 at 3000: no shift", 95, clock95, 43000, R::Shift, 0.0f},
        {"range 4 at 3000: shutter drift", 95, clock95, 43000, R::ConstD, 12.0f},
        {"range 4 from 3001: long run", 95, clock95, 43001, R::ConstD, -1.0f},
    };
}

void PrintTo(const VariantCase& c, std::ostream* os) { *os << "CalType " << c.calType << ": " << c.note; }

class Variant : public testing::TestWithParam<VariantCase> {};

TEST_P(Variant, AfterThePerFrameCall) {
    const VariantCase& c = GetParam();
    Block b = c.make(c.p);
    Camera cam(c.calType);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    const CalState& st = stateOf(cam);
    const float got = c.read == Read::Shift    ? b.read(field::warmShift)
                      : c.read == Read::ConstB ? st.const_b
                                               : st.const_d;
    EXPECT_EQ(got, c.want);
}

INSTANTIATE_TEST_SUITE_P(Ladder, Variant, testing::ValuesIn(cases()));

float initOn(int calType, Block b, int32_t gray) { return Camera(calType).init(gray, b.info(), 0.9f, 0.0f); }

// 130 stores const_b for the per-pixel call but leaves it out of the stage's
// own x: a shutter mean that moves const_b moves only the per-pixel result.
TEST(Variant130, ConstBStoredForThePixelOnly) {
    auto block = [](float mean) {
        Block b = test::quietBlock();
        b.curve({-2600, -1800, -1150, -600, 400, 1050, 1950, 3400, 4900, 6500, 8100, 10300});
        b.with(field::windowTrans, 100);
        return test::atMean(b, mean);
    };
    Block cold = block(16.0f), neutral = block(25.0f);
    Camera a(130), b(130);
    EXPECT_EQ(a.init(2500, cold.info(), 0.9f, 0.0f), b.init(2500, neutral.info(), 0.9f, 0.0f));
    EXPECT_NE(a.real(2500, cold.info(), 0.9f, 0.0f), b.real(2500, neutral.info(), 0.9f, 0.0f));
}

// 92 adds its const_b to the gray value in tempRange 2 and 3, and subtracts
// the upper-bin one in 4: against a block whose const_b is 0, the frame
// converts as the gray value moved by its whole counts. itDelta 5 gives
// 54.6589546 in range 2 and 74.1427307 in 3; shutter mean 29.5 on gc[0] -1550
// gives 22.5 in range 4.
struct JoinCase {
    const char* name;
    int32_t range;
    float itRefTemp, mean;
    int32_t moved;
};

class Join92 : public testing::TestWithParam<JoinCase> {};

TEST_P(Join92, ConstBMovesTheGrayValue) {
    const JoinCase& c = GetParam();
    auto block = [&](float itRefTemp, float mean) {
        Block b = test::quietBlock();
        if (c.range == 2) b.curve({-1600, -1000, -400, 400, 1100, 2100, 3100, 4700, 6300, 7900, 9500, 11700});
        if (c.range != 2) b.curve({-1550, -600, 400, 1500, 2700, 4000, 6800, 9900});
        b.with(field::tempRange, c.range).with(field::itRefTemp, itRefTemp);
        return test::atMean(b, mean);
    };
    const int32_t gray = c.range == 2 ? 1000 : 3000;
    EXPECT_EQ(initOn(92, block(c.itRefTemp, c.mean), gray), initOn(92, block(25.0f, 25.0f), gray + c.moved));
}

INSTANTIATE_TEST_SUITE_P(Ranges, Join92,
                         testing::Values(JoinCase{"Range2Adds", 2, 20.0f, 25.0f, 54},
                                         JoinCase{"Range3Adds", 3, 20.0f, 25.0f, 74},
                                         JoinCase{"Range4Subtracts", 4, 25.0f, 29.5f, -23}),
                         [](const testing::TestParamInfo<JoinCase>& i) { return std::string(i.param.name); });

}  // namespace
}  // namespace kalviro
