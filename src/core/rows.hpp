// Family tables hold one row per CalType; a row is found by its number.
// Compile-time checks compare numbers only: the sanitizers' builds cannot
// evaluate pointer comparisons at compile time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kalviro {

// The index of a CalType's row, or -1.
template <typename Row, std::size_t N>
constexpr int rowIndexOf(const Row (&rows)[N], int32_t calType) {
    for (std::size_t i = 0; i < N; ++i) {
        if (rows[i].calType == calType) return static_cast<int>(i);
    }
    return -1;
}

// The CalType's row, or null.
template <typename Row, std::size_t N>
constexpr const Row* rowOf(const Row (&rows)[N], int32_t calType) {
    const int i = rowIndexOf(rows, calType);
    return i < 0 ? nullptr : &rows[i];
}

}  // namespace kalviro
