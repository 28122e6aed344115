#include "core/four_range.hpp"

#include "core/block.hpp"
#include "core/frame.hpp"
#include "core/grids.hpp"
#include "core/numeric.hpp"
#include "core/segment_table.hpp"

namespace kalviro {
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

// Ranges 4 and 5: the half step of the first segment ramped out by 1200.
float clockRampOld(const FrameCtx& c, FourRangeMath math) {
    if (c.upTime >= 1200) return 0.0f;
    const float divisor = get(c.block, field::warmDivisor);
    const float left = static_cast<float>(wrapSub(1200, c.upTime));
    if (math == FourRangeMath::Single) return (left * (((c.g[1] - c.g[0]) * 0.5f) / divisor)) / 1200.0f;
    return static_cast<float>((static_cast<double>(left) * ((static_cast<double>(c.g[1] - c.g[0]) * 0.5) /
                                                            static_cast<double>(divisor))) /
                              1200.0);
}

float shiftOld(int32_t range, const FrameCtx& c, FourRangeMath math) {
    if (range == 2) return warmOffsetOld(7, c);
    if (range == 3) return warmOffsetOld(3, c);
    return clockRampOld(c, math);
}

}  // namespace

int fourRangeRows(int32_t range) {
    const OldRange* old = rangeOf(range);
    return old ? gridRows(old->grid) : 0;
}

int32_t fourRangeValue(int32_t range, int32_t base, const uint8_t* block, float constU) {
    const int32_t drift = get(block, field::shutterDrift);
    if (range <= 3) return wrapAdd(base, toInt(static_cast<float>(drift) / constU));
    return wrapAdd(base, drift);
}

int32_t clampedPercent(float emissivity) {
    const int32_t p = toInt(emissivity * 100.0f);
    return p > 100 ? 100 : p <= 0 ? 1 : p;
}

FourRangeLookup fourRangeFrame(CalState& st, const uint8_t* block, int32_t gray, FourRangeMath math) {
    st.const_B3 = static_cast<float>(static_cast<double>(get(block, field::atmB)) / 1000.0);
    st.const_A3 = static_cast<float>(static_cast<double>(get(block, field::atmA)) / 100.0);
    FrameCtx c = frameCtx(block, static_cast<float>(normalisedGray(block, gray)));
    st.const_CH2 = c.c1;
    st.const_U = get(block, field::driftGain);

    const int32_t range = get(block, field::tempRange);
    FourRangeLookup out{0, 0.0f, false};
    const OldRange* old = rangeOf(range);
    if (old == nullptr) return out;
    st.const_R = get(block, field::grayOffset);
    gridSlopes(old->grid, block, c.slope);
    st.const_b = bodyDriftOld(range, static_cast<float>(get(block, field::bodyTemp)), c);
    const float s = shiftOld(range, c, math);
    const StepMath steps = math == FourRangeMath::Single ? StepMath::Float : StepMath::WholeFloat;
    segmentBuild(gridCurve(old->grid, block), old->steps, steps, s, st.tempdata);
    out.v = fourRangeValue(range, toInt((c.gf - st.const_b) + st.const_R), block, st.const_U);
    const float v = static_cast<float>(out.v);
    const int rows = gridRows(old->grid);
    for (int i = 0; i < rows && !out.matched; ++i) {
        const TempSegment& r = st.tempdata[i];
        if (r.grayLow < v && v <= r.grayHigh) {
            out.raw = segmentTemp(r, v);
            out.matched = true;
        }
    }
    return out;
}

}  // namespace kalviro
