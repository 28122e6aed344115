#include "ladder/pixel.hpp"

#include "core/atmosphere.hpp"
#include "core/block.hpp"
#include "core/final_scaling.hpp"
#include "core/four_range.hpp"
#include "core/frame.hpp"
#include "core/lanes.hpp"
#include "core/numeric.hpp"
#include "core/segment_table.hpp"
#include "ladder/pixel_kernel.hpp"

namespace kalviro::ladder {
namespace {

// Which curve points and gain stretch the gray value in variants B and D;
// 83's tempRange 3 stretches only while tempCH5 is below 20 degrees, by a
// gain that falls with it.
void stretchPlan(const Recipe& r, const uint8_t* block, PixelPlan& p) {
    const auto gc = [&](int k) { return get(block, field::grayCurve(k)); };
    const auto set = [&p](float above, float low, float high, float gain) {
        p.stretch = true;
        p.stretchAbove = above;
        p.stretchLow = low;
        p.stretchHigh = high;
        p.stretchGain = gain;
    };
    p.stretch = false;
    const float bg0 = get(block, field::tempBinGain(0));
    if (r.pixel.gray == GrayVariant::B) {
        if (p.range == 2) set(gc(4), gc(4), gc(11), get(block, field::tempBinGain(4)));
        if (p.range == 4) set(gc(2), gc(2), gc(7), bg0);
        const float t5 = degrees(block, field::tempCH5);
        if (p.range == 3 && t5 < 20.0f) {
            set(0.0f, gc(0), gc(7),
                static_cast<float>(static_cast<double>(bg0) -
                                   static_cast<double>((25.0f - t5) / 5.0f) * 0.005));
        }
    } else if (r.pixel.gray == GrayVariant::D) {
        const float dg = get(block, field::driftGain);
        if (p.range == 2) set(gc(5), gc(5), gc(11), dg);
        if (p.range == 3) set(0.0f, gc(0), gc(7), dg);
    }
}

// The window's transmission as the member reads it: the long layout from
// its own word, 61 and 62 in single precision, where in tempRange 4 the word
// at 0x030 takes away from it.
float windowOf(const Recipe& r, const uint8_t* block, int32_t range) {
    if (r.stage == StageForm::Long) {
        return static_cast<float>(static_cast<double>(get(block, field::windowTransLong)) / 100.0);
    }
    if (r.stage != StageForm::FourRange) {
        return static_cast<float>(static_cast<double>(get(block, field::windowTrans)) / 100.0);
    }
    float W = static_cast<float>(get(block, field::windowTrans)) / 100.0f;
    if (range == 4) {
        const double open = static_cast<double>(1.0f - W);
        if (!(open > -1e-6 && open < 1e-6)) W = W - get(block, field::warmDiffLow);
    }
    return W;
}

float airStatic(Channel c, const CalState& st) { return c == Channel::CH1 ? st.const_CH1 : st.const_CH2; }

}  // namespace

PixelPlan pixelPlan(const Recipe& r, const CalState& st, const uint8_t* block, float emissivity,
                    float distance, bool eager) {
    PixelPlan p{};
    p.grayRef = get(block, field::grayRef);
    p.grayBias = get(block, field::grayBias);
    p.variant = r.pixel.gray;
    p.range = get(block, field::tempRange);
    p.constB = st.const_b;
    p.constR = st.const_R;
    p.constD =
        p.variant == GrayVariant::A ? fourRangeValue(p.range, 0, block, st.const_U) : toInt(st.const_d);
    stretchPlan(r, block, p);

    p.rows = st.tempdata;
    p.rowCount = p.range >= 2 && p.range <= 5 ? r.pixel.rows[p.range - 2] : 0;
    p.rowsInOrder = rowsInOrder(p.rows, p.rowCount);
    p.percentRow = 0;
    if (r.stage == StageForm::FourRange) {
        const int32_t i = clampedPercent(emissivity);
        if (i < 10) p.percentRow = i;
    }

    p.air = airPlan(r.pixel.atmosphere, st, block, airStatic(r.channel, st), distance);
    p.baseTemp = degrees(block, field::tempCH1);
    p.eager = eager;
    if (eager) p.ladder = ladderPlan(emissivity, p.baseTemp);
    p.emissivity = emissivity;

    p.gain = get(block, field::tempGain);
    p.tempOffset = get(block, field::tempOffset);
    p.offset = static_cast<float>(p.tempOffset);
    p.final = r.pixel.final;
    p.distanceGain = r.pixel.distanceGain;
    p.distanceM = static_cast<double>(get(block, field::distance)) / 100.0;
    p.window = windowOf(r, block, p.range);
    p.windowC = airStatic(r.pixel.windowC, st);
    p.trimRow = p.final == Final::Trim ? trimRowFor(get(block, field::envTemp) / 100,
                                                    get(block, field::auxGate) / 100, emissivity)
                                       : nullptr;
    return p;
}

float pixelDegrees(const PixelPlan& p, int32_t gray) { return pixelDegrees<Scalar>(p, gray); }

}  // namespace kalviro::ladder
