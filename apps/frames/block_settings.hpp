// --set FIELD=VALUE: a block field written by the name and in the unit
// `info` shows, before each frame's per-frame call, so that a recording can
// be converted again with corrected settings. Only the user's measuring
// settings may be set so; the field table of the library gives their places,
// types and divisors, this file their ranges.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kalviro.hpp"
#include "kalviro_fields.hpp"

namespace kalviro::cli {

struct FieldSetting {
    const BlockField* field;
    double value;    // in the field's unit, as given
    int32_t stored;  // the number the block holds
};

// Whether `set` may write the field, and the range of its values in the
// field's unit.
struct SettableRange {
    const char* name;
    double min, max;
};
const SettableRange* settableRange(const char* fieldName);
// Whether `convert --set` writes this field of a layout.
bool settable(const BlockField& field);

// "FIELD=VALUE" for a CalType's layout; Failure, one line, for an unknown
// field, one that may not be set, a value out of range or finer than the
// field holds.
FieldSetting parseSetting(const std::string& text, Layout layout);
// Failure when a field is set twice.
void requireDistinct(const std::vector<FieldSetting>& settings);

void applySettings(TempFrameInfo& block, const std::vector<FieldSetting>& settings);

}  // namespace kalviro::cli
