// Blocks for tests: a zeroed 512-byte block, set field by field through the
// library's own accessors, held at an odd address as at the end of a frame
// whose size is not a multiple of 4.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>

#include "api/module.hpp"
#include "core/block.hpp"
#include "kalviro.h"
#include "sample_block.h"

namespace kalviro::test {

// The name of a parameterised case: its `name` member.
template <typename Case>
std::string caseName(const testing::TestParamInfo<Case>& i) {
    return i.param.name;
}

// The statics a camera holds.
inline const CalState& stateOf(const Camera& cam) { return CameraAccess::state(cam); }

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
// 5388 for gray 1000 at emissivity 0.95), as the sample program lays it down.
inline Block workedBlockRange2() {
    Block b;
    fill_worked_block(b.raw());
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
    b.with(field::tempRange, 4)
        .with(field::upTime, 3500)
        .with(field::driftScale, 250)
        .with(field::distance, 600);
    return b;
}

// A block on which a raw temperature comes out as itself at emissivity 1.0:
// 1.5 metres at 60 percent humidity (neutral air), unit gains, tempGain 100,
// no offset, every internal and shutter temperature at 25 degrees (so no
// shutter drift and m = 25, mb = 45), warm-up over (upTime 2000), divisor 25.
inline Block quietBlock() {
    Block b;
    b.gains(1.0f)
        .with(field::warmDiffLow, 2.0f)
        .with(field::warmDiffHigh, 6.0f)
        .with(field::warmDivisor, 25.0f)
        .with(field::driftGain, 1.0f)
        .with(field::upTime, 2000)
        .with(field::tempCH1, 2500)
        .with(field::tempCH2, 2500)
        .with(field::tempCH3, 2500)
        .with(field::tempCH5, 2500)
        .with(field::distance, 150)
        .with(field::humidity, 60)
        .with(field::tempGain, 100)
        .with(field::shutterCH2, 25.0f)
        .with(field::shutterCH3, 25.0f)
        .with(field::windowTransLong, 100)
        .with(field::tempRange, 2);
    return b;
}

// Both shutter temperatures at m, so that the shutter mean is m and mb = m + 20.
inline Block& atMean(Block& b, float m) { return b.with(field::shutterCH2, m).with(field::shutterCH3, m); }

// tempCH5 set so that c5 - c1 is w hundredths of a degree.
inline Block& atWarm(Block& b, int32_t wHundredths) {
    return b.with(field::tempCH5, b.read(field::tempCH1) + wHundredths);
}

// A block for LensRule with A = 100 in every member (g[4] = g[6] = 300) and
// the limits low, high: 52 reads them from e[0], e[1] (its warmDiffLow is
// the thirteenth curve point), the others from warmDiffLow and warmDiffHigh.
inline Block lensBlock(int calType, int32_t upTime, int32_t wHundredths, float low, float high) {
    Block b = quietBlock();
    b.curve({-750, -650, -540, -420, 300, 400, 300, 415, 775, 1155, 1555, 1975})
        .with(field::lensType, 1)
        .with(field::upTime, upTime);
    if (calType == 52) {
        b.with(field::grayCurveExt(0), low).with(field::grayCurveExt(1), high);
        b.with(field::warmDiffLow, 1300.0f).with(field::warmDiffHigh, 1400.0f);
    } else {
        b.with(field::warmDiffLow, low).with(field::warmDiffHigh, high);
    }
    return atWarm(b, wHundredths);
}

// A frame in which the lookup value is the gray value itself: no drift, no
// body drift (m = 25), no gray offset, the shift held at s. Air at 25 degrees,
// neutral distance, neutral gain, past the warm-up.
inline Block plainBlock(int32_t tempRange, std::initializer_list<float> curve, float s) {
    Block b = quietBlock();
    b.curve(curve).with(field::tempRange, tempRange).with(field::warmHold, 1).with(field::warmShift, s);
    return b;
}

}  // namespace kalviro::test
