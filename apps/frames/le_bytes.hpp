// The frame file and the block are little-endian whatever the host: every
// number goes through these byte-wise accessors.
#pragma once

#include <cstdint>
#include <cstring>

namespace kalviro::cli {

inline uint32_t loadU32(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
           static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

inline int32_t loadI32(const uint8_t* p) {
    const uint32_t u = loadU32(p);
    int32_t v;
    std::memcpy(&v, &u, sizeof v);
    return v;
}

inline float loadF32(const uint8_t* p) {
    const uint32_t u = loadU32(p);
    float v;
    std::memcpy(&v, &u, sizeof v);
    return v;
}

inline void storeU32(uint8_t* p, uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
}

inline void storeI32(uint8_t* p, int32_t v) { storeU32(p, static_cast<uint32_t>(v)); }

inline void storeF32(uint8_t* p, float v) {
    uint32_t u;
    std::memcpy(&u, &v, sizeof u);
    storeU32(p, u);
}

}  // namespace kalviro::cli
