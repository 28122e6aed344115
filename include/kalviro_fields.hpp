// The parameter block field by field, with names and units, for programs
// that show a block to people: the command-line tool and the Python package
// both read it from here, so the two always agree.
//
// A value in its unit is the stored number divided by `divisor`: the
// hundredths of a degree and of a metre come in degrees and metres, atmA and
// atmB as the amplitude and the rate they stand for. Floats stand as stored.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kalviro.hpp"

namespace kalviro {

enum class FieldType : uint8_t { Float, Int32, Bytes };

// The words at 0x134 and 0x138, and paraBlob, belong to one layout only.
enum class FieldLayouts : uint8_t { Both, Base, Long };

struct BlockField {
    const char* name;
    uint16_t offset;
    FieldType type;
    uint16_t count;  // elements: 12 for grayCurve, 81 bytes for paraBlob, else 1
    double divisor;
    const char* unit;
    FieldLayouts layouts;
    const char* meaning;
};

namespace field_words {
constexpr FieldType F = FieldType::Float;
constexpr FieldType I = FieldType::Int32;
constexpr FieldLayouts both = FieldLayouts::Both;
constexpr FieldLayouts base = FieldLayouts::Base;
constexpr FieldLayouts longOnly = FieldLayouts::Long;
}  // namespace field_words

// clang-format off
// In the order of the block; offsets from TempFrameInfo. The warm-up clock counts seconds: its limits
// 1200, 1800 and 3000 are twenty to fifty minutes of warming up.
inline constexpr BlockField kBlockFields[] = {
    {"grayCurve", offsetof(TempFrameInfo, grayCurve), field_words::F, 12, 1, "gray", field_words::both, "calibration curve at the grid temperatures of the CalType and tempRange"},
    {"warmDiffLow", offsetof(TempFrameInfo, warmDiffLow), field_words::F, 1, 1, "degrees", field_words::both, "warm-up shift at full size below this tempCH5 - tempCH1"},
    {"warmDiffHigh", offsetof(TempFrameInfo, warmDiffHigh), field_words::F, 1, 1, "degrees", field_words::both, "no warm-up shift above this tempCH5 - tempCH1"},
    {"itRefTemp", offsetof(TempFrameInfo, itRefTemp), field_words::F, 1, 1, "degrees", field_words::both, "reference subtracted from tempCH5 in the GetIT value"},
    {"itSlope", offsetof(TempFrameInfo, itSlope), field_words::F, 1, 1, "", field_words::both, "linear coefficient of the GetIT value"},
    {"shutterQuad", offsetof(TempFrameInfo, shutterQuad), field_words::F, 1, 1, "gray per degree squared", field_words::both, "shutter drift, quadratic coefficient"},
    {"shutterLin", offsetof(TempFrameInfo, shutterLin), field_words::F, 1, 1, "gray per degree", field_words::both, "shutter drift, linear coefficient"},
    {"tempBinGain", offsetof(TempFrameInfo, tempBinGain), field_words::F, 15, 1, "factor", field_words::both, "body-drift gain per temperature bin"},
    {"grayOffset", offsetof(TempFrameInfo, grayOffset), field_words::F, 1, 1, "gray", field_words::both, "added in gray normalisation"},
    {"warmDivisor", offsetof(TempFrameInfo, warmDivisor), field_words::F, 1, 1, "", field_words::both, "divisor of the warm-up shift"},
    {"grayCurveExt", offsetof(TempFrameInfo, grayCurveExt), field_words::F, 2, 1, "gray", field_words::both, "two more curve points of the 14-row tables"},
    {"driftGain", offsetof(TempFrameInfo, driftGain), field_words::F, 1, 1, "factor", field_words::both, "gain of body drift"},
    {"curveBias", offsetof(TempFrameInfo, curveBias), field_words::F, 1, 1, "", field_words::both, "constant of the curve scale factor"},
    {"warmGain", offsetof(TempFrameInfo, warmGain), field_words::F, 1, 1, "", field_words::both, "gain of the warm-up offset"},
    {"shutterCH5", offsetof(TempFrameInfo, shutterCH5), field_words::F, 1, 1, "degrees", field_words::both, "tempCH5 at the last shutter event"},
    {"tempRange", offsetof(TempFrameInfo, tempRange), field_words::I, 1, 1, "code", field_words::both, "temperature range in use"},
    {"lensType", offsetof(TempFrameInfo, lensType), field_words::I, 1, 1, "code", field_words::both, "lens in use"},
    {"upTime", offsetof(TempFrameInfo, upTime), field_words::I, 1, 1, "seconds", field_words::both, "warm-up clock of the camera"},
    {"tempCH1", offsetof(TempFrameInfo, tempCH1), field_words::I, 1, 100, "degrees", field_words::both, "internal temperature: the air of the atmospheric correction"},
    {"tempCH3", offsetof(TempFrameInfo, tempCH3), field_words::I, 1, 100, "degrees", field_words::both, "internal temperature, partner of tempCH2"},
    {"tempCH2", offsetof(TempFrameInfo, tempCH2), field_words::I, 1, 100, "degrees", field_words::both, "internal temperature, input of shutter drift"},
    {"tempCH4", offsetof(TempFrameInfo, tempCH4), field_words::I, 1, 100, "degrees", field_words::both, "internal temperature, not used"},
    {"tempCH5", offsetof(TempFrameInfo, tempCH5), field_words::I, 1, 100, "degrees", field_words::both, "internal temperature: warm-up rule and GetIT value"},
    {"distance", offsetof(TempFrameInfo, distance), field_words::I, 1, 100, "metres", field_words::both, "object distance used"},
    {"shutterDrift", offsetof(TempFrameInfo, shutterDrift), field_words::I, 1, 1, "gray", field_words::both, "shutter drift, written by most CalTypes"},
    {"tempGain", offsetof(TempFrameInfo, tempGain), field_words::I, 1, 1, "percent", field_words::both, "gain of final scaling, 100 neutral"},
    {"atmA", offsetof(TempFrameInfo, atmA), field_words::I, 1, 100, "", field_words::both, "atmospheric amplitude"},
    {"atmB", offsetof(TempFrameInfo, atmB), field_words::I, 1, 1000, "1/m", field_words::both, "atmospheric decay rate"},
    {"humidity", offsetof(TempFrameInfo, humidity), field_words::I, 1, 1, "percent", field_words::both, "relative humidity"},
    {"tempOffset", offsetof(TempFrameInfo, tempOffset), field_words::I, 1, 100, "degrees", field_words::both, "added at the end of final scaling"},
    {"grayBias", offsetof(TempFrameInfo, grayBias), field_words::I, 1, 1, "gray", field_words::both, "added in gray normalisation"},
    {"paraA", offsetof(TempFrameInfo, paraA), field_words::I, 1, 1, "", field_words::both, "not interpreted"},
    {"paraB", offsetof(TempFrameInfo, paraB), field_words::I, 1, 1, "", field_words::both, "not interpreted"},
    {"grayRef", offsetof(TempFrameInfo, grayRef), field_words::I, 1, 1, "gray", field_words::both, "subtracted in gray normalisation"},
    {"shutterCH2", offsetof(TempFrameInfo, shutterCH2), field_words::F, 1, 1, "degrees", field_words::both, "tempCH2 at the last shutter event"},
    {"shutterCH3", offsetof(TempFrameInfo, shutterCH3), field_words::F, 1, 1, "degrees", field_words::both, "tempCH3 at the last shutter event"},
    {"driftScale", offsetof(TempFrameInfo, driftScale), field_words::I, 1, 100, "factor", field_words::both, "gain of the long-run drift, whole hundreds"},
    {"warmShift", offsetof(TempFrameInfo, warmShift), field_words::F, 1, 1, "gray", field_words::both, "curve shift carried between frames"},
    {"warmHold", offsetof(TempFrameInfo, warmHold), field_words::I, 1, 1, "flag", field_words::both, "not 0: take the shift from warmShift"},
    {"windowTrans", offsetof(TempFrameInfo, windowTrans), field_words::I, 1, 1, "percent", field_words::both, "transmission of a window in front of the lens"},
    {"envTemp", offsetof(TempFrameInfo, envTemp), field_words::I, 1, 100, "degrees", field_words::base, "environment temperature"},
    {"windowTransLong", offsetof(TempFrameInfo, envTemp), field_words::I, 1, 1, "percent", field_words::longOnly, "transmission of a window in front of the lens"},
    {"bodyTemp", offsetof(TempFrameInfo, bodyTemp), field_words::I, 1, 1, "degrees", field_words::base, "body temperature, whole degrees"},
    {"envTempLong", offsetof(TempFrameInfo, bodyTemp), field_words::I, 1, 100, "degrees", field_words::longOnly, "environment temperature"},
    {"driftGainExt", offsetof(TempFrameInfo, driftGainExt), field_words::I, 1, 100, "factor", field_words::both, "gain of body drift of CalType 25"},
    {"auxGate", offsetof(TempFrameInfo, auxGate), field_words::I, 1, 100, "", field_words::both, "switch and band of the final trim"},
    {"paraBlob", offsetof(TempFrameInfo, paraBlob), FieldType::Bytes, 81, 1, "", field_words::longOnly, "opaque camera data"},
};
// clang-format on

constexpr bool inLayout(const BlockField& f, Layout layout) {
    return f.layouts == FieldLayouts::Both || (f.layouts == FieldLayouts::Long) == (layout == Layout::Long);
}

}  // namespace kalviro
