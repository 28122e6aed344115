// Typed access to the 512-byte parameter block.
//
// The block sits at the end of a frame buffer whose size need not be a
// multiple of 4, and it is little-endian whatever the host. Fields are read
// and written byte by byte, never through a cast pointer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kalviro.h"

namespace kalviro {

template <typename T>
struct Field {
    uint32_t offset;
};

namespace field {
// Only the fields the conversion reads or writes. Offset and type come from
// TempFrameInfo in kalviro.h, the one place the camera's layout is written.
#define KALVIRO_BLOCK_FIELD(name) \
    constexpr Field<decltype(TempFrameInfo::name)> name { offsetof(TempFrameInfo, name) }
KALVIRO_BLOCK_FIELD(warmDiffLow);
KALVIRO_BLOCK_FIELD(warmDiffHigh);
KALVIRO_BLOCK_FIELD(itRefTemp);
KALVIRO_BLOCK_FIELD(itSlope);
KALVIRO_BLOCK_FIELD(shutterQuad);
KALVIRO_BLOCK_FIELD(shutterLin);
KALVIRO_BLOCK_FIELD(grayOffset);
KALVIRO_BLOCK_FIELD(warmDivisor);
KALVIRO_BLOCK_FIELD(driftGain);
KALVIRO_BLOCK_FIELD(curveBias);
KALVIRO_BLOCK_FIELD(warmGain);
KALVIRO_BLOCK_FIELD(shutterCH5);
KALVIRO_BLOCK_FIELD(tempRange);
KALVIRO_BLOCK_FIELD(lensType);
KALVIRO_BLOCK_FIELD(upTime);
KALVIRO_BLOCK_FIELD(tempCH1);
KALVIRO_BLOCK_FIELD(tempCH3);
KALVIRO_BLOCK_FIELD(tempCH2);
KALVIRO_BLOCK_FIELD(tempCH5);
KALVIRO_BLOCK_FIELD(distance);
KALVIRO_BLOCK_FIELD(shutterDrift);
KALVIRO_BLOCK_FIELD(tempGain);
KALVIRO_BLOCK_FIELD(atmA);
KALVIRO_BLOCK_FIELD(atmB);
KALVIRO_BLOCK_FIELD(humidity);
KALVIRO_BLOCK_FIELD(tempOffset);
KALVIRO_BLOCK_FIELD(grayBias);
KALVIRO_BLOCK_FIELD(paraA);
KALVIRO_BLOCK_FIELD(paraB);
KALVIRO_BLOCK_FIELD(grayRef);
KALVIRO_BLOCK_FIELD(shutterCH2);
KALVIRO_BLOCK_FIELD(shutterCH3);
KALVIRO_BLOCK_FIELD(driftScale);
KALVIRO_BLOCK_FIELD(warmShift);
KALVIRO_BLOCK_FIELD(warmHold);
KALVIRO_BLOCK_FIELD(windowTrans);
KALVIRO_BLOCK_FIELD(envTemp);
constexpr Field<int32_t> windowTransLong{offsetof(TempFrameInfo, envTemp)};  // the long layout's word
KALVIRO_BLOCK_FIELD(bodyTemp);
constexpr Field<int32_t> envTempLong{offsetof(TempFrameInfo, bodyTemp)};  // the long layout's word
KALVIRO_BLOCK_FIELD(driftGainExt);
KALVIRO_BLOCK_FIELD(auxGate);
constexpr uint32_t paraBlob = offsetof(TempFrameInfo, paraBlob);
constexpr uint32_t paraBlobSize = sizeof(TempFrameInfo::paraBlob);

constexpr Field<float> grayCurve(int k) {
    return {static_cast<uint32_t>(offsetof(TempFrameInfo, grayCurve) + 4 * k)};
}
constexpr Field<float> tempBinGain(int k) {
    return {static_cast<uint32_t>(offsetof(TempFrameInfo, tempBinGain) + 4 * k)};
}
constexpr Field<float> grayCurveExt(int k) {
    return {static_cast<uint32_t>(offsetof(TempFrameInfo, grayCurveExt) + 4 * k)};
}
#undef KALVIRO_BLOCK_FIELD
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
