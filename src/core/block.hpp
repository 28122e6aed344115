// Typed access to the 512-byte parameter block.
//
// The block sits at the end of a frame buffer whose size need not be a
// multiple of 4, and it is little-endian whatever the host. Fields are read
// and written byte by byte, never through a cast pointer.
#pragma once

#include <cstdint>
#include <cstring>

namespace kalviro {

template <typename T>
struct Field {
    uint32_t offset;
};

namespace field {
// Only the fields the conversion reads or writes; offsets as the camera lays
// them down.
constexpr Field<float> warmDiffLow{0x030};
constexpr Field<float> warmDiffHigh{0x034};
constexpr Field<float> itRefTemp{0x03c};
constexpr Field<float> itSlope{0x040};
constexpr Field<float> shutterQuad{0x044};
constexpr Field<float> shutterLin{0x048};
constexpr Field<float> grayOffset{0x088};
constexpr Field<float> warmDivisor{0x090};
constexpr Field<float> driftGain{0x09c};
constexpr Field<float> curveBias{0x0a4};
constexpr Field<float> warmGain{0x0c8};
constexpr Field<float> shutterCH5{0x0cc};
constexpr Field<int32_t> tempRange{0x0d0};
constexpr Field<int32_t> lensType{0x0d4};
constexpr Field<int32_t> upTime{0x0d8};
constexpr Field<int32_t> tempCH1{0x0dc};
constexpr Field<int32_t> tempCH3{0x0e0};
constexpr Field<int32_t> tempCH2{0x0e4};
constexpr Field<int32_t> tempCH5{0x0ec};
constexpr Field<int32_t> distance{0x0f0};
constexpr Field<int32_t> shutterDrift{0x0f4};
constexpr Field<int32_t> tempGain{0x0f8};
constexpr Field<int32_t> atmA{0x0fc};
constexpr Field<int32_t> atmB{0x100};
constexpr Field<int32_t> humidity{0x104};
constexpr Field<int32_t> tempOffset{0x108};
constexpr Field<int32_t> grayBias{0x10c};
constexpr Field<int32_t> paraA{0x110};
constexpr Field<int32_t> paraB{0x114};
constexpr Field<int32_t> grayRef{0x118};
constexpr Field<float> shutterCH2{0x11c};
constexpr Field<float> shutterCH3{0x120};
constexpr Field<int32_t> driftScale{0x124};
constexpr Field<float> warmShift{0x128};
constexpr Field<int32_t> warmHold{0x12c};
constexpr Field<int32_t> windowTrans{0x130};
constexpr Field<int32_t> envTemp{0x134};
constexpr Field<int32_t> windowTransLong{0x134};
constexpr Field<int32_t> bodyTemp{0x138};
constexpr Field<int32_t> envTempLong{0x138};
constexpr Field<int32_t> driftGainExt{0x144};
constexpr Field<int32_t> auxGate{0x148};
constexpr uint32_t paraBlob = 0x188;
constexpr uint32_t paraBlobSize = 81;

constexpr Field<float> grayCurve(int k) { return {static_cast<uint32_t>(0x000 + 4 * k)}; }
constexpr Field<float> tempBinGain(int k) { return {static_cast<uint32_t>(0x04c + 4 * k)}; }
constexpr Field<float> grayCurveExt(int k) { return {static_cast<uint32_t>(0x094 + 4 * k)}; }
}  // namespace field

inline uint32_t loadLe32(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
           static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

inline void storeLe32(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
    p[2] = static_cast<uint8_t>(v >> 16);
    p[3] = static_cast<uint8_t>(v >> 24);
}

template <typename T>
inline T get(const uint8_t* block, Field<T> f) {
    static_assert(sizeof(T) == 4, "block fields are 32-bit");
    const uint32_t bits = loadLe32(block + f.offset);
    T v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}

template <typename T>
inline void set(uint8_t* block, Field<T> f, T v) {
    static_assert(sizeof(T) == 4, "block fields are 32-bit");
    uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    storeLe32(block + f.offset, bits);
}

// A temperature field in hundredths, as degrees: int32 to double, divided by
// 100.0, rounded to float.
inline float degrees(const uint8_t* block, Field<int32_t> f) {
    return static_cast<float>(static_cast<double>(get(block, f)) / 100.0);
}

}  // namespace kalviro
