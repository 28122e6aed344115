// The gray-to-temperature segment table every CalType builds once per frame
// and searches for each pixel.
#pragma once

#include <cstdint>

#include "core/lanes.hpp"
#include "kalviro.h"

namespace kalviro {

// Bounds of the outermost rows: open-ended in practice, so the first and last
// rows extrapolate their slopes beyond the curve.
constexpr float kSentinel = 131070.0f;

enum class RowTest : uint8_t {
    ClosedOpen,  // grayLow <= v < grayHigh
    OpenClosed,  // grayLow < v <= grayHigh
};

// A row's temperature at v, the one formula of every lookup: on one value
// (F float) or on lanes (F a vector, the row's parameters floats or vectors).
// Always inlined: the vector-set files must not emit a copy of their own,
// which the linker could pick for the baseline one.
template <typename F, typename P>
__attribute__((always_inline)) inline F segmentFormula(F v, P grayBase, P graySlope, P tempBase) {
    return (v - grayBase) / graySlope + tempBase;
}

// The row's formula applied whether or not the row holds v.
inline float segmentTemp(const TempSegment& r, float v) {
    return segmentFormula(v, r.grayBase, r.graySlope, r.tempBase);
}

// Raw temperature of the normalised gray value v: the first row, in order,
// whose test holds; 0.0 when none does.
inline float segmentLookup(const TempSegment* rows, int count, float v, RowTest test) {
    for (int i = 0; i < count; ++i) {
        const TempSegment& r = rows[i];
        const bool holds = test == RowTest::ClosedOpen ? (r.grayLow <= v && v < r.grayHigh)
                                                       : (r.grayLow < v && v <= r.grayHigh);
        if (holds) return segmentTemp(r, v);
    }
    return 0.0f;
}

// Whether each row begins where the one before ends and none runs
// backwards: then the first row that holds v under the open-closed test is
// the first whose grayHigh v does not exceed, if v lies above the first
// grayLow and up to the last grayHigh. A NaN bound breaks the order.
inline bool rowsInOrder(const TempSegment* rows, int count) {
    if (count < 1) return false;
    for (int i = 0; i < count; ++i) {
        if (!(rows[i].grayLow <= rows[i].grayHigh)) return false;
        if (i + 1 < count && !(rows[i + 1].grayLow == rows[i].grayHigh)) return false;
    }
    return true;
}

// Rows in order as columns, for lanes that look a row up by its index: up
// to 15 rows, the bounds padded with +inf, room for a lookup of 32 lanes.
struct RowColumns {
    static constexpr int kRows = 15;
    static constexpr int kLevels = 4;  // 2^4 bounds to halve
    float grayHigh[32];
    float grayBase[32];
    float graySlope[32];
    float tempBase[32];
};

inline RowColumns rowColumns(const TempSegment* rows, int count) {
    RowColumns c{};
    for (int i = 0; i < 32; ++i) {
        const TempSegment& r = rows[i < count ? i : count - 1];
        c.grayHigh[i] = i < count ? r.grayHigh : __builtin_inff();
        c.grayBase[i] = r.grayBase;
        c.graySlope[i] = r.graySlope;
        c.tempBase[i] = r.tempBase;
    }
    return c;
}

// Gives a plan for many gray values its columns, where its rows are in order.
template <typename Plan>
void withColumns(Plan& p) {
    p.byColumns = p.rowsInOrder && p.rowCount <= RowColumns::kRows;
    if (p.byColumns) p.columns = rowColumns(p.rows, p.rowCount);
}

// On lanes (core/lanes.hpp): the scalar form above is this on one lane.
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
    const TempSegment noRow{0.0f, 0.0f, 0.0f, 0.0f, 1.0f};
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
        other.take(fallback != nullptr ? *fallback : noRow);
        const F T = row.temp(v);
        return L::select(held, T, fallback != nullptr ? other.temp(v) : L::splat(0.0f));
    }
    row.take(fallback != nullptr ? *fallback : noRow);
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

}  // namespace kalviro
