// The kernel of the ladder per-pixel pipeline, over lanes: gray
// normalisation, segment lookup, atmospheric correction, the emissivity
// ladder and the final form, from the plan and the gray value alone.
#pragma once

#include <cstdint>

#include "core/atmosphere.hpp"
#include "core/final_scaling.hpp"
#include "core/segment_table.hpp"
#include "ladder/emiss_ladder.hpp"
#include "ladder/pixel.hpp"
#include "ladder/trim_table.hpp"
#include "ladder/window_tables.hpp"

namespace kalviro::ladder {

// The lookup value v.
template <class L>
typename L::F grayValue(const PixelPlan& p, typename L::I gray) {
    const auto g0 = L::toFloat(L::add(L::sub(gray, L::splat(p.grayRef)), L::splat(p.grayBias)));
    const auto join = [&](typename L::F s) { return L::toFloat(L::add(L::toInt(s), L::splat(p.constD))); };
    switch (p.variant) {
        case GrayVariant::Standard: break;
        case GrayVariant::A:
            // 61, 62: the camera's drift joins; an unknown range looks up 0.
            if (p.range < 2 || p.range > 5) return L::splat(0.0f);
            break;
        case GrayVariant::C:
            // 92 adds const_b in tempRange 2 and 3.
            if (p.range == 2 || p.range == 3) return join((g0 + p.constB) + p.constR);
            break;
        case GrayVariant::D:
            if (p.range == 4) return join(g0 + p.constR);
            [[fallthrough]];
        case GrayVariant::B: {
            // Above a threshold the gray value is scaled up by
            // gain * (g0 - low) / (high - low).
            if (!p.stretch) return join((g0 - p.constB) + p.constR);
            const auto stretched =
                g0 * ((p.stretchGain * (g0 - p.stretchLow)) / (p.stretchHigh - p.stretchLow) + 1.0f);
            return join((L::select(g0 > p.stretchAbove, stretched, g0) - p.constB) + p.constR);
        }
    }
    return join((g0 - p.constB) + p.constR);
}

// The rule of the distance table on the raw temperature.
template <class L>
typename L::F airApply(const AirPlan& p, typename L::F rawTemp) {
    using Rule = AirPlan::Rule;
    if (p.rule == Rule::Near) return airCorrection<L>(rawTemp, p.air, p.expNear, p.A3);
    const auto V0 = airCorrection<L>(rawTemp, p.air, p.expK0, p.A3);
    const auto v = L::widen(V0);
    const double D = p.D;
    const float a = static_cast<float>(p.a);
    switch (p.rule) {
        case Rule::Base:
        case Rule::Near: return V0;
        case Rule::Lin: return L::narrow(((D - p.a) * v) / p.b + v);
        case Rule::LinByV0:
            return L::narrow(((D - p.a) * v) / L::select(V0 < 50.0f, L::splat(p.b), L::splat(p.b2)) + v);
        case Rule::Up: return L::narrow(L::widen((p.D - a) * V0) / p.b + v);
        case Rule::Down: return L::narrow(L::widen((a - p.D) * V0) / p.b + v);
        // A difference of metres added to degrees as it stands.
        case Rule::Add: return (a - p.D) + V0;
    }
    return V0;
}

// The result in degrees: hundredths divided by 100 in single precision, or
// in the long layout the unquantised value.
template <class L>
typename L::F pixelDegrees(const PixelPlan& p, typename L::I gray) {
    const auto v = grayValue<L>(p, gray);
    const TempSegment* fallback = p.percentRow != 0 ? &p.rows[p.percentRow] : nullptr;
    const auto raw = segmentLookupOpenClosed<L>(p.rows, p.rowCount, p.rowsInOrder,
                                                p.byColumns ? &p.columns : nullptr, v, fallback);
    const auto apparent = airApply<L>(p.air, raw);

    // The ladder sees the apparent temperature through hundredths, uncut.
    const auto q = apparent * 100.0f;
    typename L::F g;
    if constexpr (L::N == 1) {
        g = p.eager ? factorAt<L>(p.ladder, q) : ladderFactor(p.emissivity, L::widen(q) / 100.0, p.baseTemp);
    } else {
        g = factorAt<L>(p.ladder, q);
    }
    const auto af = (apparent * 100.0f) / 100.0f;
    const float base = p.baseTemp;
    const float gain = static_cast<float>(p.gain);

    if (p.final == Final::Trim) {
        const auto X = ((g * (((af - base) * gain) / 100.0f)) * 100.0f + base * 100.0f) / 100.0f;
        return L::toFloat(trimTable<L>(X, p.trimRow, p.offset)) / 100.0f;
    }
    typename L::F V;
    if (p.final == Final::LongFixed) {
        // 121 scales about a fixed 20 degrees; its bins still follow tempCH1.
        const auto h =
            L::narrow(((static_cast<double>(p.gain) * (L::widen(af) - 20.0)) / 100.0) * L::widen(g));
        V = (h * 100.0f + 2000.0f) + p.offset;
    } else {
        V = (base * 100.0f + (((gain * (af - base)) / 100.0f) * g) * 100.0f) + p.offset;
    }
    if (p.distanceGain) V = distanceRiseAt<L>(V, p.range, p.distanceM);

    const float W = p.window;
    const auto degrees = [](typename L::I h) { return L::toFloat(h) / 100.0f; };
    switch (p.final) {
        case Final::Plain: return degrees(L::toInt(V));
        case Final::Window: return degrees(L::toInt(V / W - 100.0f * (p.windowC * (1.0f - W))));
        case Final::WindowTableCH: return degrees(windowTableCH<L>(V, base, W, p.windowC));
        case Final::WindowTableSelf: return degrees(windowTableSelf<L>(V, base, W));
        case Final::LongBase:
        case Final::LongFixed: return L::oneNaN((V / W - (p.windowC * (1.0f - W)) * 100.0f) / 100.0f);
        case Final::Trim: break;
    }
    return degrees(L::splat(int32_t{0}));
}

}  // namespace kalviro::ladder
