// Body drift by the bin of the raised shutter mean mb: BodyBins45 with its
// three gain columns, BodyBinsFine and CalType 50's bins. Each case is worked
// from the bin table: C = (a - mb) * slope[r] - p, then the bin's gain. A bin
// holds its lower limit, so each limit is tried together with a point just
// below it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "block_builder.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;

// Grid45 with the slopes 10, 12, 14, 16, 20, 24, 30, 36 on rows 0 to 7.
constexpr float kCurve45[12] = {-830, -630, -450, -240, 200, 560, 1160, 2240, 3440, 4760, 6200, 8200};
// GridFine45 with the slopes 10, 11, ... 21 on rows 0 to 11.
constexpr float kCurveFine[12] = {-750, -650, -540, -420, -290, -150, 160, 415, 775, 1155, 1555, 1975};

// Gains b[k] = 1 + k / 16, all exact, so that every extrapolated form has its
// own value: L(n) = 1.0625 - 0.0625 n, D(n) = 1 - 0.0625 n,
// E(n) = 1.5625 + 0.0625 n, H(9, n) = 1.5 + 0.0625 n, H(14, n) = 1.8125 + 0.0625 n.
float gainK(int k) { return 1.0f + static_cast<float>(k) / 16.0f; }

enum class Form { Gain, NoGain, GainWithG };

struct BinCase {
    int calType;
    int32_t tempRange;
    float mb;
    float a;
    float p;      // the curve point the term is read from
    float slope;  // slope[r] of the row the table names
    float gain;
    Form form;
    const char* note;
};

// G = driftGain * 0.2 + 0.8 with driftGain 1.5.
constexpr double kG = 1.5 * 0.2 + 0.8;

float expected(const BinCase& c) {
    const float C = (c.a - c.mb) * c.slope - c.p;
    switch (c.form) {
        case Form::NoGain: return C;
        case Form::Gain: return C * c.gain;
        case Form::GainWithG:
            return static_cast<float>(static_cast<double>(c.gain) * (kG * static_cast<double>(C)));
    }
    return 0.0f;
}

class BodyBins : public ::testing::TestWithParam<BinCase> {};

TEST_P(BodyBins, ConstBOfTheBin) {
    const BinCase c = GetParam();
    Block b = test::quietBlock();
    for (int k = 0; k < 15; ++k) b.with(field::tempBinGain(k), gainK(k));
    const bool fine = c.calType == 51 || c.calType == 50 || (c.calType == 56 && c.tempRange == 2);
    const float* curve = fine ? kCurveFine : kCurve45;
    for (int k = 0; k < 12; ++k) b.with(field::grayCurve(k), curve[k]);
    b.with(field::grayCurveExt(0), 9800.0f).with(field::grayCurveExt(1), 11800.0f);
    b.with(field::driftGain, 1.5f).with(field::tempRange, c.tempRange);
    test::atMean(b, c.mb - 20.0f);
    Camera cam(c.calType);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().const_b, expected(c)) << c.note;
}

const auto G = Form::Gain;
const auto N = Form::NoGain;
const auto WG = Form::GainWithG;

