#include "block_fields.hpp"

#include <charconv>
#include <cstdio>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "le_bytes.hpp"

namespace kalviro::cli {

namespace {

constexpr FieldKind F = FieldKind::F32;
constexpr FieldKind I = FieldKind::I32;

// Offsets, widths and units of the camera's block; one row per field.
const BlockField kFields[] = {
    {"grayCurve", 0x000, F, 12, 1, "gray",
     "calibration curve at the grid temperatures of CalType and tempRange"},
    {"warmDiffLow", 0x030, F, 1, 1, "deg", "warm-up shift at full size below this tempCH5 - tempCH1"},
    {"warmDiffHigh", 0x034, F, 1, 1, "deg", "no warm-up shift above this tempCH5 - tempCH1"},
    {"itRefTemp", 0x03c, F, 1, 1, "deg", "reference subtracted from tempCH5 in the GetIT value"},
    {"itSlope", 0x040, F, 1, 1, "", "linear coefficient of the GetIT value"},
    {"shutterQuad", 0x044, F, 1, 1, "gray/deg^2", "shutter drift, quadratic coefficient"},
    {"shutterLin", 0x048, F, 1, 1, "gray/deg", "shutter drift, linear coefficient"},
    {"tempBinGain", 0x04c, F, 15, 1, "factor", "body-drift gain per temperature bin"},
    {"grayOffset", 0x088, F, 1, 1, "gray", "added in gray normalisation"},
    {"warmDivisor", 0x090, F, 1, 1, "", "divisor of the warm-up shift"},
    {"grayCurveExt", 0x094, F, 2, 1, "gray", "two more curve points (14-row tables)"},
    {"driftGain", 0x09c, F, 1, 1, "factor", "gain of body drift"},
    {"curveBias", 0x0a4, F, 1, 1, "", "constant of the curve scale factor"},
    {"warmGain", 0x0c8, F, 1, 1, "", "gain of the warm-up offset"},
    {"shutterCH5", 0x0cc, F, 1, 1, "deg", "tempCH5 at the last shutter event"},
    {"tempRange", 0x0d0, I, 1, 1, "code", "temperature range in use"},
    {"lensType", 0x0d4, I, 1, 1, "code", "lens in use"},
    {"upTime", 0x0d8, I, 1, 1, "s", "warm-up clock of the camera"},
    {"tempCH1", 0x0dc, I, 1, 100, "deg", "internal temperature: air of the atmospheric correction"},
    {"tempCH3", 0x0e0, I, 1, 100, "deg", "internal temperature, partner of tempCH2"},
    {"tempCH2", 0x0e4, I, 1, 100, "deg", "internal temperature, input of shutter drift"},
    {"tempCH4", 0x0e8, I, 1, 100, "deg", "internal temperature, not used"},
    {"tempCH5", 0x0ec, I, 1, 100, "deg", "internal temperature: warm-up rule and GetIT value"},
    {"distance", 0x0f0, I, 1, 100, "m", "object distance used"},
    {"shutterDrift", 0x0f4, I, 1, 1, "gray", "shutter drift (written by most CalTypes)"},
    {"tempGain", 0x0f8, I, 1, 1, "%", "gain of final scaling, 100 neutral"},
    {"atmA", 0x0fc, I, 1, 100, "", "atmospheric amplitude"},
    {"atmB", 0x100, I, 1, 1000, "1/m", "atmospheric decay rate"},
    {"humidity", 0x104, I, 1, 1, "%", "relative humidity"},
    {"tempOffset", 0x108, I, 1, 100, "deg", "added at the end of final scaling"},
    {"grayBias", 0x10c, I, 1, 1, "gray", "added in gray normalisation"},
    {"paraA", 0x110, I, 1, 1, "", "not interpreted"},
    {"paraB", 0x114, I, 1, 1, "", "not interpreted"},
    {"grayRef", 0x118, I, 1, 1, "gray", "subtracted in gray normalisation"},
    {"shutterCH2", 0x11c, F, 1, 1, "deg", "tempCH2 at the last shutter event"},
    {"shutterCH3", 0x120, F, 1, 1, "deg", "tempCH3 at the last shutter event"},
    {"driftScale", 0x124, I, 1, 100, "factor", "gain of the long-run drift"},
    {"warmShift", 0x128, F, 1, 1, "gray", "curve shift carried between frames"},
    {"warmHold", 0x12c, I, 1, 1, "flag", "not 0: take the shift from warmShift"},
    {"windowTrans", 0x130, I, 1, 1, "%", "transmission of a window in front of the lens"},
};
const BlockField kBaseWords[] = {
    {"envTemp", 0x134, I, 1, 100, "deg", "environment temperature"},
    {"bodyTemp", 0x138, I, 1, 1, "deg", "body temperature in whole degrees"},
};
const BlockField kLongWords[] = {
    {"windowTransLong", 0x134, I, 1, 1, "%", "transmission of a window in front of the lens"},
    {"envTempLong", 0x138, I, 1, 100, "deg", "environment temperature"},
};
const BlockField kTail[] = {
    {"driftGainExt", 0x144, I, 1, 100, "factor", "gain of body drift (CalType 25)"},
    {"auxGate", 0x148, I, 1, 100, "", "switch and band of the final trim"},
};
const BlockField kParaBlob = {"paraBlob", 0x188, FieldKind::Bytes, 81, 1, "", "opaque camera data"};

std::string hexBytes(const uint8_t* p, uint16_t n) {
    std::string out;
    char buf[3];
    for (uint16_t i = 0; i < n; ++i) {
        std::snprintf(buf, sizeof buf, "%02x", p[i]);
        out += buf;
    }
    return out;
}

std::string numberText(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.9g", v);
    return buf;
}

nlohmann::ordered_json elementJson(const uint8_t* block, const BlockField& f, uint16_t i) {
    const uint8_t* p = block + f.offset + 4u * i;
    if (f.kind == FieldKind::F32) return shortestDouble(loadF32(p));
    if (f.divisor == 1) return loadI32(p);
    return static_cast<double>(loadI32(p)) / f.divisor;
}

}  // namespace

double shortestDouble(float v) {
    char buf[32];
    const auto r = std::to_chars(buf, buf + sizeof buf - 1, v);
    *r.ptr = '\0';
    return std::strtod(buf, nullptr);
}

std::vector<BlockField> blockFields(Layout layout) {
    std::vector<BlockField> out(std::begin(kFields), std::end(kFields));
    const BlockField* words = layout == Layout::Long ? kLongWords : kBaseWords;
    out.insert(out.end(), words, words + 2);
    out.insert(out.end(), std::begin(kTail), std::end(kTail));
    if (layout == Layout::Long) out.push_back(kParaBlob);
    return out;
}

double fieldValue(const uint8_t* block, const BlockField& f, uint16_t element) {
    const uint8_t* p = block + f.offset + 4u * element;
    switch (f.kind) {
        case FieldKind::F32: return shortestDouble(loadF32(p));
        case FieldKind::I32: return static_cast<double>(loadI32(p)) / f.divisor;
        case FieldKind::Bytes: break;
    }
    return 0.0;
}

std::string fieldText(const uint8_t* block, const BlockField& f) {
    if (f.kind == FieldKind::Bytes) return hexBytes(block + f.offset, f.count);
    std::string out;
    for (uint16_t i = 0; i < f.count; ++i) {
        if (i) out += ' ';
        out += numberText(fieldValue(block, f, i));
    }
    return out;
}

nlohmann::ordered_json fieldJson(const uint8_t* block, const BlockField& f) {
    if (f.kind == FieldKind::Bytes) return hexBytes(block + f.offset, f.count);
    if (f.count == 1) return elementJson(block, f, 0);
    nlohmann::ordered_json arr = nlohmann::ordered_json::array();
    for (uint16_t i = 0; i < f.count; ++i) arr.push_back(elementJson(block, f, i));
    return arr;
}

nlohmann::ordered_json blockJson(const uint8_t* block, Layout layout) {
    nlohmann::ordered_json out = nlohmann::ordered_json::object();
    for (const BlockField& f : blockFields(layout)) out[f.name] = fieldJson(block, f);
    return out;
}

nlohmann::ordered_json blockUnitsJson(Layout layout) {
    nlohmann::ordered_json out = nlohmann::ordered_json::object();
    for (const BlockField& f : blockFields(layout)) {
        if (*f.unit) out[f.name] = f.unit;
    }
    return out;
}

const char* layoutName(Layout layout) { return layout == Layout::Long ? "long" : "base"; }

const char* familyName(Family family) {
    switch (family) {
        case Family::Direct: return "direct";
        case Family::Direct4: return "direct, ranges 2-5";
        case Family::Ladder: return "ladder";
        case Family::Ladder4: return "ladder, ranges 2-5";
    }
    return "";
}

}  // namespace kalviro::cli
