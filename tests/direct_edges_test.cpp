// Edge cases of the Direct CalTypes, one block and one per-frame call each:
// the clock limits, the LensRule limits, the rows at curve points, the
// extrapolated top rows and the result forms. Each row names the block, the
// two settings it takes, the gray value and what is read after the call.
#include <gtest/gtest.h>

#include <vector>

#include "block_builder.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;
using test::stateOf;

enum class Read { Init, Real, Shift, ConstD, Xd, Row0 };

struct EdgeCase {
    const char* note;
    int calType;
    Block (*make)(int calType, int32_t p, int32_t q);
    int32_t p, q, gray;
    Read read;
    float want;
    float emissivity = 1.0f;
};

Block withCurve(std::initializer_list<float> g) { return test::quietBlock().curve(g); }
Block grid25() {
    return withCurve({-1600, -1000, -400, 400, 1100, 2100, 3100, 4700, 6300, 7900, 9500, 11700});
}

// GridFine45 plain: A = g[6] / 3 = 100; row 0 counts down from g[1] = -650.
Block clock56(int, int32_t upTime, int32_t) {
    return withCurve({-750, -650, -540, -420, -290, -150, 300, 415, 775, 1155, 1555, 1975})
        .with(field::upTime, upTime);
}

// tempRange 4: (1200 - 600) * ((-650 + 750) * 0.5 / 25) / 1200 = 1.
Block store56(int, int32_t range, int32_t) {
    Block b = withCurve({-750, -650, -540, -420, 300, 415, 775, 1155, 1555, 1975, 2400, 2900});
    return b.with(field::tempRange, range).with(field::upTime, 600).with(field::warmShift, 9.0f);
}

// slope[0] = 20.7 truncates to 20 counts.
Block shift25(int, int32_t upTime, int32_t) {
    return withCurve({-100, -79.3f, 0, 100, 200, 300, 400, 500, 600, 700, 800, 900})
        .with(field::upTime, upTime);
}

// Shutter drift 3 (c2 one degree above the shutter); in tempRange 4 the
// long-run drift (25 - (26 + 25) * 0.5) * 2.5 = -1 takes over after 3000.
Block drift(int, int32_t upTime, int32_t range) {
    Block b = range == 4
                  ? withCurve({-1000, -600, 400, 1500, 2700, 4000, 6800, 9900, 12000, 15000, 18000, 21000})
                  : grid25();
    b.with(field::tempRange, range).with(field::upTime, upTime).with(field::tempCH2, 2600);
    b.with(field::shutterLin, 3.0f).with(field::shutterDrift, 3).with(field::driftScale, 250);
    return b.with(field::tempBinGain(4), 1.5f);
}

// Shutter mean 5 (mb 25): const_b = 0, so fb is the gray value; drift 2.
Block gain22(int, int32_t upTime, int32_t w) {
    Block b = grid25();
    b.with(field::upTime, upTime).with(field::tempCH2, 600).with(field::shutterLin, 2.0f);
    return test::atWarm(test::atMean(b, 5.0f), w);
}

// g[3] = 1000: 1000 * (3000 - upTime) / 3000 whole counts, over 25.
Block clock26(int, int32_t upTime, int32_t c2MinusC1) {
    Block b = withCurve({-1600, -1000, -400, 1000, 1100, 2100, 3100, 4700, 6300, 7900, 9500, 11700});
    return b.with(field::upTime, upTime).with(field::tempCH2, 2500 + c2MinusC1);
}

Block reversed(int ct, int32_t upTime, int32_t w) { return test::lensBlock(ct, upTime, w, 5.0f, 2.0f); }
Block ordered(int ct, int32_t upTime, int32_t w) { return test::lensBlock(ct, upTime, w, 2.0f, 5.0f); }

// warmHold: the table takes warmShift (7.5) from g[1] = -630, and the block keeps it.
Block hold(int, int32_t lensType, int32_t upTime) {
    Block b = withCurve({-830, -630, -450, -240, 200, 560, 1160, 2240, 3440, 4760, 6200, 8200});
    return b.with(field::lensType, lensType)
        .with(field::upTime, upTime)
        .with(field::warmHold, 1)
        .with(field::warmShift, 7.5f);
}

