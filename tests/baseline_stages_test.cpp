// The stages of the baseline CalType 21, one at a time: warm-up clock, drift
// counts, held shift, distance boost, the two air temperatures, unknown
// ranges and what the per-frame call writes into the block.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "block_builder.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;

// The worked block of a range; any other range keeps the tempRange 4 block.
Block workedBlock(int32_t range) {
    if (range == 2) return test::workedBlockRange2();
    if (range == 3) return test::workedBlockRange3();
    return test::workedBlockRange4();
}

class BeforeAnyFrame : public testing::TestWithParam<int32_t> {};

// Zeroed statics: no row holds, T = 0, A3 = B3 = 0 so e = 1, Tc = 0; then
// (int)(-20 * E(1.0) * 100 + 2000) = -2.
TEST_P(BeforeAnyFrame, PerPixelGivesMinusTwoHundredths) {
    Block b = test::workedBlockRange2();
    b.with(field::tempRange, GetParam());
    const Camera cam(21);
    for (int32_t gray : {0, 1000, -5000, 65535}) EXPECT_EQ(cam.real(gray, b.info(), 1.0f, 0.0f), -0.02f) << gray;
}

INSTANTIATE_TEST_SUITE_P(Ranges, BeforeAnyFrame, testing::Values(2, 3, 4, 7));

// Warm-up clock of tempRange 3 and 4: while upTime is below 1200 and c5 - c1
// below warmDiffLow, s = (1200 - upTime) * ((g[1] - g[0]) * 0.5 / warmDivisor)
// / 1200; here one unit of the ramp is 8 / 1200.
struct ClockCase {
    const char* name;
    int32_t range;
    int32_t upTime;
    int32_t tempCH5;  // c1 is 25.00, warmDiffLow 2
    float s;
};

class WarmUpClock : public testing::TestWithParam<ClockCase> {};

TEST_P(WarmUpClock, PublishesTheShiftItApplies) {
    const ClockCase& c = GetParam();
    Block b = workedBlock(c.range);
    b.with(field::upTime, c.upTime).with(field::tempCH5, c.tempCH5).with(field::warmShift, 7.5f);
    Camera cam(21);
    cam.init(3000, b.info(), 0.95f, 0.0f);
    EXPECT_EQ(b.read(field::warmShift), c.s);
    EXPECT_EQ(cam.state().tempdata[0].grayBase, -1000.0f - c.s);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Ramp, WarmUpClock, testing::Values(
    ClockCase{"Range3LastCount", 3, 1199, 2600, 8.0f / 1200.0f},
    ClockCase{"Range3Over", 3, 1200, 2600, 0.0f},
    ClockCase{"Range3Start", 3, 0, 2600, 8.0f},
    ClockCase{"Range3BeforeStart", 3, -100, 2600, 10400.0f / 1200.0f},
    ClockCase{"Range3WarmEnough", 3, 1199, 2900, 0.0f},
    ClockCase{"Range3OnTheLimit", 3, 1199, 2700, 0.0f},
    ClockCase{"Range4LastCount", 4, 1199, 2600, 8.0f / 1200.0f},
    ClockCase{"Range4Over", 4, 1200, 2600, 0.0f},
    ClockCase{"Range4LongRun", 4, 3001, 2600, 0.0f}),
    [](const testing::TestParamInfo<ClockCase>& i) { return std::string(i.param.name); });
// clang-format on

// Drift counts: a positive shutter drift counts four times in tempRange 3
// and 4, never in 2; the block keeps the count before the multiplication.
// Above upTime 3000 tempRange 4 takes the long-run drift
// (m - (c2 + c3) * 0.5) * (driftScale / 100), the division truncating.
struct DriftCase {
    const char* name;
    int32_t range;
    float shutterCH2;
    int32_t upTime;
    int32_t driftScale;
    int32_t shutterDrift;
    float constD;
};

class DriftCounts : public testing::TestWithParam<DriftCase> {};

TEST_P(DriftCounts, QuadrupledOrLongRun) {
    const DriftCase& c = GetParam();
    Block b = workedBlock(c.range);
    b.with(field::shutterCH2, c.shutterCH2).with(field::upTime, c.upTime).with(field::driftScale, c.driftScale);
    Camera cam(21);
    cam.init(1000, b.info(), 0.95f, 0.0f);
    EXPECT_EQ(b.read(field::shutterDrift), c.shutterDrift);
    EXPECT_EQ(cam.state().const_d, c.constD);
}

