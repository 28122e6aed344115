// The gray-to-temperature segment table every CalType builds once per frame
// and searches for each pixel.
#pragma once

#include <cstdint>

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
template <typename F, typename P>
F segmentFormula(F v, P grayBase, P graySlope, P tempBase) {
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

}  // namespace kalviro
