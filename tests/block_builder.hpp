// Blocks for tests: a zeroed 512-byte block, set field by field through the
// library's own accessors, held at an odd address as at the end of a frame
// whose size is not a multiple of 4.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "core/block.hpp"
#include "kalviro.h"

namespace kalviro::test {

class Block {
public:
    Block() { bytes_.fill(0); }

    template <typename T>
    Block& with(Field<T> f, T v) {
        set(raw(), f, v);
        return *this;
    }
    Block& curve(std::initializer_list<float> g) {
        int k = 0;
        for (float v : g) set(raw(), field::grayCurve(k++), v);
        return *this;
    }
    Block& gains(float v) {
        for (int k = 0; k < 15; ++k) set(raw(), field::tempBinGain(k), v);
        return *this;
    }

    template <typename T>
    T read(Field<T> f) const {
        return get(raw(), f);
    }

    uint8_t* raw() { return bytes_.data() + 1; }
    const uint8_t* raw() const { return bytes_.data() + 1; }
    TempFrameInfo* info() { return reinterpret_cast<TempFrameInfo*>(raw()); }
    const TempFrameInfo* info() const { return reinterpret_cast<const TempFrameInfo*>(raw()); }

    // The 512 bytes as they stand, to compare before and after a call.
    std::array<uint8_t, 512> snapshot() const {
        std::array<uint8_t, 512> out;
        std::memcpy(out.data(), raw(), 512);
        return out;
    }

private:
    std::array<uint8_t, 513> bytes_;
};

// The worked block of the baseline in tempRange 2 (per-frame 5392, per-pixel
// 5388 for gray 1000 at emissivity 0.95).
inline Block workedBlockRange2() {
    Block b;
    b.curve({-1600, -1000, -400, 400, 1100, 2100, 3100, 4700, 6300, 7900, 9500, 11700})
        .gains(1.0f)
        .with(field::warmDiffLow, 2.0f)
        .with(field::warmDiffHigh, 6.0f)
        .with(field::shutterQuad, 0.5f)
        .with(field::shutterLin, 2.0f)
        .with(field::grayOffset, 10.0f)
        .with(field::warmDivisor, 25.0f)
        .with(field::driftGain, 1.0f)
        .with(field::upTime, 600)
        .with(field::tempCH1, 2500)
        .with(field::tempCH3, 3000)
        .with(field::tempCH2, 3100)
        .with(field::tempCH5, 2900)
        .with(field::distance, 1000)
        .with(field::tempGain, 100)
        .with(field::humidity, 60)
        .with(field::tempOffset, 0)
        .with(field::grayBias, 0)
        .with(field::grayRef, 0)
        .with(field::shutterCH2, 30.0f)
        .with(field::shutterCH3, 29.0f)
        .with(field::warmHold, 0)
        .with(field::tempRange, 2);
    return b;
}

// The same block in tempRange 3 with the high-range curve (gray 3000).
inline Block workedBlockRange3() {
    Block b = workedBlockRange2();
    b.curve({-1000, -600, 400, 1500, 2700, 4000, 6800, 9900}).with(field::tempRange, 3);
    return b;
}

// That block in tempRange 4 after the warm-up: the long-run drift.
inline Block workedBlockRange4() {
    Block b = workedBlockRange3();
    b.with(field::tempRange, 4).with(field::upTime, 3500).with(field::driftScale, 250).with(field::distance, 600);
    return b;
}

// A frame in which the lookup value is the gray value itself: no drift, no
// body drift (m = 25), no gray offset, the shift held at s. Air at 25 degrees,
// neutral distance, neutral gain, past the warm-up.
inline Block plainBlock(int32_t tempRange, std::initializer_list<float> curve, float s) {
    Block b;
    b.curve(curve)
        .gains(1.0f)
        .with(field::tempRange, tempRange)
        .with(field::shutterCH2, 25.0f)
        .with(field::shutterCH3, 25.0f)
        .with(field::warmDivisor, 1.0f)
        .with(field::warmHold, 1)
        .with(field::warmShift, s)
        .with(field::tempCH1, 2500)
        .with(field::tempCH2, 2500)
        .with(field::tempCH3, 2500)
        .with(field::tempCH5, 2500)
        .with(field::distance, 150)
        .with(field::humidity, 60)
        .with(field::tempGain, 100)
        .with(field::upTime, 2000);
    return b;
}

}  // namespace kalviro::test
