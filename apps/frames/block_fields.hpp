// The 512-byte block field by field, with names and units, as `info` shows
// it and as the TIFF pages and JSON reports carry it. Values are read from
// the bytes (little-endian), never through the struct.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>
#include <vector>

#include "kalviro.hpp"
#include "kalviro_fields.hpp"

namespace kalviro::cli {

// The fields of a layout in the order of the block (kBlockFields of the
// library: the words at 0x134 and 0x138 and paraBlob depend on the layout).
std::vector<BlockField> blockFields(Layout layout);

// One element of a field in its unit (degrees, metres, percent, seconds...).
double fieldValue(const uint8_t* block, const BlockField& f, uint16_t element = 0);
// The field as text: a number, a list of numbers, or hex for bytes.
std::string fieldText(const uint8_t* block, const BlockField& f);
// The field as JSON: a number, an array, or a hex string.
nlohmann::ordered_json fieldJson(const uint8_t* block, const BlockField& f);

// All fields by name, and their units by name.
nlohmann::ordered_json blockJson(const uint8_t* block, Layout layout);
nlohmann::ordered_json blockUnitsJson(Layout layout);

// A float as JSON prints as its shortest decimal (0.95f as 0.95, not as
// 0.949999988079071).
double shortestDouble(float v);

const char* layoutName(Layout layout);
// The family's name, with ", ranges 2-5" for the four-range variants.
std::string familyText(const CalTypeInfo& c);

inline const uint8_t* blockBytes(const TempFrameInfo& block) {
    return reinterpret_cast<const uint8_t*>(&block);
}

}  // namespace kalviro::cli