// One degree a row, g[k] = 100 k; the word at 0x030 is the thirteenth point
// (1300 at 42), so row 11 has slope 200 and counts from g[10]. mb 30: const_b 0.
Block degree12(int, int32_t range, int32_t low) {
    Block b = withCurve({0, 100, 200, 300, 400, 500, 600, 700, 800, 900, 1000, 1100});
    b.with(field::warmDiffLow, static_cast<float>(low))
        .with(field::lensType, 3)
        .with(field::tempRange, range);
    // tempRange 3: (1200 - 600) * ((100 - 0) * 0.5 / 25) / 1200 = 1 while w is below 0x030.
    b.with(field::upTime, 600).with(field::grayCurveExt(0), 100.0f).with(field::grayCurveExt(1), 200.0f);
    test::atMean(b, 10.0f);
    return test::atWarm(b, 400);
}

// tempRange 3: row 11 runs from g[11] (1400) with the slope to the word at
// 0x030 (1700), (14000 - 11000) / 300 = 10, and extrapolates above both.
Block high23(int, int32_t, int32_t) {
    Block b = withCurve({0, 500, 1500, 2500, 3500, 4500, 6000, 7000, 8000, 9000, 10000, 11000});
    return b.with(field::warmDiffLow, 14000.0f).with(field::tempRange, 3);
}

// Grid25 with g[3] 400 at 35, g[4] 550 at 50, g[5] 2150 at 70, s = 10:
// lower row (550 - 390) / 10 + 35 = 51, upper row 10 / 80 + 50 = 50.125.
// Grid45 with g[4] 300 at 55, g[5] 450 at 70, g[6] 2050 at 90, s = 2.5:
// lower row (450 - 297.5) / 10 + 55 = 70.25, upper row 2.5 / 80 + 70 = 70.03125.
Block curvePoint(int calType, int32_t, int32_t) {
    Block b = calType == 57
                  ? withCurve({-1300, -900, -600, -300, 300, 450, 2050, 3000, 4000, 5000, 6000, 7000})
                  : withCurve({-1600, -1000, -400, 400, 550, 2150, 3100, 4700, 6300, 7900, 9500, 11700});
    return b.with(field::warmDivisor, 40.0f).with(field::upTime, 600);
}

// No row holds the gray value: T = 0.0, which K scales about the air (25),
// so the result is 25 * (1 - K / 1000) plus tempOffset.
Block unknownRange(int, int32_t offset, int32_t) {
    return test::quietBlock().with(field::tempRange, 7).with(field::tempOffset, offset);
}

// Grid45Ext, g[4] = 300. In an unknown tempRange tempOffset 3699 makes r and
// F 3699; the window gives (F / W - (25 * (1 - W)) * 100) / 100.
Block window(int, int32_t trans, int32_t range) {
    Block b = withCurve({-1000, -700, -450, -240, 300, 750, 1350, 2250, 3150, 4050, 4950, 6150});
    b.with(field::grayCurveExt(0), 7650.0f).with(field::grayCurveExt(1), 9150.0f);
    b.with(field::windowTransLong, trans)
        .with(field::tempRange, range)
        .with(field::tempOffset, range == 2 ? 0 : 3699);
    return test::atMean(b, 25.0f);  // mb 45: const_b = 0
}

// The worked block at 1.5 m has T = 52 whatever the air settings of 23's Init.
Block air(int, int32_t distance, int32_t humidity) {
    return test::workedBlockRange2().with(field::distance, distance).with(field::humidity, humidity);
}

// 110 scales on the base of 20 with E(1.0) = 1.00132108 where 54 scales
// about c1 with K 1000: T = (210 - 0) / 30 + 45 = 52 in row 4.
const float k110At52 = (static_cast<float>(32.0 * 1.0013210773468018) * 100.0f + 2000.0f) / 100.0f;

