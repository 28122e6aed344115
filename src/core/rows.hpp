// Family tables hold one row per CalType; a row is found by its number.
// Compile-time checks compare numbers only: the sanitizers' builds cannot
// evaluate pointer comparisons at compile time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

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

// A family's table as its Trait offers it (api/families.hpp): the row of a
// CalType, whether it has one, and whether that row runs the four-range frame.
template <const auto& Rows>
struct RowTable {
    using Row = std::remove_cv_t<std::remove_extent_t<std::remove_reference_t<decltype(Rows)>>>;

    static constexpr bool hasRow(int32_t calType) { return rowIndexOf(Rows, calType) >= 0; }
    static constexpr const Row* rowFor(int32_t calType) { return rowOf(Rows, calType); }
    static constexpr bool fourRange(int32_t calType) {
        const int i = rowIndexOf(Rows, calType);
        return i >= 0 && Rows[i].stage == StageForm::FourRange;
    }
};

// The branch a row takes in a tempRange, or null when the range builds
// nothing.
template <typename Row>
constexpr auto branchFor(const Row& r, int32_t range) -> const decltype(r.range2)* {
    switch (range) {
        case 2: return &r.range2;
        case 3: return &r.range3;
        case 4: return &r.range4;
        default: return nullptr;
    }
}

}  // namespace kalviro
