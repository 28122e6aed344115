// The bin machinery of body drift, shared by both families: gains by
// temperature bin, the curve read at a temperature from its nearest grid
// point, and the bin tables that several CalTypes of either family use.
#pragma once

#include <cmath>
#include <cstdint>

#include "core/frame.hpp"

namespace kalviro {

// Gains of the bin tables. The extrapolated forms continue the first and last
// calibrated gains in a straight line:
//   L(n) = b[0] * n - b[1] * (n - 1)     H(i, n) = b[i] * n - b[i-1] * (n - 1)
//   D(n) = b[0] - (b[1] - b[0]) * n      E(n) = b[9] + (b[9] - b[8]) * n
enum class GainKind : uint8_t { None, B, L, H, D, E };

struct Gain {
    GainKind kind;
    uint8_t i;
    uint8_t n;
};

constexpr Gain none{GainKind::None, 0, 0};
constexpr Gain B(int i) { return {GainKind::B, static_cast<uint8_t>(i), 0}; }
constexpr Gain L(int n) { return {GainKind::L, 0, static_cast<uint8_t>(n)}; }
constexpr Gain H(int i, int n) { return {GainKind::H, static_cast<uint8_t>(i), static_cast<uint8_t>(n)}; }
constexpr Gain D(int n) { return {GainKind::D, 0, static_cast<uint8_t>(n)}; }
constexpr Gain E(int n) { return {GainKind::E, 0, static_cast<uint8_t>(n)}; }

inline float gainValue(Gain gn, const float* b) {
    const float n = static_cast<float>(gn.n);
    const float n1 = static_cast<float>(gn.n - 1);
    switch (gn.kind) {
        case GainKind::None: return 1.0f;
        case GainKind::B: return b[gn.i];
        case GainKind::L: return b[0] * n - b[1] * n1;
        case GainKind::H: return b[gn.i] * n - b[gn.i - 1] * n1;
        case GainKind::D: return b[0] - (b[1] - b[0]) * n;
        case GainKind::E: return b[9] + (b[9] - b[8]) * n;
    }
    return 1.0f;
}

constexpr float kTop = INFINITY;   // the last bin: everything else, NaN too
constexpr int8_t kZeroPoint = -1;  // p of a bin on the zero point: gray 0

// Index of the bin of x; a bin holds its lower limit, and a NaN fails every
// comparison and lands in the last bin.
template <typename Row, int N>
int binOf(const Row (&rows)[N], float x) {
    for (int i = 0; i < N - 1; ++i) {
        if (x < rows[i].below) return i;
    }
    return N - 1;
}

// C = (a - mb) * slope[r] - p: the curve read at mb from the nearest grid
// point, sign turned.
inline float curveTerm(float a, int8_t p, int r, const FrameCtx& c) {
    const float point = p == kZeroPoint ? 0.0f : c.g[p];
    return (a - c.mb) * c.slope[r] - point;
}

// BodyBins45, curve B on mb = m + 20 by the gain of a 5-degree bin. Gain 1:
// 57, 70 (tempRange 2), 56 (3), and table B of the ladder's 71 and 130; Gain 2:
// 54, 55, 110, 120, 111, 121; Gain 3: 58; Gain 4: table B' of 131.
struct Row45 {
    float below;
    float a;
    int8_t p;
    uint8_t r;
    Gain gain[4];
};
// clang-format off
inline constexpr Row45 kBins45[] = {
    {-20, -20, 0, 0, {L(10), D(9), L(7), L(6)}},
    {-15, -20, 0, 0, {L(9), D(8), L(6), L(5)}},
    {-10, -20, 0, 0, {L(8), D(7), L(5), L(4)}},
    {-5, 0, 1, 0, {L(7), D(6), L(4), L(3)}},
    {0, 0, 1, 0, {L(6), D(5), L(3), L(2)}},
    {5, 0, 1, 1, {L(5), D(4), L(2), B(0)}},
    {10, 0, 1, 1, {L(4), D(3), B(0), B(1)}},
    {15, 15, 2, 1, {L(3), D(2), B(1), B(2)}},
    {20, 15, 2, 2, {L(2), D(1), B(2), B(3)}},
    {25, 15, 2, 2, {B(0), B(0), B(3), B(4)}},
    {30, 30, 3, 2, {B(1), B(1), B(4), B(5)}},
    {35, 30, 3, 3, {B(2), B(2), B(5), B(6)}},
    {40, 30, 3, 3, {B(3), B(3), B(6), B(7)}},
    {45, 45, kZeroPoint, 3, {B(4), B(4), B(7), B(8)}},
    {50, 45, kZeroPoint, 4, {none, none, none, none}},
    {55, 55, 4, 4, {B(5), B(5), B(8), B(9)}},
    {60, 55, 4, 5, {B(6), B(6), B(9), B(10)}},
    {65, 55, 4, 5, {B(7), B(7), B(10), B(11)}},
    {70, 70, 5, 5, {B(8), B(8), B(11), B(12)}},
    {75, 70, 5, 6, {B(9), B(9), B(12), B(13)}},
    {80, 70, 5, 6, {H(9, 2), E(1), B(13), B(14)}},
    {85, 90, 6, 6, {H(9, 3), E(2), B(14), H(14, 2)}},
    {90, 90, 6, 6, {H(9, 4), E(3), H(14, 2), H(14, 3)}},
    {kTop, 90, 6, 7, {H(9, 5), E(4), H(14, 3), H(14, 4)}},
};
// clang-format on

// 57 and 70 in tempRange 3, table B3 of the ladder's 71: ((45 - mb) * k) *
// gain. 40 up to 45 is a gap that takes the gain of the outermost bins;
// b[7] is read by no bin.
struct RowMid45 {
    float below;
    Gain gain;
};
// clang-format off
inline constexpr RowMid45 kMid45Bins[] = {
    {0, H(14, 3)}, {5, L(2)},   {10, B(0)},  {15, B(1)},  {20, B(2)},      {25, B(3)},      {30, B(4)},
    {35, B(5)},    {40, B(6)},  {45, H(14, 3)}, {50, none}, {55, B(8)},    {60, B(9)},      {65, B(10)},
    {70, B(11)},   {75, B(12)}, {80, B(13)}, {85, B(14)}, {90, H(14, 2)}, {kTop, H(14, 3)},
};
// clang-format on

// How K, the gain of the upper bins of the 25-degree table, is formed: the
// double expression driftGain * 0.2 + 0.8 throughout, or (101, 102) driftGain
// itself from 30, + 0.08 from 35 and + 0.1 from 50 degrees, in double.
enum class UpperGain : uint8_t { Blend, Steps101 };

// Body drift on the 25-degree grid by the bin of the shutter mean m; a bin
// holds its lower limit.
float bins25(const FrameCtx& c, UpperGain k);

}  // namespace kalviro