// With shutterCH2 30 the drift is 2, with 32 it is -1; m is 29.5 and 30.5 and
// (c2 + c3) * 0.5 is 30.5.
// clang-format off
INSTANTIATE_TEST_SUITE_P(Rules, DriftCounts, testing::Values(
    DriftCase{"Range2Positive", 2, 30.0f, 600, 250, 2, 2.0f},
    DriftCase{"Range3Positive", 3, 30.0f, 600, 250, 2, 8.0f},
    DriftCase{"Range4Positive", 4, 30.0f, 600, 250, 2, 8.0f},
    DriftCase{"Range2Negative", 2, 32.0f, 600, 250, -1, -1.0f},
    DriftCase{"Range3Negative", 3, 32.0f, 600, 250, -1, -1.0f},
    DriftCase{"Range4Negative", 4, 32.0f, 600, 250, -1, -1.0f},
    DriftCase{"Range4At3000", 4, 30.0f, 3000, 250, 2, 8.0f},
    DriftCase{"Range4At3001", 4, 30.0f, 3001, 250, 2, -2.0f},
    DriftCase{"Range4ScaleTruncated", 4, 30.0f, 3001, 299, 2, -2.0f},
    DriftCase{"Range4ScaleBelowOne", 4, 30.0f, 3001, 99, 2, 0.0f},
    DriftCase{"Range4NegativeScale", 4, 30.0f, 3001, -150, 2, 1.0f},
    DriftCase{"Range4LongRunNegativeDrift", 4, 32.0f, 3001, 250, -1, 0.0f},
    DriftCase{"Range3NoLongRun", 3, 30.0f, 3001, 250, 2, 8.0f}),
    [](const testing::TestParamInfo<DriftCase>& i) { return std::string(i.param.name); });
// clang-format on

// a = (int)(shutterCH2 * 100.0) with the product in float: 0.29f * 100.0f
// rounds to 29.0, so a is 29 (a double product would give 28.99999917 and 28).
TEST(ShutterDrift, ShutterTemperatureScaledInFloat) {
    struct Case {
        float shutterCH2;
        int32_t tempCH2;
        int32_t drift;  // tempCH2 - a, with shutterLin 100 and no square term
    };
    for (const Case& c : {Case{0.29f, 29, 0}, Case{0.28f, 29, 1}, Case{0.57f, 57, 0}}) {
        Block b = test::workedBlockRange2();
        b.with(field::shutterCH2, c.shutterCH2)
            .with(field::tempCH2, c.tempCH2)
            .with(field::shutterQuad, 0.0f)
            .with(field::shutterLin, 100.0f);
        Camera cam(21);
        cam.init(1000, b.info(), 0.95f, 0.0f);
        EXPECT_EQ(b.read(field::shutterDrift), c.drift) << c.shutterCH2;
    }
}

// warmHold set: the table takes the shift from warmShift and the block keeps
// it. warmHold 0: the stage's own shift; tempRange 2 then stores 0.0, the
// others store the shift they applied.
struct HoldCase {
    const char* name;
    int32_t range;
    int32_t hold;
    int32_t tempCH5;
    float applied;
    float stored;
};

class WarmHold : public testing::TestWithParam<HoldCase> {};

TEST_P(WarmHold, TableAndBlock) {
    const HoldCase& c = GetParam();
    Block b = workedBlock(c.range);
    b.with(field::warmHold, c.hold).with(field::warmShift, 7.5f).with(field::tempCH5, c.tempCH5);
    Camera cam(21);
    cam.init(1000, b.info(), 0.95f, 0.0f);
    const TempSegment* rows = cam.state().tempdata;
    if (c.range == 2) {
        EXPECT_EQ(rows[3].grayBase, -c.applied);
        EXPECT_EQ(rows[5].grayBase, 1100.0f - c.applied);
    } else {
        EXPECT_EQ(rows[0].grayBase, -1000.0f - c.applied);
        EXPECT_EQ(rows[2].grayBase, 400.0f + c.applied * -1.1f);
    }
    EXPECT_EQ(b.read(field::warmShift), c.stored);
}

// In tempRange 2 the worked block fades xd to 200 (w = 4), s = 200 / 25.
// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, WarmHold, testing::Values(
    HoldCase{"Range2Held", 2, 1, 2900, 7.5f, 7.5f},
    HoldCase{"Range2Own", 2, 0, 2900, 8.0f, 0.0f},
    HoldCase{"Range2OwnFullSize", 2, 0, 2600, 16.0f, 0.0f},
    HoldCase{"Range3Held", 3, 1, 2600, 7.5f, 7.5f},
    HoldCase{"Range3OwnRamp", 3, 0, 2600, 4.0f, 4.0f},
    HoldCase{"Range3OwnWarm", 3, 0, 2900, 0.0f, 0.0f}),
    [](const testing::TestParamInfo<HoldCase>& i) { return std::string(i.param.name); });
