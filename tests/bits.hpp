// Floats by their bits, and the hex texts of the reference vector files:
// tests compare results bit for bit.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace kalviro::test {

inline float asFloat(uint32_t bits) {
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

inline uint32_t bitsOf(float f) {
    uint32_t b;
    std::memcpy(&b, &f, sizeof b);
    return b;
}

inline uint64_t bitsOf(double d) {
    uint64_t b;
    std::memcpy(&b, &d, sizeof b);
    return b;
}

inline uint32_t hex32(const std::string& s) { return static_cast<uint32_t>(std::stoul(s, nullptr, 16)); }
inline uint64_t hex64(const std::string& s) { return std::stoull(s, nullptr, 16); }

// A float written as the hex of its bits.
inline float floatOfHex(const std::string& hex) { return asFloat(hex32(hex)); }

// Two hex digits a byte.
inline std::vector<uint8_t> hexBytes(const std::string& s) {
    std::vector<uint8_t> out(s.size() / 2);
    for (size_t i = 0; i < out.size(); ++i)
        out[i] = static_cast<uint8_t>(std::stoul(s.substr(2 * i, 2), nullptr, 16));
    return out;
}

}  // namespace kalviro::test
