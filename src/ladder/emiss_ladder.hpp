// The emissivity ladder: one table of polynomials in the emissivity, shared
// by every ladder CalType. The apparent temperature's distance from the base
// temperature picks a bin, the emissivity picks a band, and the bin's
// polynomial is the factor that stretches the temperature about the base.
#pragma once

#include <cstdint>

#include "core/lanes.hpp"

namespace kalviro::ladder {

// lowerBand: emissivity below 0.5; upperBand: everything else. Bins 0 to 4
// hold one row for both.
enum class Band : uint8_t { Both, Lower, Upper };

struct EmissLadderRow {
    Band band;
    uint8_t bin;
    float binOffset;  // upper edge of the bin above baseTemp; none in bin 23
    double c[7];      // coefficients of e^7 down to e^1
};

constexpr int kBins = 24;
constexpr int kEdges = kBins - 1;

// The ladder factor for an emissivity, an apparent temperature x and the
// base temperature, as one call computes it.
float ladderFactor(float emissivity, double x, float baseTemp);

// The ladder for one emissivity and one base temperature: the bin edges and
// the factor of every bin, computed once for a frame. factorAt(x) is then
// ladderFactor(emissivity, x, baseTemp) to the bit.
//
// The kernel compares in single precision: x is (double)q / 100.0 for the
// apparent temperature in hundredths q, a float, and that quotient rises
// with q, so x <= edge holds exactly for the floats q up to a threshold,
// the largest float whose quotient is still at most the edge.
struct LadderPlan {
    static constexpr int kLevels = 5;  // 2^5 thresholds to halve
    double edge[kEdges];
    // The threshold of each edge on q, then +inf; the factor of each bin,
    // then that of the last: 32 entries for lanes that look up by index.
    float qEdge[32];
    float factor[32];

    float factorAt(double x) const;
};

// The factor of the first bin whose edge the apparent temperature does not
// pass, lane by lane, from q in hundredths. The edges rise (so do their
// thresholds, and a NaN base temperature makes them all NaN), so within
// q's bin and above every test holds and below none does: lanes that look
// up by index halve their way to it; others search only the bins between
// those of their smallest and largest q.
template <class L>
typename L::F factorAt(const LadderPlan& plan, typename L::F q) {
    if constexpr (L::kLookup && 2 * L::N >= 32) {
        return L::lookup(plan.factor, rank<L>(plan.qEdge, LadderPlan::kLevels, q));
    }
    // NaN lanes pass every edge: the last bin is theirs.
    int first = 0, last = 0;
    laneBounds<L>(
        kEdges, [&plan](int i) { return plan.qEdge[i]; }, q, first, last);
    if (L::anyNaN(q)) last = kEdges;
    auto f = L::splat(plan.factor[last]);
    for (int bin = last - 1; bin >= first; --bin)
        f = L::select(q <= plan.qEdge[bin], L::splat(plan.factor[bin]), f);
    return f;
}

LadderPlan ladderPlan(float emissivity, float baseTemp);

}  // namespace kalviro::ladder
