// trimTable: a multiplicative trim of the final temperature by the band of
// envTemp and auxGate, the emissivity row and five temperature steps. The
// band and row depend on the frame; the step on X, lane by lane.
#pragma once

#include <cstdint>

namespace kalviro::ladder {

struct TrimRow {
    float t[4];  // rising thresholds, whole degrees
    double f[5];
};

// The row of a frame: from envTemp / 100 (a), auxGate / 100 (b) and the
// emissivity; null where no trim applies (b <= 29, or emissivity 1).
const TrimRow* trimRowFor(int32_t a, int32_t b, float emissivity);

// Hundredths: X trimmed by the factor of its step, tempOffset added.
template <class L>
typename L::I trimTable(typename L::F X, const TrimRow* row, float offset) {
    if (row == nullptr) return L::toInt(X * 100.0f + offset);
    // The first step whose threshold X is below; the last above them all.
    auto f = L::splat(row->f[4]);
    for (int step = 3; step >= 0; --step) f = L::select(X < row->t[step], L::splat(row->f[step]), f);
    const auto trimmed = L::narrow(L::widen(X) * f);
    return L::toInt(trimmed * 100.0f + offset);
}

}  // namespace kalviro::ladder