std::vector<EdgeCase> cases() {
    using R = Read;
    std::vector<EdgeCase> out = {
        {"56 M 1 up to 449", 56, clock56, 449, 0, 0, R::Row0, -650 - 4 * 1.0f},
        {"56 M 2 from 450", 56, clock56, 450, 0, 0, R::Row0, -650 - 4 * 2.0f},
        {"56 M 2 up to 899", 56, clock56, 899, 0, 0, R::Row0, -650 - 4 * 2.0f},
        {"56 M 3 from 900", 56, clock56, 900, 0, 0, R::Row0, -650 - 4 * 3.0f},
        {"56 M 3 up to 1349", 56, clock56, 1349, 0, 0, R::Row0, -650 - 4 * 3.0f},
        {"56 M 2 from 1350", 56, clock56, 1350, 0, 0, R::Row0, -650 - 4 * 2.0f},
        {"56 M 2 up to 1799", 56, clock56, 1799, 0, 0, R::Row0, -650 - 4 * 2.0f},
        {"56 M 1 from 1800", 56, clock56, 1800, 0, 0, R::Row0, -650 - 4 * 1.0f},
        {"56 publishes 0.0 after range 2", 56, store56, 2, 0, 0, R::Shift, 0.0f},
        {"56 publishes 0.0 after range 3", 56, store56, 3, 0, 0, R::Shift, 0.0f},
        {"56 publishes s after range 4", 56, store56, 4, 0, 0, R::Shift, 1.0f},
        {"25 shift in whole counts at 1799", 25, shift25, 1799, 0, 0, R::Shift, 20.0f / 25.0f},
        {"25 shift ends at 1800", 25, shift25, 1800, 0, 0, R::Shift, 0.0f},
        {"100 drift times b[4] to 4999", 100, drift, 4999, 2, 1000, R::ConstD, 3 * 1.5f},
        {"100 no drift from 5000", 100, drift, 5000, 2, 1000, R::ConstD, 0.0f},
        {"22 c from the clock at 550", 22, gain22, 550, 0, 0, R::ConstD,
         2 * static_cast<float>(1.2 - (480.0 * 0.2) / 480.0)},
        {"22 c by w from 551", 22, gain22, 551, 0, 0, R::ConstD, 2 * 1.5f},
        {"22 fb on g[9]: c * -1.5", 22, gain22, 2000, 400, 7900, R::ConstD, 2 * -1.5f},
        {"26 clock run out at 3000", 26, clock26, 3000, 0, 0, R::Shift, 0.0f},
        {"26 1000 / 3000 truncates at 2999", 26, clock26, 2999, 0, 0, R::Shift, 0.0f},
        {"26 one count at 2997", 26, clock26, 2997, 0, 0, R::Shift, 1.0f / 25.0f},
        {"26 c2 - c1 below warmDiffLow", 26, clock26, 1500, 199, 0, R::Row0, -1000.0f - 20.0f},
        {"26 c2 - c1 at warmDiffLow", 26, clock26, 1500, 200, 0, R::Shift, 0.0f},
        {"52 range 3 below 0x030", 52, degree12, 3, 5, 0, R::Shift, 1.0f},
        {"52 range 3 at 0x030", 52, degree12, 3, 3, 0, R::Shift, 0.0f},
        {"52 g[11] still in row 10", 52, degree12, 2, 1300, 1100, R::Real, 41.0f},
        {"52 row 11 from g[10]", 52, degree12, 2, 1300, 1101, R::Real, 41.505f},
        {"52 row 11 from g[10]", 52, degree12, 2, 1300, 1150, R::Real, 41.75f},
        {"23 row 11 above g[11]", 23, high23, 0, 0, 12500, R::Init, 1550.0f},
        {"23 row 11 above 0x030", 23, high23, 0, 0, 15000, R::Real, 1800.0f},
        {"20 upper row per frame", 20, curvePoint, 0, 0, 550, R::Init, 50.12f},
        {"20 lower row per pixel", 20, curvePoint, 0, 0, 550, R::Real, 51.0f},
        {"57 lower row per frame", 57, curvePoint, 0, 0, 450, R::Init, 70.25f},
        {"57 lower row per pixel", 57, curvePoint, 0, 0, 450, R::Real, 70.25f},
        {"K 1012 at 0.90", 20, unknownRange, 0, 0, 0, R::Init, -0.30f, 0.90f},
        {"K 1470 at 0.5", 57, unknownRange, 0, 0, 0, R::Real, -11.75f, 0.5f},
        {"50 whole degrees towards zero", 50, unknownRange, 2599, 0, 0, R::Init, 25.0f},
        {"50 whole degrees towards zero", 50, unknownRange, -2599, 0, 0, R::Init, -25.0f},
        {"50 per pixel keeps decimals", 50, unknownRange, -2599, 0, 0, R::Real, -25.99f},
        {"54 whole degrees per frame", 54, window, 50, 8, 1000, R::Init, 36.0f},
        {"54 open window: F / 100", 54, window, 100, 8, 1000, R::Real, 36.99f},
        {"54 window 50", 54, window, 50, 8, 1000, R::Real, (3699.0f / 0.5f - 12.5f * 100.0f) / 100.0f},
        {"54 K 1000 at 1.0", 54, window, 100, 2, 210, R::Real, 52.0f},
        {"110 E(1.0) about 20", 110, window, 100, 2, 210, R::Real, k110At52},
        {"110 whole degrees", 110, window, 100, 2, 210, R::Init, 52.0f},
        {"23 Init ignores the air", 23, air, 3000, 90, 1000, R::Init, 52.0f},
        {"23 Real neutral at 1.5 m", 23, air, 150, 60, 1000, R::Real, 52.0f},
    };
    for (int ct : {20, 54, 57}) {
        out.push_back({"long run: shutter drift * 4 to 3000", ct, drift, 3000, 4, 3000, R::ConstD, 12.0f});
        out.push_back({"long run from 3001", ct, drift, 3001, 4, 3000, R::ConstD, -1.0f});
    }
    const float rampAt4 = 100.0f * (1.0f - (4.0f - 5.0f) / (2.0f - 5.0f));
    for (int ct : {52, 54}) {
        out.push_back({"reversed, early: A * 0.75", ct, reversed, 100, 400, 1000, R::Xd, 75.0f});
        out.push_back({"reversed at 120: the ramp", ct, reversed, 120, 400, 1000, R::Xd, rampAt4});
        out.push_back({"reversed, w above dT: A", ct, reversed, 120, 600, 1000, R::Xd, 100.0f});
        out.push_back({"ordered, w on dT: A", ct, ordered, 600, 200, 1000, R::Xd, 100.0f});
        out.push_back({"ordered, w on dCH5: 0", ct, ordered, 600, 500, 1000, R::Xd, 0.0f});
        out.push_back({"ordered halfway: the shift", ct, ordered, 600, 350, 1000, R::Shift, 50.0f / 25.0f});
    }
    for (int ct : {50, 54}) {
        out.push_back({"warmHold, lens 1", ct, hold, 1, 600, 1000, R::Row0, -637.5f});
        out.push_back({"warmHold, lens 3", ct, hold, 3, 600, 1000, R::Row0, -637.5f});
        out.push_back({"warmHold after the clock", ct, hold, 1, 1800, 1000, R::Row0, -637.5f});
        out.push_back({"warmHold, lens 2 early", ct, hold, 2, 100, 1000, R::Row0, -637.5f});
        out.push_back({"warmHold keeps warmShift", ct, hold, 2, 100, 1000, R::Shift, 7.5f});
    }
    return out;
}

