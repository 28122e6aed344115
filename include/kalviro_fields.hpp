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
// In the order of the block. The warm-up clock counts seconds: its limits
// 1200, 1800 and 3000 are twenty to fifty minutes of warming up.
inline constexpr BlockField kBlockFields[] = {
    {"grayCurve", 0x000, field_words::F, 12, 1, "gray", field_words::both, "calibration curve at the grid temperatures of the CalType and tempRange"},
    {"warmDiffLow", 0x030, field_words::F, 1, 1, "degrees", field_words::both, "warm-up shift at full size below this tempCH5 - tempCH1"},
    {"warmDiffHigh", 0x034, field_words::F, 1, 1, "degrees", field_words::both, "no warm-up shift above this tempCH5 - tempCH1"},
    {"itRefTemp", 0x03c, field_words::F, 1, 1, "degrees", field_words::both, "reference subtracted from tempCH5 in the GetIT value"},
    {"itSlope", 0x040, field_words::F, 1, 1, "", field_words::both, "linear coefficient of the GetIT value"},
    {"shutterQuad", 0x044, field_words::F, 1, 1, "gray per degree squared", field_words::both, "shutter drift, quadratic coefficient"},
    {"shutterLin", 0x048, field_words::F, 1, 1, "gray per degree", field_words::both, "shutter drift, linear coefficient"},
    {"tempBinGain", 0x04c, field_words::F, 15, 1, "factor", field_words::both, "body-drift gain per temperature bin"},
    {"grayOffset", 0x088, field_words::F, 1, 1, "gray", field_words::both, "added in gray normalisation"},
    {"warmDivisor", 0x090, field_words::F, 1, 1, "", field_words::both, "divisor of the warm-up shift"},
    {"grayCurveExt", 0x094, field_words::F, 2, 1, "gray", field_words::both, "two more curve points of the 14-row tables"},
    {"driftGain", 0x09c, field_words::F, 1, 1, "factor", field_words::both, "gain of body drift"},
    {"curveBias", 0x0a4, field_words::F, 1, 1, "", field_words::both, "constant of the curve scale factor"},
    {"warmGain", 0x0c8, field_words::F, 1, 1, "", field_words::both, "gain of the warm-up offset"},
    {"shutterCH5", 0x0cc, field_words::F, 1, 1, "degrees", field_words::both, "tempCH5 at the last shutter event"},
    {"tempRange", 0x0d0, field_words::I, 1, 1, "code", field_words::both, "temperature range in use"},
    {"lensType", 0x0d4, field_words::I, 1, 1, "code", field_words::both, "lens in use"},
    {"upTime", 0x0d8, field_words::I, 1, 1, "seconds", field_words::both, "warm-up clock of the camera"},
    {"tempCH1", 0x0dc, field_words::I, 1, 100, "degrees", field_words::both, "internal temperature: the air of the atmospheric correction"},
    {"tempCH3", 0x0e0, field_words::I, 1, 100, "degrees", field_words::both, "internal temperature, partner of tempCH2"},
    {"tempCH2", 0x0e4, field_words::I, 1, 100, "degrees", field_words::both, "internal temperature, input of shutter drift"},
    {"tempCH4", 0x0e8, field_words::I, 1, 100, "degrees", field_words::both, "internal temperature, not used"},
    {"tempCH5", 0x0ec, field_words::I, 1, 100, "degrees", field_words::both, "internal temperature: warm-up rule and GetIT value"},
    {"distance", 0x0f0, field_words::I, 1, 100, "metres", field_words::both, "object distance used"},
    {"shutterDrift", 0x0f4, field_words::I, 1, 1, "gray", field_words::both, "shutter drift, written by most CalTypes"},
    {"tempGain", 0x0f8, field_words::I, 1, 1, "percent", field_words::both, "gain of final scaling, 100 neutral"},
    {"atmA", 0x0fc, field_words::I, 1, 100, "", field_words::both, "atmospheric amplitude"},
    {"atmB", 0x100, field_words::I, 1, 1000, "1/m", field_words::both, "atmospheric decay rate"},
    {"humidity", 0x104, field_words::I, 1, 1, "percent", field_words::both, "relative humidity"},
    {"tempOffset", 0x108, field_words::I, 1, 100, "degrees", field_words::both, "added at the end of final scaling"},
    {"grayBias", 0x10c, field_words::I, 1, 1, "gray", field_words::both, "added in gray normalisation"},
    {"paraA", 0x110, field_words::I, 1, 1, "", field_words::both, "not interpreted"},
    {"paraB", 0x114, field_words::I, 1, 1, "", field_words::both, "not interpreted"},
    {"grayRef", 0x118, field_words::I, 1, 1, "gray", field_words::both, "subtracted in gray normalisation"},
    {"shutterCH2", 0x11c, field_words::F, 1, 1, "degrees", field_words::both, "tempCH2 at the last shutter event"},
    {"shutterCH3", 0x120, field_words::F, 1, 1, "degrees", field_words::both, "tempCH3 at the last shutter event"},
    {"driftScale", 0x124, field_words::I, 1, 100, "factor", field_words::both, "gain of the long-run drift, whole hundreds"},
    {"warmShift", 0x128, field_words::F, 1, 1, "gray", field_words::both, "curve shift carried between frames"},
    {"warmHold", 0x12c, field_words::I, 1, 1, "flag", field_words::both, "not 0: take the shift from warmShift"},
    {"windowTrans", 0x130, field_words::I, 1, 1, "percent", field_words::both, "transmission of a window in front of the lens"},
    {"envTemp", 0x134, field_words::I, 1, 100, "degrees", field_words::base, "environment temperature"},
    {"windowTransLong", 0x134, field_words::I, 1, 1, "percent", field_words::longOnly, "transmission of a window in front of the lens"},
    {"bodyTemp", 0x138, field_words::I, 1, 1, "degrees", field_words::base, "body temperature, whole degrees"},
    {"envTempLong", 0x138, field_words::I, 1, 100, "degrees", field_words::longOnly, "environment temperature"},
    {"driftGainExt", 0x144, field_words::I, 1, 100, "factor", field_words::both, "gain of body drift of CalType 25"},
    {"auxGate", 0x148, field_words::I, 1, 100, "", field_words::both, "switch and band of the final trim"},
    {"paraBlob", 0x188, FieldType::Bytes, 81, 1, "", field_words::longOnly, "opaque camera data"},
};
// clang-format on

constexpr bool inLayout(const BlockField& f, Layout layout) {
    return f.layouts == FieldLayouts::Both || (f.layouts == FieldLayouts::Long) == (layout == Layout::Long);
}

// Where the header's struct lays the fields down, the table agrees.
static_assert(kBlockFields[0].offset == offsetof(TempFrameInfo, grayCurve) &&
                  kBlockFields[17].offset == offsetof(TempFrameInfo, upTime) &&
                  kBlockFields[23].offset == offsetof(TempFrameInfo, distance) &&
                  kBlockFields[39].offset == offsetof(TempFrameInfo, windowTrans) &&
                  kBlockFields[45].offset == offsetof(TempFrameInfo, auxGate) &&
                  kBlockFields[46].offset == offsetof(TempFrameInfo, paraBlob),
              "block field table and TempFrameInfo disagree");

}  // namespace kalviro
