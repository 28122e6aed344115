// CalTypes 12 and 60: the older frame with four ranges. The atmosphere comes
// from the block, the body temperature is a whole-degree field, nothing is
// written back, and both stages end alike: the per-frame stage keeps Tc
// unrounded and the per-pixel stage corrects for a window. 12 scales with
// Esp_Table about the air temperature, 60 with the polynomial about 20.
#include "core/atmosphere.hpp"
#include "core/block.hpp"
#include "core/frame.hpp"
#include "core/numeric.hpp"
#include "direct/recipe.hpp"

namespace kalviro::direct {
namespace {

struct OldRange {
    GridId grid;
    Steps steps;
};

// tempRange 2 to 5.
constexpr OldRange kRanges[] = {
    {GridId::GridLow25, Steps::Plain},
    {GridId::Grid25, Steps::Old12},
    {GridId::GridMid7, Steps::Stepped},
    {GridId::GridHigh10, Steps::Stepped},
};

const OldRange* rangeOf(int32_t tempRange) {
    return tempRange >= 2 && tempRange <= 5 ? &kRanges[tempRange - 2] : nullptr;
}

// Body drift by the whole-degree body temperature t.
float bodyDriftOld(int32_t range, float t, const FrameCtx& c) {
    const float* s = c.slope;
    const float* g = c.g;
    const float* b = c.b;
    switch (range) {
        case 2:  // a bin holds its upper limit
            if (t <= -10.0f) return (-10.0f - t) * s[0] - g[1];
            if (t <= 0.0f) return (0.0f - t) * s[1] - g[2];
            if (t <= 5.0f) return (5.0f - t) * s[2] - g[3];
            if (t <= 10.0f) return (10.0f - t) * s[3] - g[4];
            if (t <= 15.0f) return (15.0f - t) * s[4] - g[5];
            if (t <= 20.0f) return (20.0f - t) * s[5] - g[6];
            if (t <= 25.0f) return (25.0f - t) * s[6];
            if (t <= 30.0f) return (25.0f - t) * s[7] * b[0];
            if (t <= 35.0f) return ((30.0f - t) * s[8] - g[7]) * b[1];
            if (t <= 40.0f) return ((35.0f - t) * s[9] - g[8]) * b[2];
            if (t <= 45.0f) return ((40.0f - t) * s[10] - g[9]) * b[3];
            return ((45.0f - t) * s[11] - g[10]) * b[4];
        case 3:
            if (t < 35.0f) return (25.0f - t) * s[3];
            if (t < 50.0f) return ((35.0f - t) * s[4] - g[3]) * b[0];
            return ((50.0f - t) * s[5] - g[4]) * b[1];
        case 4: return ((25.0f - t) * s[0]) * 0.5f;
        default: return (20.0f - t) * s[0];
    }
}

// Warm-up offset of ranges 2 and 3: a ramp over the first 1200 counts scaled
// by warmGain, from the curve point g[k].
float warmOffsetOld(int k, const FrameCtx& c) {
    if (c.upTime >= 1200) return 0.0f;
    const float divisor = get(c.block, field::warmDivisor);
    const float gain = get(c.block, field::warmGain);
    return ((c.g[k] / divisor) * gain * static_cast<float>(wrapSub(1200, c.upTime))) / 1200.0f;
}

float shiftOld(int32_t range, const FrameCtx& c, CalState& st) {
    if (range == 2) return warmOffsetOld(7, c);
    if (range == 3) return warmOffsetOld(3, c);
    return warmShift(Shift::ClockPlain, c, st);
}

// base + shutter drift: in ranges 2 and 3 the drift is divided by const_U.
int32_t lookupValueOld(int32_t range, int32_t base, const uint8_t* block, float constU) {
    const int32_t drift = get(block, field::shutterDrift);
    if (range <= 3) return wrapAdd(base, toInt(static_cast<float>(drift) / constU));
    return wrapAdd(base, drift);
}

// The emissivity percent clamped to 1..100: rows 1 to 9 stand in for the
// search at very low emissivities.
int32_t clampedPercent(float emissivity) {
    const int32_t p = toInt(emissivity * 100.0f);
    return p > 100 ? 100 : p <= 0 ? 1 : p;
}

}  // namespace

int32_t early12(const FourRange& r, CalState& st, uint8_t* block, int32_t gray, float emissivity,
                float distance) {
    st.const_B3 = static_cast<float>(static_cast<double>(get(block, field::atmB)) / 1000.0);
    st.const_A3 = static_cast<float>(static_cast<double>(get(block, field::atmA)) / 100.0);
    FrameCtx c = frameCtx(block, static_cast<float>(normalisedGray(block, gray)));
    st.const_CH2 = c.c1;
    st.const_U = get(block, field::driftGain);
    const int32_t ip = clampedPercent(emissivity);

    const int32_t range = get(block, field::tempRange);
    int32_t v = 0;
    float T = 0.0f;
    if (const OldRange* old = rangeOf(range)) {
        st.const_R = get(block, field::grayOffset);
        gridSlopes(old->grid, block, c.slope);
        st.const_b = bodyDriftOld(range, static_cast<float>(get(block, field::bodyTemp)), c);
        const float s = shiftOld(range, c, st);
        segmentBuild(old->grid, old->steps, block, s, st.tempdata);
        v = lookupValueOld(range, toInt((c.gf - st.const_b) + st.const_R), block, st.const_U);
        T = segmentLookup(st.tempdata, gridRows(old->grid), static_cast<float>(v), RowTest::OpenClosed);
    }
    if (range != 5 && ip <= 9) T = segmentTemp(st.tempdata[ip], static_cast<float>(v));

    const float Tc = atmospherePixel(T, block, c.c1, distance, st.const_A3, st.const_B3);
    return toInt(scalePixel(Tc, emissFactor(r.emissivity, emissivity), c.c1, block));
}

int32_t realtime12(const FourRange& r, const CalState& st, const uint8_t* block, int32_t gray,
                   float emissivity, float distance) {
    const EmissFactor f = emissFactor(r.emissivity, emissivity);
    const int32_t ip = clampedPercent(emissivity);
    const float gf = static_cast<float>(normalisedGray(block, gray));
    float W = static_cast<float>(get(block, field::windowTrans)) / 100.0f;

    const int32_t range = get(block, field::tempRange);
    int32_t v = 0;
    float T = 0.0f;
    if (const OldRange* old = rangeOf(range)) {
        if (range == 4) {
            // In this range the word at 0x030 is a window term.
            const double open = static_cast<double>(1.0f - W);
            if (open >= 0.000001 || open <= -0.000001) W = W - get(block, field::warmDiffLow);
        }
        v = lookupValueOld(range, toInt((gf - st.const_b) + st.const_R), block, st.const_U);
        // tempRange 5 reads rows only through the low-emissivity override.
        if (range != 5) {
            T = segmentLookup(st.tempdata, gridRows(old->grid), static_cast<float>(v), RowTest::OpenClosed);
        }
    }
    if (ip <= 9) T = segmentTemp(st.tempdata[ip], static_cast<float>(v));

    const float a = st.const_CH2;
    const float Tc = atmospherePixel(T, block, a, distance, st.const_A3, st.const_B3);
    const float F = scalePixel(Tc, f, a, block);
    return toInt(F / W - (a * (1.0f - W)) * 100.0f);
}

float frameDegrees(const FourRange& r, CalState& st, uint8_t* block, int32_t gray, float emissivity,
                   float distance) {
    return static_cast<float>(early12(r, st, block, gray, emissivity, distance)) / 100.0f;
}

float pixelDegrees(const FourRange& r, const CalState& st, const uint8_t* block, int32_t gray,
                   float emissivity, float distance) {
    return static_cast<float>(realtime12(r, st, block, gray, emissivity, distance)) / 100.0f;
}

}  // namespace kalviro::direct
