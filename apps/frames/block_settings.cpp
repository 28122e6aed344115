#include "block_settings.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "failure.hpp"
#include "le_bytes.hpp"

namespace kalviro::cli {

namespace {

// The measuring settings a user chooses on the camera, in the units `info`
// shows them in.
constexpr SettableRange kSettable[] = {
    {"distance", 0.0, 1.0e6},        {"humidity", 0.0, 100.0},    {"envTemp", -100.0, 1000.0},
    {"envTempLong", -100.0, 1000.0}, {"windowTrans", 1.0, 100.0}, {"windowTransLong", 1.0, 100.0},
    {"tempOffset", -100.0, 100.0},
};

std::string number(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.10g", v);
    return buf;
}

std::string settableNames(Layout layout) {
    std::string out;
    for (const SettableRange& r : kSettable) {
        for (const BlockField& f : kBlockFields) {
            if (std::strcmp(f.name, r.name) == 0 && inLayout(f, layout))
                out += (out.empty() ? "" : ", ") + std::string(r.name);
        }
    }
    return out;
}

}  // namespace

const SettableRange* settableRange(const char* fieldName) {
    for (const SettableRange& r : kSettable) {
        if (std::strcmp(r.name, fieldName) == 0) return &r;
    }
    return nullptr;
}

bool settable(const BlockField& field) {
    return field.type == FieldType::Int32 && settableRange(field.name) != nullptr;
}

FieldSetting parseSetting(const std::string& text, Layout layout) {
    const size_t eq = text.find('=');
    if (eq == std::string::npos || eq == 0)
        throw Failure("bad --set '" + text + "': expected FIELD=VALUE, FIELD one of " +
                      settableNames(layout));
    const std::string name = text.substr(0, eq), valueText = text.substr(eq + 1);
    const BlockField* field = nullptr;
    for (const BlockField& f : kBlockFields) {
        if (name == f.name && inLayout(f, layout)) field = &f;
    }
    const SettableRange* range = settableRange(name.c_str());
    if (field == nullptr || !settable(*field)) {
        throw Failure("--set cannot write '" + name + "'" + (field ? "" : ", no field of this layout") +
                      ": fields it writes: " + settableNames(layout));
    }
    char* end = nullptr;
    const double v = std::strtod(valueText.c_str(), &end);
    const std::string unit = *field->unit ? std::string(" ") + field->unit : "";
    if (valueText.empty() || *end != '\0' || !std::isfinite(v) || v < range->min || v > range->max) {
        throw Failure("bad --set " + name + "=" + valueText + ": expected " + number(range->min) + " to " +
                      number(range->max) + unit);
    }
    const double scaled = v * field->divisor;
    const double stored = std::round(scaled);
    if (std::fabs(scaled - stored) > 1e-6 * std::max(1.0, std::fabs(scaled))) {
        throw Failure("bad --set " + name + "=" + valueText + ": the block holds it in steps of " +
                      number(1.0 / field->divisor) + unit);
    }
    return FieldSetting{field, v, static_cast<int32_t>(stored)};
}

void requireDistinct(const std::vector<FieldSetting>& settings) {
    for (size_t i = 0; i < settings.size(); ++i) {
        for (size_t j = 0; j < i; ++j) {
            if (settings[i].field->offset == settings[j].field->offset)
                throw Failure(std::string("--set names ") + settings[i].field->name + " twice");
        }
    }
}

void applySettings(TempFrameInfo& block, const std::vector<FieldSetting>& settings) {
    auto* bytes = reinterpret_cast<uint8_t*>(&block);
    for (const FieldSetting& s : settings) storeI32(bytes + s.field->offset, s.stored);
}

}  // namespace kalviro::cli
