// Body drift by the bin of the raised shutter mean mb: BodyBins45 with its
// three gain columns, BodyBinsFine, 57's Table 4 in tempRange 3 and CalType
// 50's bins. Each case is worked from the bin table: C = (a - mb) * slope[r]
// - p, then the bin's gain. A bin holds its lower limit, so a limit is tried
// together with a point just below it.
#include <gtest/gtest.h>

#include <vector>

#include "block_builder.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;
using test::stateOf;

// Grid45 with the slopes 10, 12, 14, 16, 20, 24, 30, 36 on rows 0 to 7.
constexpr float kCurve45[12] = {-830, -630, -450, -240, 200, 560, 1160, 2240, 3440, 4760, 6200, 8200};
// GridFine45 with the slopes 10, 11, ... 21 on rows 0 to 11.
constexpr float kCurveFine[12] = {-750, -650, -540, -420, -290, -150, 160, 415, 775, 1155, 1555, 1975};
// Table 4 on k = (g[0] / 155) * 0.5 = 1; b[7] is read by no bin, so it is 9.
constexpr float kCurveTable4[12] = {310, 400, 500, 600, 700, 800, 900, 1000};

// Gains b[k] = 1 + k / 16, all exact, so that every extrapolated form has its
// own value: L(n) = 1.0625 - 0.0625 n, D(n) = 1 - 0.0625 n,
// E(n) = 1.5625 + 0.0625 n, H(9, n) = 1.5 + 0.0625 n, H(14, n) = 1.8125 + 0.0625 n.
float gainK(int k) { return 1.0f + static_cast<float>(k) / 16.0f; }

// p is the curve point the term is read from, slope the slope[r] of the row
// the table names; withG: the gain meets G in double.
struct BinCase {
    int calType;
    int32_t tempRange;
    float mb, a, p, slope, gain;
    bool withG;
    const char* note;
};

// G = driftGain * 0.2 + 0.8 with driftGain 1.5.
constexpr double kG = 1.5 * 0.2 + 0.8;

float expected(const BinCase& c) {
    const float C = (c.a - c.mb) * c.slope - c.p;
    return c.withG ? static_cast<float>(static_cast<double>(c.gain) * (kG * static_cast<double>(C)))
                   : C * c.gain;
}

void PrintTo(const BinCase& c, std::ostream* os) {
    *os << "CalType " << c.calType << " mb " << c.mb << ": " << c.note;
}

class BodyBins : public ::testing::TestWithParam<BinCase> {};

TEST_P(BodyBins, ConstBOfTheBin) {
    const BinCase c = GetParam();
    Block b = test::quietBlock();
    for (int k = 0; k < 15; ++k) b.with(field::tempBinGain(k), gainK(k));
    const bool fine = c.calType == 51 || c.calType == 50 || (c.calType == 56 && c.tempRange == 2);
    const bool table4 = c.calType == 57 && c.tempRange == 3;
    const float* curve = table4 ? kCurveTable4 : fine ? kCurveFine : kCurve45;
    for (int k = 0; k < 12; ++k) b.with(field::grayCurve(k), curve[k]);
    if (table4) b.with(field::tempBinGain(7), 9.0f);
    b.with(field::grayCurveExt(0), 9800.0f).with(field::grayCurveExt(1), 11800.0f);
    b.with(field::driftGain, 1.5f).with(field::tempRange, c.tempRange);
    test::atMean(b, c.mb - 20.0f);
    Camera cam(c.calType);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(stateOf(cam).const_b, expected(c)) << c.note;
}

constexpr bool G = false, WG = true;

std::vector<BinCase> cases() {
    return {
        // BodyBins45, Gain 1: 57 in tempRange 2, 56 in tempRange 3.
        {57, 2, -20.5f, -20, -830, 10, 0.4375f, G, "below -20: L(10)"},
        {57, 2, -20.0f, -20, -830, 10, 0.5f, G, "-20 holds L(9)"},
        {57, 2, 47.0f, 45, 0, 20, 1.0f, G, "45 up to 50: no gain"},
        {57, 2, 74.5f, 70, 560, 30, gainK(9), G, "70 up to 75: b[9]"},
        {57, 2, 75.0f, 70, 560, 30, 1.625f, G, "75 holds H(9, 2)"},
        {56, 3, 92.0f, 90, 1160, 36, 1.8125f, G, "90 and above: H(9, 5) on slope[7]"},
        // Gain 2: 54.
        {54, 2, -20.0f, -20, -830, 10, 0.5f, G, "-20 holds D(8)"},
        {54, 2, 19.5f, 15, -450, 14, 0.9375f, G, "15 up to 20: D(1)"},
        {54, 2, 20.0f, 15, -450, 14, gainK(0), G, "20 holds b[0]"},
        {54, 2, 80.0f, 90, 1160, 30, 1.6875f, G, "80 holds E(2)"},
        // Gain 3: 58, which reaches all fifteen gains.
        {58, 2, 84.5f, 90, 1160, 30, gainK(14), G, "80 up to 85: b[14]"},
        {58, 2, 85.0f, 90, 1160, 30, 1.9375f, G, "85 holds H(14, 2)"},
        {58, 2, 90.0f, 90, 1160, 36, 2.0f, G, "90 holds H(14, 3)"},
        // BodyBinsFine: 51, and 56 in tempRange 2.
        {51, 2, -15.0f, -15, -750, 10, 0.75f, G, "-15 holds D(4)"},
        {51, 2, 47.0f, 45, 0, 16, 1.0f, G, "45 up to 50: no gain"},
        {51, 2, 119.5f, 110, 1155, 20, 2.3125f, G, "115 up to 120: H(14, 8)"},
        {51, 2, 124.0f, 130, 1555, 20, 2.375f, G, "120 up to 125: H(14, 9)"},
        {51, 2, 125.0f, 130, 1555, 20, gainK(14), G, "125 falls back to b[14]"},
        {56, 2, 125.0f, 130, 1555, 20, gainK(14), G, "125 falls back to b[14]"},
        // Table 4: 40 up to 45 is a gap that takes the outer bins' gain.
        {57, 3, 39.0f, 45, 0, 1, gainK(6), G, "b[6]"},
        {57, 3, 40.0f, 45, 0, 1, 2.0f, G, "gap: H(14, 3)"},
        {57, 3, 42.0f, 45, 0, 1, 2.0f, G, "gap: H(14, 3)"},
        {57, 3, 47.0f, 45, 0, 1, 1.0f, G, "no gain"},
        {57, 3, 50.0f, 45, 0, 1, gainK(8), G, "b[8]"},
        // CalType 50 on GridFine45: from 15 on the gain meets G in double.
        {50, 2, 14.5f, 15, -420, 12, gainK(2), G, "5 up to 15: b[2], no G"},
        {50, 2, 15.0f, 25, -290, 13, gainK(3), WG, "15 holds b[3] with G"},
    };
}

INSTANTIATE_TEST_SUITE_P(Limits, BodyBins, ::testing::ValuesIn(cases()));

}  // namespace
}  // namespace kalviro
