// The kernel of the Direct per-pixel call, over lanes: gray normalisation,
// segment lookup, atmospheric correction, final scaling and the end form,
// from the plan and the gray value alone.
#pragma once

#include <cstdint>

#include "core/pixel_stages.hpp"
#include "direct/pixel.hpp"

namespace kalviro::direct {

// Hundredths of a degree as a float.
template <class L>
typename L::F pixelHundredths(const PixelPlan& p, typename L::I gray) {
    const auto gf = L::toFloat(L::add(L::sub(gray, L::splat(p.grayRef)), L::splat(p.grayBias)));
    const auto v = p.unknownRange
                       ? L::splat(0.0f)
                       : L::toFloat(L::add(L::toInt((gf - p.constB) + p.constR), L::splat(p.drift)));
    // In 12 and 60 a low emissivity's row replaces the lookup.
    const auto T = p.percentRow != 0
                       ? segmentTemp<L>(p.rows[p.percentRow], v)
                       : segmentLookupOpenClosed<L>(p.rows, p.rowCount, p.rowsInOrder,
                                                    p.byColumns ? &p.columns : nullptr, v, nullptr);

    const auto Tc = airCorrection<L>(T, p.air, p.airExp, p.A3);
    const auto F = scalePixel<L>(Tc, p.factor, p.air, p.gain, p.offset);
    switch (p.end) {
        case PixelEnd::Truncate: return L::toFloat(L::toInt(F));
        case PixelEnd::Boost: return L::toFloat(L::toInt(distanceRiseAt<L>(F, p.range, p.distanceM)));
        case PixelEnd::LongPlain: return F;
        case PixelEnd::LongWindow: return F / p.window - (p.air * (1.0f - p.window)) * 100.0f;
        case PixelEnd::Window:
            return L::toFloat(L::toInt(F / p.window - (p.air * (1.0f - p.window)) * 100.0f));
    }
    return F;
}

template <class L>
typename L::F pixelDegrees(const PixelPlan& p, typename L::I gray) {
    const auto t = pixelHundredths<L>(p, gray) / 100.0f;
    // The long layout returns its floats uncut, NaN among them (lanes.hpp).
    return p.end == PixelEnd::LongPlain || p.end == PixelEnd::LongWindow ? L::oneNaN(t) : t;
}

}  // namespace kalviro::direct
