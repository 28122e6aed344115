// GetITValue, for CalTypes of both families: a polynomial of degree three
// at most in the distance of tempCH5 from the camera's reference itRefTemp.
// Members are rows of one table, keyed by CalType and tempRange; the block
// is only read.
#pragma once

#include <cstdint>

namespace kalviro::getit {

enum class ItForm : uint8_t {
    Cubic,      // c3 and c2 are constants of the cell
    Linear,     // itDelta * itSlope only
    Zero,       // 0.0, the block unread
    ExtCubic,   // cubic in float with grayCurveExt[0], [1]
    GainCubic,  // cubic in float with tempBinGain[10], [11]
    Undefined,  // no value for this range: 0.0 stands in
};

struct ItCell {
    ItForm form;
    double c3;
    double c2;
};

constexpr ItCell cubic(double c3, double c2) { return {ItForm::Cubic, c3, c2}; }
constexpr ItCell linear{ItForm::Linear, 0, 0};
constexpr ItCell zero{ItForm::Zero, 0, 0};
constexpr ItCell extCubic{ItForm::ExtCubic, 0, 0};
constexpr ItCell gainCubic{ItForm::GainCubic, 0, 0};
constexpr ItCell undefined{ItForm::Undefined, 0, 0};

constexpr bool half = true;
constexpr bool noHalf = false;

struct ItRow {
    int32_t members[14];
    ItCell cells[4];  // tempRange 2, 3, 4, any other
    bool half;
};

// clang-format off
constexpr ItRow kRows[] = {
    {{20}, {cubic(-0.000247, 0.032593), cubic(-7.8e-05, 0.007937), zero, zero}, noHalf},
    {{21, 90, 91, 93, 94, 95}, {cubic(0.000195, -0.032352), cubic(7.8e-05, -0.008741), cubic(1.74e-05, -0.00204537), undefined}, half},
    {{23}, {cubic(0.000195, -0.032352), cubic(3.9e-05, -0.002728), zero, zero}, noHalf},
    {{24, 26}, {extCubic, extCubic, extCubic, extCubic}, noHalf},
    {{25}, {linear, linear, linear, linear}, noHalf},
    {{27, 100}, {cubic(9.0824e-06, -0.00495584), linear, zero, zero}, noHalf},
    {{50, 51, 52}, {cubic(-7.043e-05, 0.016577), cubic(-7.043e-05, 0.016577), cubic(-7.043e-05, 0.016577), cubic(-7.043e-05, 0.016577)}, noHalf},
    {{54, 110, 111}, {gainCubic, gainCubic, gainCubic, gainCubic}, noHalf},
    {{55, 120, 121}, {cubic(0.000158, -0.013827), cubic(0.000158, -0.013827), cubic(0.000158, -0.013827), cubic(0.000158, -0.013827)}, noHalf},
    {{56}, {cubic(-0.000154814928402905, 0.0142839200977729), cubic(-7.143e-05, 0.01144754), undefined, undefined}, noHalf},
    {{57, 70, 71, 72}, {cubic(-0.00012474874, 0.018076006), cubic(-0.000115632147072285, 0.0098193120104784), cubic(-2.40477091530815e-05, 0.00370262882507424), undefined}, noHalf},
    {{58}, {cubic(-0.00012474874, 0.018076006), cubic(-0.000115632147072285, 0.0098193120104784), undefined, undefined}, noHalf},
    {{73, 74, 75, 76, 77, 78, 85, 96, 133, 135, 136, 137, 138, 140}, {zero, zero, zero, zero}, noHalf},
    {{80, 81, 82, 84}, {cubic(-0.000247, 0.032593), cubic(-7.8e-05, 0.007937), cubic(-1.59414104045404e-05, 0.00557585827760067), zero}, noHalf},
    {{83}, {cubic(-0.000139, 0.027305), cubic(-4.77e-05, 0.0077567), cubic(-1.59414104045404e-05, 0.00557585827760067), zero}, noHalf},
    {{92}, {cubic(-0.000165134032818593, 0.017486549741088), cubic(-0.000214798683494655, 0.0166190755950175), cubic(1.74e-05, -0.00204537), undefined}, half},
    {{101}, {cubic(1.14657276919182e-05, -0.00455412709886126), linear, zero, zero}, noHalf},
    {{102}, {cubic(1.14657276919182e-05, -0.00455412709886126), cubic(-5.74207046981574e-06, -0.00464684156067616), zero, zero}, noHalf},
    {{130, 131}, {cubic(-7.2304925114637e-05, 0.0168355161825247), cubic(-3.90677583686755e-05, 0.00457333967049565), cubic(-3.90677583686755e-05, 0.00457333967049565), undefined}, noHalf},
    {{132, 134}, {zero, cubic(-3.90677583686755e-05, 0.00457333967049565), cubic(-3.90677583686755e-05, 0.00457333967049565), undefined}, noHalf},
};
// clang-format on

// The index of a CalType's row, or -1. By number, so that the sanitizers'
// builds can still evaluate the checks on it at compile time.
constexpr int rowIndex(int32_t calType) {
    for (int i = 0; i < static_cast<int>(sizeof kRows / sizeof kRows[0]); ++i) {
        for (int32_t m : kRows[i].members) {
            if (m == 0) break;
            if (m == calType) return i;
        }
    }
    return -1;
}

// Whether a CalType has a GetITValue_NN: a row of this table.
constexpr bool hasGetITRow(int32_t calType) { return rowIndex(calType) >= 0; }

// GetITValue_NN of a CalType from its row; 0.0 for one without a row, and
// where its row has no value for the tempRange.
double getITValue(int32_t calType, const uint8_t* block);

}  // namespace kalviro::getit