std::vector<BinCase> cases() {
    std::vector<BinCase> out;
    // BodyBins45, Gain 1: 57 and 70 in tempRange 2, 56 in tempRange 3.
    for (auto [ct, range] : {std::pair{57, 2}, std::pair{70, 2}, std::pair{56, 3}}) {
        out.insert(out.end(), {
            {ct, range, -20.5f, -20, -830, 10, 0.4375f, G, "below -20: L(10)"},
            {ct, range, -20.0f, -20, -830, 10, 0.5f, G, "-20 holds L(9)"},
            {ct, range, 44.5f, 45, 0, 16, gainK(4), G, "40 up to 45: b[4]"},
            {ct, range, 47.0f, 45, 0, 20, 1.0f, N, "45 up to 50: no gain"},
            {ct, range, 74.5f, 70, 560, 30, gainK(9), G, "70 up to 75: b[9]"},
            {ct, range, 75.0f, 70, 560, 30, 1.625f, G, "75 holds H(9, 2)"},
            {ct, range, 89.5f, 90, 1160, 30, 1.75f, G, "85 up to 90: H(9, 4)"},
            {ct, range, 92.0f, 90, 1160, 36, 1.8125f, G, "90 and above: H(9, 5) on slope[7]"},
        });
    }
    // Gain 2: 54, 55, 110, 120 in tempRange 2.
    for (int ct : {54, 55, 110, 120}) {
        out.insert(out.end(), {
            {ct, 2, -20.5f, -20, -830, 10, 0.4375f, G, "below -20: D(9)"},
            {ct, 2, -20.0f, -20, -830, 10, 0.5f, G, "-20 holds D(8)"},
            {ct, 2, 19.5f, 15, -450, 14, 0.9375f, G, "15 up to 20: D(1)"},
            {ct, 2, 20.0f, 15, -450, 14, gainK(0), G, "20 holds b[0]"},
            {ct, 2, 80.0f, 90, 1160, 30, 1.6875f, G, "80 holds E(2)"},
            {ct, 2, 92.0f, 90, 1160, 36, 1.8125f, G, "90 and above: E(4)"},
        });
    }
    // Gain 3: 58, which reaches all fifteen gains.
    out.insert(out.end(), {
        {58, 2, 4.5f, 0, -630, 12, 0.9375f, G, "0 up to 5: L(2)"},
        {58, 2, 5.0f, 0, -630, 12, gainK(0), G, "5 holds b[0]"},
        {58, 2, 84.5f, 90, 1160, 30, gainK(14), G, "80 up to 85: b[14]"},
        {58, 2, 85.0f, 90, 1160, 30, 1.9375f, G, "85 holds H(14, 2)"},
        {58, 2, 90.0f, 90, 1160, 36, 2.0f, G, "90 holds H(14, 3)"},
        {58, 2, 92.0f, 90, 1160, 36, 2.0f, G, "H(14, 3) on slope[7]"},
    });
    // BodyBinsFine: 51, and 56 in tempRange 2.
    for (int ct : {51, 56}) {
        out.insert(out.end(), {
            {ct, 2, -15.5f, -15, -750, 10, 0.6875f, G, "below -15: D(5)"},
            {ct, 2, -15.0f, -15, -750, 10, 0.75f, G, "-15 holds D(4)"},
            {ct, 2, 44.5f, 45, 0, 15, gainK(7), G, "40 up to 45: b[7]"},
            {ct, 2, 47.0f, 45, 0, 16, 1.0f, N, "45 up to 50: no gain"},
            {ct, 2, 85.0f, 90, 775, 18, 1.9375f, G, "85 holds H(14, 2)"},
            {ct, 2, 119.5f, 110, 1155, 20, 2.3125f, G, "115 up to 120: H(14, 8)"},
            {ct, 2, 120.0f, 130, 1555, 20, 2.375f, G, "120 holds H(14, 9)"},
            {ct, 2, 124.0f, 130, 1555, 20, 2.375f, G, "124: H(14, 9)"},
            {ct, 2, 125.0f, 130, 1555, 20, gainK(14), G, "125 falls back to b[14]"},
        });
    }
    // CalType 50 on GridFine45: from 15 on the gain meets G in double.
    out.insert(out.end(), {
        {50, 2, 14.5f, 15, -420, 12, gainK(2), G, "5 up to 15: b[2], no G"},
        {50, 2, 15.0f, 25, -290, 13, gainK(3), WG, "15 holds b[3] with G"},
        {50, 2, 69.5f, 55, 160, 17, gainK(7), WG, "55 up to 70: b[7] with G"},
        {50, 2, 70.0f, 70, 415, 18, gainK(8), WG, "70 and above: b[8] with G"},
    });
    return out;
}

INSTANTIATE_TEST_SUITE_P(Limits, BodyBins, ::testing::ValuesIn(cases()), [](const auto& p) {
    std::string mb = std::to_string(static_cast<int>(p.param.mb * 10.0f));
    if (mb[0] == '-') mb[0] = 'm';
    return "CalType" + std::to_string(p.param.calType) + "_Range" + std::to_string(p.param.tempRange) + "_mb" +
           mb + "_" + std::to_string(p.index);
});

}  // namespace
}  // namespace kalviro