// clang-format on

// Distance boost of the per-pixel result, from the block's distance. The
// object is as warm as the air, so the atmosphere leaves it alone at every
// distance and only the boost moves the result.
struct BoostCase {
    const char* name;
    int32_t range;
    std::vector<float> curve;
    int32_t gray;  // at the air temperature
    int32_t air;   // tempCH2
    int32_t distance;
    float expected;
};

class DistanceBoost : public testing::TestWithParam<BoostCase> {};

TEST_P(DistanceBoost, PerPixelOnly) {
    const BoostCase& c = GetParam();
    Block b = test::plainBlock(c.range, {}, 0.0f);
    for (size_t k = 0; k < c.curve.size(); ++k) b.with(field::grayCurve(static_cast<int>(k)), c.curve[k]);
    b.with(field::tempCH2, c.air).with(field::distance, c.distance);
    Camera cam(21);
    cam.init(c.gray, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.real(c.gray, b.info(), 1.0f, 0.0f), c.expected);
}

const std::vector<float> kCurve2 = {-1300, -800, -300, 300, 900, 1700, 2500, 3700, 4900, 6100, 7300, 8900};
const std::vector<float> kCurveHigh = {-500, 0, 500, 1500, 2700, 4000, 6800, 9900};

// 25 degrees scale to 2500.66 before the boost; at 10 m in tempRange 2 the
// boost adds 0.3 percent, at 15 m in tempRange 3 2.5 percent.
// clang-format off
INSTANTIATE_TEST_SUITE_P(Distances, DistanceBoost, testing::Values(
    BoostCase{"Range2Near", 2, kCurve2, 0, 2500, 150, 25.00f},
    BoostCase{"Range2JustBelow8m", 2, kCurve2, 0, 2500, 799, 25.00f},
    BoostCase{"Range2At8m", 2, kCurve2, 0, 2500, 800, 25.00f},
    BoostCase{"Range2At10m", 2, kCurve2, 0, 2500, 1000, 25.08f},
    BoostCase{"Range2At20m", 2, kCurve2, 0, 2500, 2000, 25.45f},
    BoostCase{"Range2NegativeAt8m", 2, kCurve2, -1050, -1000, 800, -10.03f},
    BoostCase{"Range2NegativeAt10m", 2, kCurve2, -1050, -1000, 1000, -10.06f},
    BoostCase{"Range2NegativeAt20m", 2, kCurve2, -1050, -1000, 2000, -10.22f},
    BoostCase{"Range3Near", 3, kCurveHigh, 1500, 30000, 150, 300.36f},
    BoostCase{"Range3At4m", 3, kCurveHigh, 1500, 30000, 400, 300.36f},
    BoostCase{"Range3At15m", 3, kCurveHigh, 1500, 30000, 1500, 307.87f},
    BoostCase{"Range4Near", 4, kCurveHigh, 500, 60000, 150, 600.76f},
    BoostCase{"Range4At10m", 4, kCurveHigh, 500, 60000, 1000, 600.76f},
    BoostCase{"Range4At100m", 4, kCurveHigh, 500, 60000, 10000, 600.76f}),
    [](const testing::TestParamInfo<BoostCase>& i) { return std::string(i.param.name); });
// clang-format on

// The per-frame stage takes tempCH1 as the air, the per-pixel stage tempCH2:
// with no shutter drift, tempCH2 moves only the per-pixel result, and Once
// reports the per-pixel one.
TEST(AirTemperatures, InitOnTempCH1RealAndOnceOnTempCH2) {
    std::vector<float> inits, reals;
    for (int32_t c2 : {2500, 3100, 1800}) {
        Block b = test::workedBlockRange2();
        b.with(field::shutterQuad, 0.0f).with(field::shutterLin, 0.0f).with(field::tempCH2, c2);
        Camera cam(21);
        inits.push_back(cam.init(1000, b.info(), 0.95f, 0.0f));
        reals.push_back(cam.real(1000, b.info(), 0.95f, 0.0f));
        Camera single(21);
        Block c = test::workedBlockRange2();
        c.with(field::shutterQuad, 0.0f).with(field::shutterLin, 0.0f).with(field::tempCH2, c2);
        EXPECT_EQ(single.once(1000, c.info(), 0.95f, 0.0f), reals.back()) << c2;
    }
    EXPECT_EQ(inits[0], inits[1]);
    EXPECT_EQ(inits[0], inits[2]);
    EXPECT_NE(reals[1], reals[0]);
    EXPECT_NE(reals[2], reals[0]);
    EXPECT_NE(inits[1], reals[1]);
}

