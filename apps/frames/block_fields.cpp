#include "block_fields.hpp"

#include <charconv>
#include <cstdio>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "le_bytes.hpp"

namespace kalviro::cli {

namespace {

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
    if (f.type == FieldType::Float) return shortestDouble(loadF32(p));
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
    std::vector<BlockField> out;
    for (const BlockField& f : kBlockFields) {
        if (inLayout(f, layout)) out.push_back(f);
    }
    return out;
}

double fieldValue(const uint8_t* block, const BlockField& f, uint16_t element) {
    const uint8_t* p = block + f.offset + 4u * element;
    switch (f.type) {
        case FieldType::Float: return shortestDouble(loadF32(p));
        case FieldType::Int32: return static_cast<double>(loadI32(p)) / f.divisor;
        case FieldType::Bytes: break;
    }
    return 0.0;
}

std::string fieldText(const uint8_t* block, const BlockField& f) {
    if (f.type == FieldType::Bytes) return hexBytes(block + f.offset, f.count);
    std::string out;
    for (uint16_t i = 0; i < f.count; ++i) {
        if (i) out += ' ';
        out += numberText(fieldValue(block, f, i));
    }
    return out;
}

nlohmann::ordered_json fieldJson(const uint8_t* block, const BlockField& f) {
    if (f.type == FieldType::Bytes) return hexBytes(block + f.offset, f.count);
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

std::string familyText(const CalTypeInfo& c) {
    return std::string(familyName(c.family)) + (c.lastTempRange == 5 ? ", ranges 2-5" : "");
}

}  // namespace kalviro::cli
