// The per-pixel stages both families share, over lanes (core/lanes.hpp):
// segment lookup, atmospheric correction, final scaling and the distance
// rise. The scalar functions of segment_table.hpp, atmosphere.hpp and
// final_scaling.hpp are these on one lane.
#pragma once

#include <cstdint>

#include "core/final_scaling.hpp"
#include "core/lanes.hpp"
#include "core/segment_table.hpp"
#include "kalviro.h"

namespace kalviro {

// The raw temperature of v through the first row, in order, that holds it
// (grayLow < v <= grayHigh), or through `fallback` when none does; 0.0 when
// none does and there is no fallback. The row's parameters are picked per
// lane, then the row's formula runs once. Rows in order (rowsInOrder) are
// the first whose grayHigh v does not exceed: with columns, lanes that look
// up by index halve their way to it; others search only the rows between
// those of their smallest and largest v.
template <class L>
typename L::F segmentLookupOpenClosed(const TempSegment* rows, int count, bool inOrder,
                                      const RowColumns* columns, typename L::F v,
                                      const TempSegment* fallback) {
    using F = typename L::F;
    struct Pick {
        F grayBase, graySlope, tempBase;
        void take(const TempSegment& r) {
            grayBase = L::splat(r.grayBase);
            graySlope = L::splat(r.graySlope);
            tempBase = L::splat(r.tempBase);
        }
        void take(typename L::M m, const Pick& o) {
            grayBase = L::select(m, o.grayBase, grayBase);
            graySlope = L::select(m, o.graySlope, graySlope);
            tempBase = L::select(m, o.tempBase, tempBase);
        }
        F temp(F x) const { return segmentFormula(x, grayBase, graySlope, tempBase); }
    };
    const TempSegment none{0.0f, 0.0f, 0.0f, 0.0f, 1.0f};
    Pick row;
    if (inOrder) {
        bool picked = false;
        if constexpr (L::kLookup && L::N > 1) {
            if (columns != nullptr) {
                picked = true;
                const auto i = rank<L>(columns->grayHigh, RowColumns::kLevels, v);
                const auto at = L::select(i < count, i, L::splat(int32_t{count - 1}));
                row.grayBase = L::lookup(columns->grayBase, at);
                row.graySlope = L::lookup(columns->graySlope, at);
                row.tempBase = L::lookup(columns->tempBase, at);
            }
        }
        if (!picked) {
            // Each held lane's row lies between the lanes' bounds; lanes
            // above the last grayHigh are not held and take any row.
            int first = 0, last = 0;
            laneBounds<L>(
                count, [rows](int i) { return rows[i].grayHigh; }, v, first, last);
            if (last > count - 1) last = count - 1;
            row.take(rows[last]);
            for (int i = last - 1; i >= first; --i) {
                Pick r;
                r.take(rows[i]);
                row.take(v <= rows[i].grayHigh, r);
            }
        }
        const auto held = L::both(rows[0].grayLow < v, v <= rows[count - 1].grayHigh);
        Pick other;
        other.take(fallback != nullptr ? *fallback : none);
        const F T = row.temp(v);
        return L::select(held, T, fallback != nullptr ? other.temp(v) : L::splat(0.0f));
    }
    row.take(fallback != nullptr ? *fallback : none);
    auto found = L::none();
    for (int i = 0; i < count; ++i) {
        const TempSegment& r = rows[i];
        const auto holds = L::both(L::both(r.grayLow < v, v <= r.grayHigh), L::no(found));
        Pick p;
        p.take(r);
        row.take(holds, p);
        found = L::either(found, holds);
    }
    const F T = row.temp(v);
    if (fallback != nullptr) return T;
    return L::select(found, T, L::splat(0.0f));
}

// The row's formula applied whether or not the row holds v.
template <class L>
typename L::F segmentTemp(const TempSegment& r, typename L::F v) {
    return segmentFormula(v, r.grayBase, r.graySlope, r.tempBase);
}

// The per-pixel atmospheric correction with the frame's exponential e.
template <class L>
typename L::F airCorrection(typename L::F T, float air, double e, float A3) {
    const auto d = T - air;
    return L::narrow((((1.0 - e * static_cast<double>(A3)) * L::widen(d)) / static_cast<double>(1.0f - A3)) +
                     static_cast<double>(air));
}

// Final scaling of the per-pixel call: hundredths as a float, tempOffset in.
template <class L>
typename L::F scalePixel(typename L::F Tc, const EmissFactor& f, float air, int32_t gain, float offset) {
    const auto t = (Tc * 100.0f) / 100.0f;
    if (f.form == Emissivity::Polynomial) {
        const auto H = (static_cast<double>(gain) * (L::widen(t) - 20.0)) / 100.0;
        return L::narrow(H * static_cast<double>(f.E)) * 100.0f + 2000.0f + offset;
    }
    const auto u = (((t - air) * static_cast<float>(gain)) / 100.0f * static_cast<float>(f.K)) / 1000.0f;
    return (air * 100.0f + u * 100.0f) + offset;
}

// The distance rise: from 8 m in tempRange 2, from 4 m in 3, none else.
template <class L>
typename L::F distanceRiseAt(typename L::F F, int32_t range, double D) {
    const auto P = L::widen(F / 100.0f);
    if (range == 2 && D >= 8.0)
        return L::narrow(L::widen(F) + 100.0 * ((((D - 8.0) * 0.25) * P) / 100.0 * 0.6));
    if (range == 3 && D >= 4.0) return L::narrow(L::widen(F) + 100.0 * ((((D - 4.0) * 0.25) * P) / 110.0));
    return F;
}

}  // namespace kalviro
