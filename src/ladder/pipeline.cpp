#include "ladder/pipeline.hpp"

#include "core/atmosphere.hpp"
#include "core/block.hpp"
#include "core/final_scaling.hpp"
#include "core/frame.hpp"
#include "core/numeric.hpp"
#include "core/segment_table.hpp"

namespace kalviro::ladder {
namespace {

// The stretch of gray variants B and D: above a threshold the gray value is
// scaled up by gain * (g0 - low) / (high - low).
float stretched(const PixelPlan& p, float g0) {
    return g0 * ((p.stretchGain * (g0 - p.stretchLow)) / (p.stretchHigh - p.stretchLow) + 1.0f);
}

// The lookup value v of the per-pixel call.
float grayValue(const PixelPlan& p, int32_t gray) {
    const float g0 = static_cast<float>(wrapAdd(wrapSub(gray, p.grayRef), p.grayBias));
    switch (p.variant) {
        case GrayVariant::Standard: break;
        case GrayVariant::C:
            // 92 adds const_b in tempRange 2 and 3.
            if (p.range == 2 || p.range == 3) {
                return static_cast<float>(wrapAdd(toInt((g0 + p.constB) + p.constR), p.constD));
            }
            break;
        case GrayVariant::D:
            if (p.range == 4) return static_cast<float>(wrapAdd(toInt(g0 + p.constR), p.constD));
            [[fallthrough]];
        case GrayVariant::B: {
            const float s = p.stretch && g0 > p.stretchAbove ? stretched(p, g0) : g0;
            return static_cast<float>(wrapAdd(toInt((s - p.constB) + p.constR), p.constD));
        }
    }
    return static_cast<float>(wrapAdd(toInt((g0 - p.constB) + p.constR), p.constD));
}

// Which curve points and gain stretch the gray value in variants B and D;
// 83's tempRange 3 stretches only while tempCH5 is below 20 degrees, by a
// gain that falls with it.
void stretchPlan(const Member& m, const uint8_t* block, PixelPlan& p) {
    const auto gc = [&](int k) { return get(block, field::grayCurve(k)); };
    const float bg0 = get(block, field::tempBinGain(0));
    p.stretch = false;
    if (m.pixel.gray == GrayVariant::B) {
        switch (p.range) {
            case 2:
                p.stretch = true;
                p.stretchAbove = gc(4);
                p.stretchLow = gc(4);
                p.stretchHigh = gc(11);
                p.stretchGain = get(block, field::tempBinGain(4));
                break;
            case 3: {
                const float t5 = degrees(block, field::tempCH5);
                if (!(t5 < 20.0f)) break;
                p.stretch = true;
                p.stretchAbove = 0.0f;
                p.stretchLow = gc(0);
                p.stretchHigh = gc(7);
                p.stretchGain = static_cast<float>(static_cast<double>(bg0) -
                                                   static_cast<double>((25.0f - t5) / 5.0f) * 0.005);
                break;
            }
            case 4:
                p.stretch = true;
                p.stretchAbove = gc(2);
                p.stretchLow = gc(2);
                p.stretchHigh = gc(7);
                p.stretchGain = bg0;
                break;
            default: break;
        }
    } else if (m.pixel.gray == GrayVariant::D) {
        if (p.range == 2 || p.range == 3) {
            p.stretch = true;
            p.stretchAbove = p.range == 2 ? gc(5) : 0.0f;
            p.stretchLow = p.range == 2 ? gc(5) : gc(0);
            p.stretchHigh = p.range == 2 ? gc(11) : gc(7);
            p.stretchGain = get(block, field::driftGain);
        }
    }
}

}  // namespace

PixelPlan pixelPlan(const Member& m, const CalState& st, const uint8_t* block, float emissivity,
                    float distance) {
    PixelPlan p{};
    p.grayRef = get(block, field::grayRef);
    p.grayBias = get(block, field::grayBias);
    p.variant = m.pixel.gray;
    p.range = get(block, field::tempRange);
    p.constB = st.const_b;
    p.constR = st.const_R;
    p.constD = toInt(st.const_d);
    stretchPlan(m, block, p);

    p.rows = st.tempdata;
    p.rowCount = p.range >= 2 && p.range <= 4 ? m.pixel.rows[p.range - 2] : 0;

    const float airBase = m.channel == Channel::CH1 ? st.const_CH1 : st.const_CH2;
    p.air = airPlan(m.pixel.atmosphere, st, block, airBase, distance);
    p.baseTemp = degrees(block, field::tempCH1);
    p.ladder = ladderPlan(emissivity, p.baseTemp);
    p.emissivity = emissivity;

    p.gain = static_cast<float>(get(block, field::tempGain));
    p.tempOffset = get(block, field::tempOffset);
    p.offset = static_cast<float>(p.tempOffset);
    p.final = m.pixel.final;
    p.distanceGain = m.pixel.distanceGain;
    p.distanceM = static_cast<double>(get(block, field::distance)) / 100.0;
    p.window = static_cast<float>(static_cast<double>(get(block, field::windowTrans)) / 100.0);
    p.windowC = st.const_CH1;
    p.trimA = get(block, field::envTemp) / 100;
    p.trimB = get(block, field::auxGate) / 100;
    return p;
}

int32_t pixelHundredths(const PixelPlan& p, int32_t gray) {
    const float v = grayValue(p, gray);
    const float raw = segmentLookup(p.rows, p.rowCount, v, RowTest::OpenClosed);
    const float apparent = airApply(p.air, raw);

    // The ladder sees the apparent temperature through hundredths, uncut.
    const float g = p.ladder.factorAt(static_cast<double>(apparent * 100.0f) / 100.0);
    const float af = (apparent * 100.0f) / 100.0f;
    const float base = p.baseTemp;

    if (p.final == Final::Trim) {
        const float X = ((g * (((af - base) * p.gain) / 100.0f)) * 100.0f + base * 100.0f) / 100.0f;
        return trimTable(X, p);
    }
    float V = (base * 100.0f + (((p.gain * (af - base)) / 100.0f) * g) * 100.0f) + p.offset;
    if (p.distanceGain) V = distanceRiseAt(V, p.range, p.distanceM);
    if (p.final == Final::Window) return toInt(V / p.window - 100.0f * (p.windowC * (1.0f - p.window)));
    return toInt(V);
}

}  // namespace kalviro::ladder
