// Family tables hold one row per CalType; a row is found by its number.
// Compile-time checks compare numbers only: the sanitizers' builds cannot
// evaluate pointer comparisons at compile time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kalviro {

// The per-frame stage a family row runs: the skeleton with a branch per
// tempRange; the long layout's skeleton (ladder 111, 121: drift read from
// the block, const_CH1 set only by a branch, whole degrees from the
// per-frame call); or the older four-range frame (tempRange 2 to 5) that
// Direct 12 and 60 and ladder 61 and 62 share, whose branches are unused.
// Direct's long layout keeps the skeleton and differs in its result form.
enum class StageForm : uint8_t { Skeleton, Long, FourRange };

// The index of a CalType's row, or -1.
template <typename Row, std::size_t N>
constexpr int rowIndexOf(const Row (&rows)[N], int32_t calType) {
    for (std::size_t i = 0; i < N; ++i) {
        if (rows[i].calType == calType) return static_cast<int>(i);
    }
    return -1;
}

// A row written by name: a table names only what differs from its family's
// plain row, one setter each (Self derives from NamedRow<Self, Row>).
template <typename Self, typename Row>
struct NamedRow {
    Row row;
    constexpr operator Row() const { return row; }

    // A copy with one field set.
    template <typename T>
    constexpr Self with(T Row::*field, T value) const {
        Self o = static_cast<const Self&>(*this);
        o.row.*field = value;
        return o;
    }
};

// The CalType's row, or null.
template <typename Row, std::size_t N>
constexpr const Row* rowOf(const Row (&rows)[N], int32_t calType) {
    const int i = rowIndexOf(rows, calType);
    return i < 0 ? nullptr : &rows[i];
}

}  // namespace kalviro