void PrintTo(const EdgeCase& c, std::ostream* os) { *os << "CalType " << c.calType << ": " << c.note; }

class Edge : public ::testing::TestWithParam<EdgeCase> {};

TEST_P(Edge, ValueAfterThePerFrameCall) {
    const EdgeCase& c = GetParam();
    Block b = c.make(c.calType, c.p, c.q);
    Camera cam(c.calType);
    const float init = cam.init(c.gray, b.info(), c.emissivity, 0.0f);
    float got = init;
    switch (c.read) {
        case Read::Init: break;
        case Read::Real: got = cam.real(c.gray, b.info(), c.emissivity, 0.0f); break;
        case Read::Shift: got = b.read(field::warmShift); break;
        case Read::ConstD: got = stateOf(cam).const_d; break;
        case Read::Xd: got = stateOf(cam).xd; break;
        case Read::Row0: got = stateOf(cam).tempdata[0].grayBase; break;
    }
    EXPECT_EQ(got, c.want) << "CalType " << c.calType << ": " << c.note;
}

INSTANTIATE_TEST_SUITE_P(Direct, Edge, ::testing::ValuesIn(cases()));

// 23's per-pixel air correction is not neutral: humidity moves it.
TEST(Edge, CalType23RealFollowsHumidity) {
    Block b = air(23, 1000, 60);
    Camera cam(23);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    const float at60 = cam.real(1000, b.info(), 1.0f, 0.0f);
    b.with(field::humidity, 10);
    EXPECT_NE(cam.real(1000, b.info(), 1.0f, 0.0f), at60);
}

}  // namespace
}  // namespace kalviro