class UnknownRange : public testing::TestWithParam<int32_t> {};

// A tempRange outside 2, 3, 4 builds nothing and keeps const_b, const_d and
// the table; T = 0 goes through the tail (air at 0 here, so -0.02), and
// warmShift receives 0.0.
TEST_P(UnknownRange, TailRunsOnZero) {
    Camera cam(21);
    Block first = test::workedBlockRange2();
    cam.init(1000, first.info(), 0.95f, 0.0f);
    const CalState before = cam.state();

    Block b = test::workedBlockRange2();
    b.with(field::tempRange, GetParam())
        .with(field::tempCH1, 0)
        .with(field::tempCH2, 0)
        .with(field::warmShift, 7.5f)
        .with(field::atmA, 0)
        .with(field::atmB, 0);
    EXPECT_EQ(cam.init(1000, b.info(), 1.0f, 0.0f), -0.02f);
    EXPECT_EQ(cam.real(1000, b.info(), 1.0f, 0.0f), -0.02f);
    EXPECT_EQ(b.read(field::warmShift), 0.0f);
    EXPECT_EQ(b.read(field::atmA), 4);
    EXPECT_EQ(b.read(field::atmB), 167);
    EXPECT_EQ(cam.state().const_b, before.const_b);
    EXPECT_EQ(cam.state().const_d, before.const_d);
    EXPECT_EQ(std::memcmp(cam.state().tempdata, before.tempdata, sizeof before.tempdata), 0);
}

INSTANTIATE_TEST_SUITE_P(Ranges, UnknownRange, testing::Values(0, 1, 5, 7, -2, INT32_MIN));

// Bytes the baseline never reads get a pattern, so that a stray write shows.
void fillUnread(Block& b) {
    const std::pair<int, int> unread[] = {{0x038, 0x03c}, {0x08c, 0x090}, {0x094, 0x09c}, {0x0a0, 0x0d0},
                                          {0x0d4, 0x0d8}, {0x0e8, 0x0ec}, {0x110, 0x118}, {0x130, 0x200}};
    for (auto [from, to] : unread) std::memset(b.raw() + from, 0xa5, static_cast<size_t>(to - from));
}

struct WriteCase {
    int32_t range;
    int32_t hold;
};

class BlockWrites : public testing::TestWithParam<WriteCase> {};

// The per-frame call writes shutterDrift, atmA, atmB and (warmHold 0)
// warmShift, and nothing else; the per-pixel call writes nothing.
TEST_P(BlockWrites, OnlyTheFourFields) {
    const WriteCase& c = GetParam();
    Block b = workedBlock(c.range);
    b.with(field::tempRange, c.range)
        .with(field::warmHold, c.hold)
        .with(field::warmShift, 7.5f)
        .with(field::shutterDrift, 12345)
        .with(field::atmA, -1)
        .with(field::atmB, -1);
    fillUnread(b);
    const auto before = b.snapshot();
    Camera cam(21);
    cam.init(1000, b.info(), 0.95f, 0.0f);
    const auto after = b.snapshot();
    for (size_t i = 0; i < 512; ++i) {
        const bool written = (i >= 0x0f4 && i < 0x0f8) || (i >= 0x0fc && i < 0x104) ||
                             (c.hold == 0 && i >= 0x128 && i < 0x12c);
        if (!written) {
            EXPECT_EQ(after[i], before[i]) << "byte " << i;
        }
    }
    EXPECT_EQ(b.read(field::shutterDrift), 2);
    EXPECT_EQ(b.read(field::atmA), 4);
    EXPECT_EQ(b.read(field::atmB), 167);

    cam.real(1000, b.info(), 0.95f, 0.0f);
    EXPECT_EQ(b.snapshot(), after);
}

INSTANTIATE_TEST_SUITE_P(Ranges, BlockWrites,
                         testing::Values(WriteCase{2, 0}, WriteCase{2, 1}, WriteCase{3, 0}, WriteCase{3, 1},
                                         WriteCase{4, 0}, WriteCase{4, 1}, WriteCase{9, 0}));

}  // namespace
}  // namespace kalviro
