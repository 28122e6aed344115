// The scaled-curve stage's decisions at their limits: the bin of a weight
// list that xb on an edge falls into (the bin above), the ladder row of a
// latched temperature on an edge (the row below, in LH the row above), the
// curve scale's switch at e = 0 and 134's lean. Expected values are worked
// by hand from the gains below.
#include <gtest/gtest.h>

#include <string>

#include "ladder/recipes.hpp"
#include "ladder/weights.hpp"
#include "ladder_frame.hpp"

namespace kalviro::ladder {
namespace {

// No three gains on a straight line, so that neighbouring bins differ.
test::Block gainBlock() {
    test::Block b;
    test::withGains(b, {0.75f, 0.875f, 1.125f, 1.25f, 1.5f, 1.0625f, 0.9375f, 1.1875f, 0.8125f, 1.375f,
                        0.625f, 1.25f, 1.5f, 1.125f, 0.375f});
    return b.with(field::driftGain, 1.5f).with(field::itSlope, 0.125f).with(field::itRefTemp, 30.0f);
}

using test::caseName;

struct WeightEdge {
    const char* name;
    Weights list;
    float xb;
    double weight;
};

class WeightAtEdge : public ::testing::TestWithParam<WeightEdge> {};

TEST_P(WeightAtEdge, TakesTheBinAbove) {
    const WeightEdge& w = GetParam();
    EXPECT_NEAR(weightOf(w.list, w.xb, test::frameOf(gainBlock())), w.weight, 1e-12);
}

INSTANTIATE_TEST_SUITE_P(
    Lists, WeightAtEdge,
    ::testing::Values(WeightEdge{"W73At0", Weights::W73, 0.0f, 0.75},     // bg[0]; below 2 bg[0] - bg[1]
                      WeightEdge{"W73At90", Weights::W73, 90.0f, 0.75},   // 2 bg[13] - bg[12]; below bg[13]
                      WeightEdge{"W133At45", Weights::W133, 45.0f, 1.0},  // where 73 has bg[8]
                      WeightEdge{"W74AtMinus5", Weights::W74, -5.0f, 0.75},    // bg[0] + 0; below 0.3
                      WeightEdge{"W74At40", Weights::W74, 40.0f, 2.625},       // bg[9] + bg[11]; below 2.0625
                      WeightEdge{"W76At67", Weights::W76, 67.5f, 1.375},       // L(11, 65), half way
                      WeightEdge{"W136At72", Weights::W136, 72.5f, 1.375},     // L(11, 70)
                      WeightEdge{"W134At45", Weights::W134, 45.0f, 0.25},      // (0.94 - bg[0]) + 0.06
                      WeightEdge{"W3At45", Weights::W3, 45.0f, 1.0},           // below, bg[0] + bg[4] * 0
                      WeightEdge{"T2At32", Weights::T2Steps96, 32.5f, 1.25},   // (0.5 * 2.5) / 5.0 + 1.0
                      WeightEdge{"T2At35", Weights::T2Steps96, 35.0f, 1.0},    // 35 exactly: 1
                      WeightEdge{"T2At35_5", Weights::T2Steps96, 35.5f, 1.5},  // driftGain
                      WeightEdge{"Hot35At35", Weights::Hot35, 35.0f, 1.0},     // driftGain only above 35
                      WeightEdge{"TableBAt75", Weights::TableB, 75.0f, 1.9375},         // 2q - p; below q
                      WeightEdge{"LongAtMinus20", Weights::TableBLong, -20.0f, -0.25},  // a - 8 (b - a)
                      WeightEdge{"LongAt90", Weights::TableBLong, 90.0f, 3.625}),       // q + 4 (q - p)
    caseName<WeightEdge>);

// const_d of N = 7 counts. LA to LE and LH multiply by a float, where the
// row shows a gain by (float)(bg[k] + literal); LF, LG and 134 multiply in
// double and round once. LI reads the present c1, here w.
struct MultiplierEdge {
    const char* name;
    Drift table;
    float w;
    float constD;
};

class MultiplierAtEdge : public ::testing::TestWithParam<MultiplierEdge> {};

TEST_P(MultiplierAtEdge, MultipliesByItsRow) {
    const MultiplierEdge& l = GetParam();
    const test::Block b = gainBlock();
    Frame f = test::frameOf(b);
    f.c.c1 = l.w;
    CalState st;
    st.w1 = st.w2 = st.ch = st.const_CH1 = l.w;
    EXPECT_EQ(multipliedDrift(l.table, 7, f, st), l.constD);
}

INSTANTIATE_TEST_SUITE_P(
    MultiplierTables, MultiplierAtEdge,
    ::testing::Values(MultiplierEdge{"LDAt65", Drift::LD, 65.0f, 12.59999942779541f},  // 7 * 1.8f
                      MultiplierEdge{"LDDip", Drift::LD, 65.5f, 7.0f},                 // (65, 70]: 1.0
                      MultiplierEdge{"LDAt70", Drift::LD, 70.0f, 7.0f},                // still the dip
                      MultiplierEdge{"LDAbove70", Drift::LD, 70.5f, 14.0f},            // 2.0
                      MultiplierEdge{"LDAt45", Drift::LD, 45.0f, 9.09999942779541f},   // (35, 45]: 1.3
                      MultiplierEdge{"LEAt20", Drift::LE, 20.0f,
                                     14.17500114440918f},                  // (float)(bg[13] + 0.9)
                      MultiplierEdge{"LAAt25", Drift::LA, 25.0f, 7.875f},  // bg[14] + 0.75
                      MultiplierEdge{"LCAt10", Drift::LC, 10.0f, 5.075000286102295f},     // 0.725
                      MultiplierEdge{"LFAt25", Drift::LF, 25.0f, 7.0f},                   // (float)N itself
                      MultiplierEdge{"LFAbove25", Drift::LF, 25.5f, 7.349999904632568f},  // (float)(7 * 1.05)
                      MultiplierEdge{"LHAt25", Drift::LH, 25.0f, 7.0f},                   // [25, 30): 1
                      MultiplierEdge{"LHAt50", Drift::LH, 50.0f, 9.625f},                 // 1.375
                      MultiplierEdge{"L134At70", Drift::L134, 70.0f, 13.300000190734863f},  // 1.9
                      MultiplierEdge{"LIAt25", Drift::LI, 25.0f, 7.0f},                     // T1 <= 25: N
                      MultiplierEdge{"LIAt30", Drift::LI, 30.0f, 7.233333110809326f}),  // (5 * 0.2) / 30 + 1
    caseName<MultiplierEdge>);

// The curve scale g at sensor distance e, driftGain 1.5, itSlope 0.125,
// bg[14] 0.375, itRefTemp 30.
struct ScaleCase {
    const char* name;
    int32_t calType;
    int32_t range;
    float e;
    float g;
};

class CurveScaleAt : public ::testing::TestWithParam<ScaleCase> {};

TEST_P(CurveScaleAt, FollowsTheSensor) {
    const ScaleCase& s = GetParam();
    const test::Block b = gainBlock();
    Frame f = test::frameOf(b);
    f.dIT = s.e;
    f.c.c5 = 30.0f + s.e;
    EXPECT_EQ(curveScale(*branchFor(*Recipes::rowFor(s.calType), s.range), f), s.g);
}

INSTANTIATE_TEST_SUITE_P(
    Scales, CurveScaleAt,
    ::testing::Values(ScaleCase{"SwitchBelowZero", 77, 2, -1.0f, 1.4832379817962646f},  // S2 with bg[14]
                      ScaleCase{"NoSwitch", 74, 2, -1.0f, 1.4857380390167236f},         // S2 with itSlope
                      ScaleCase{"SwitchAtZero", 77, 2, 0.0f, 1.5f},                    // driftGain either way
                      ScaleCase{"SwitchAboveZero", 77, 2, 1.0f, 1.5143320560455322f},  // itSlope
                      ScaleCase{"Lean134Above", 134, 2, 3.5f, 1.5261064767837524f},    // 1.5271065 - 0.001
                      ScaleCase{"Lean134Below", 134, 2, -3.5f, 1.4719598293304443f}),  // S9, no lean
    caseName<ScaleCase>);

}  // namespace
}  // namespace kalviro::ladder
