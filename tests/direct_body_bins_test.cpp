// Body drift by the bin of the raised shutter mean mb: BodyBins45 with its
// three gain columns, BodyBinsFine, 57's Table 4 in tempRange 3 and CalType
// 50's bins. Each case is worked by hand from the bin table: C = (a - mb) *
// slope[r] - p, then the bin's gain; the note gives C and the gain. A bin
// holds its lower limit, so a limit is tried together with a point just
// below it.
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

struct BinCase {
    int calType;
    int32_t tempRange;
    float mb, want;
    const char* note;
};

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
    EXPECT_EQ(stateOf(cam).const_b, c.want) << c.note;
}

std::vector<BinCase> cases() {
    return {
        // BodyBins45, Gain 1: 57 in tempRange 2, 56 in tempRange 3.
        {57, 2, -20.5f, 365.3125f, "below -20: 835 * L(10) 0.4375"},
        {57, 2, -20.0f, 415.0f, "-20 holds L(9): 830 * 0.5"},
        {57, 2, 47.0f, -40.0f, "45 up to 50: -2 * 20, no gain"},
        {57, 2, 74.5f, -1085.9375f, "70 up to 75: -695 * b[9] 1.5625"},
        {57, 2, 75.0f, -1153.75f, "75 holds H(9, 2): -710 * 1.625"},
        {56, 3, 92.0f, -2233.0f, "90 and above: -1232 * H(9, 5) 1.8125, on slope[7]"},
        // Gain 2: 54.
        {54, 2, -20.0f, 415.0f, "-20 holds D(8): 830 * 0.5"},
        {54, 2, 19.5f, 362.8125f, "15 up to 20: 387 * D(1) 0.9375"},
        {54, 2, 20.0f, 380.0f, "20 holds b[0]: 380 * 1"},
        {54, 2, 80.0f, -1451.25f, "80 holds E(2): -860 * 1.6875"},
        // Gain 3: 58, which reaches all fifteen gains.
        {58, 2, 84.5f, -1865.625f, "80 up to 85: -995 * b[14] 1.875"},
        {58, 2, 85.0f, -1956.875f, "85 holds H(14, 2): -1010 * 1.9375"},
        {58, 2, 90.0f, -2320.0f, "90 holds H(14, 3): -1160 * 2"},
        // BodyBinsFine: 51, and 56 in tempRange 2.
        {51, 2, -15.0f, 562.5f, "-15 holds D(4): 750 * 0.75"},
        {51, 2, 47.0f, -32.0f, "45 up to 50: -2 * 16, no gain"},
        {51, 2, 119.5f, -3110.3125f, "115 up to 120: -1345 * H(14, 8) 2.3125"},
        {51, 2, 124.0f, -3408.125f, "120 up to 125: -1435 * H(14, 9) 2.375"},
        {51, 2, 125.0f, -2728.125f, "125 falls back to b[14]: -1455 * 1.875"},
        {56, 2, 125.0f, -2728.125f, "125 falls back to b[14]: -1455 * 1.875"},
        // Table 4: 40 up to 45 is a gap that takes the outer bins' gain.
        {57, 3, 39.0f, 8.25f, "6 * b[6] 1.375"},
        {57, 3, 40.0f, 10.0f, "gap: 5 * H(14, 3) 2"},
        {57, 3, 42.0f, 6.0f, "gap: 3 * H(14, 3) 2"},
        {57, 3, 47.0f, -2.0f, "-2, no gain"},
        {57, 3, 50.0f, -7.5f, "-5 * b[8] 1.5"},
        // CalType 50 on GridFine45: from 15 on the gain meets G in double.
        {50, 2, 14.5f, 479.25f, "5 up to 15: 426 * b[2] 1.125, no G"},
        {50, 2, 15.0f, 548.625f, "15 holds b[3]: 1.1875 * (G 1.1 * 420) in double"},
    };
}

INSTANTIATE_TEST_SUITE_P(Limits, BodyBins, ::testing::ValuesIn(cases()));

}  // namespace
}  // namespace kalviro
