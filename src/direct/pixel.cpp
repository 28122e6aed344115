#include "direct/pixel.hpp"

#include "core/atmosphere.hpp"
#include "core/block.hpp"
#include "core/four_range.hpp"
#include "core/frame.hpp"
#include "core/lanes.hpp"
#include "core/numeric.hpp"
#include "core/segment_table.hpp"
#include "direct/pixel_kernel.hpp"

namespace kalviro::direct {
namespace {

void common(PixelPlan& p, const CalState& st, const uint8_t* block, Emissivity form, float emissivity,
            float distance) {
    p.grayRef = get(block, field::grayRef);
    p.grayBias = get(block, field::grayBias);
    p.constB = st.const_b;
    p.constR = st.const_R;
    p.rows = st.tempdata;
    p.range = get(block, field::tempRange);
    p.A3 = st.const_A3;
    p.airExp = pixelAirExp(block, distance, st.const_B3);
    p.factor = emissFactor(form, emissivity);
    p.gain = get(block, field::tempGain);
    p.offset = static_cast<float>(get(block, field::tempOffset));
    p.distanceM = static_cast<double>(get(block, field::distance)) / 100.0;
}

// 12 and 60: the four-range frame's rows and drift, a window at the end.
PixelPlan fourRangePlan(const Recipe& r, const CalState& st, const uint8_t* block, float emissivity,
                        float distance) {
    PixelPlan p{};
    common(p, st, block, r.emissivity, emissivity, distance);
    p.drift = fourRangeValue(p.range, 0, block, st.const_U);
    p.rowCount = fourRangeRows(p.range);
    p.unknownRange = p.rowCount == 0;
    // tempRange 5 reads rows only through the low-emissivity row.
    if (p.range == 5) p.rowCount = 0;
    const int32_t ip = clampedPercent(emissivity);
    p.percentRow = ip <= 9 ? ip : 0;
    p.air = st.const_CH2;
    p.end = PixelEnd::Window;
    p.window = static_cast<float>(get(block, field::windowTrans)) / 100.0f;
    if (p.range == 4) {
        // In this range the word at 0x030 is a window term.
        const double open = static_cast<double>(1.0f - p.window);
        if (open >= 0.000001 || open <= -0.000001) p.window = p.window - get(block, field::warmDiffLow);
    }
    p.rowsInOrder = rowsInOrder(p.rows, p.rowCount);
    return p;
}

}  // namespace

PixelPlan pixelPlan(const Recipe& r, const CalState& st, const uint8_t* block, float emissivity,
                    float distance) {
    if (r.stage == StageForm::FourRange) return fourRangePlan(r, st, block, emissivity, distance);
    PixelPlan p{};
    common(p, st, block, r.emissivity, emissivity, distance);
    p.drift = toInt(st.const_d);
    const Branch* br = branchFor(r, p.range);
    p.rowCount = br ? gridRows(br->grid) : 0;
    p.air = pixelAirIsC2(r.air) ? st.const_CH2 : st.const_CH1;
    switch (r.result) {
        case Result::Hundredths: p.end = r.boost ? PixelEnd::Boost : PixelEnd::Truncate; break;
        case Result::LongPlain: p.end = PixelEnd::LongPlain; break;
        case Result::LongWindow:
            p.end = PixelEnd::LongWindow;
            p.window = static_cast<float>(get(block, field::windowTransLong)) / 100.0f;
            break;
    }
    p.rowsInOrder = rowsInOrder(p.rows, p.rowCount);
    return p;
}

float pixelHundredths(const PixelPlan& p, int32_t gray) { return pixelHundredths<Scalar>(p, gray); }
float pixelDegrees(const PixelPlan& p, int32_t gray) { return pixelDegrees<Scalar>(p, gray); }

}  // namespace kalviro::direct
