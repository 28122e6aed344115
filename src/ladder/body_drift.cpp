// Body drift of the ladder stages: the gray value the shutter's temperature
// adds, read from the curve and weighted by its temperature bin.
#include "core/block.hpp"
#include "core/body_bins.hpp"
#include "ladder/stage.hpp"

namespace kalviro::ladder {
namespace {

// (gc[0] / 155.0) * 0.5 and (gc[0] / 155.0) / 5.0, in double.
double half155(const Frame& f) { return (static_cast<double>(f.c.g[0]) / 155.0) * 0.5; }
double fifth155(const Frame& f) { return (static_cast<double>(f.c.g[0]) / 155.0) / 5.0; }

// The upper bins of 91 to 95 hold their upper limit: B times the bin's factor.
double upperFactor(float m, const Frame& f) {
    const float* b = f.c.b;
    const double dg = f.driftGain;
    if (m <= -10.0f) return b[0];
    if (m <= 0.0f) return b[1];
    if (m <= 15.0f) return b[2];
    if (m <= 25.0f) return b[3];
    if (m <= 30.0f) return 1.0;
    if (m <= 40.0f) return dg;
    if (m <= 45.0f) return dg - 0.1;
    if (m <= 50.0f) return dg - 0.4;
    if (m <= 55.0f) return dg - 0.7;
    if (m <= 60.0f) return dg - 1.0;
    return dg - 1.3;
}

// Curve B at xb = meanCH + 20 times the gain of the bin, in one column of
// the 45-degree table.
float tableB(int column, const Frame& f) {
    const Row45& row = kBins45[binOf(kBins45, f.c.mb)];
    const float C = curveTerm(row.a, row.p, row.r, f.c);
    const Gain gain = row.gain[column];
    return gain.kind == GainKind::None ? C : C * gainValue(gain, f.c.b);
}

// (45 - xb) * k by a bin's weight, in double, rounded once.
float pivot45(double k, Gain gain, const Frame& f) {
    const double p = static_cast<double>(45.0f - f.c.mb) * k;
    return static_cast<float>(gain.kind == GainKind::None ? p
                                                          : p * static_cast<double>(gainValue(gain, f.c.b)));
}

constexpr int kColumnB = 0;       // table B of 71, 130
constexpr int kColumnBPrime = 3;  // table B' of 131

}  // namespace

float bodyDrift(Body form, const Frame& f) {
    const FrameCtx& c = f.c;
    const double e = f.dIT;
    switch (form) {
        case Body::Bins81: return bins25(c, UpperGain::Blend);
        case Body::Bins101: return bins25(c, UpperGain::Steps101);
        case Body::Poly92R2:
            return static_cast<float>(e * 0.0566195200489971 * e + e * 0.000271548865685712 * e * e +
                                      e * 10.6419045627756);
        case Body::Poly92R3:
            return static_cast<float>((e * 7.83734785383112e-05 * e * e - e * 0.048789261569762 * e) +
                                      e * 15.0705323800968);
        case Body::Mid25: return static_cast<float>(half155(f) * static_cast<double>(25.0f - c.m));
        case Body::Mid25Sum83: {
            const float s = get(c.block, field::shutterCH2) + get(c.block, field::shutterCH3);
            const double t = half155(f) * (25.0 - static_cast<double>(s) * 0.5);
            return static_cast<float>(s < 20.0f ? t * static_cast<double>(c.b[1]) : t);
        }
        case Body::Slope25: return (25.0f - c.m) * c.slope[0];
        case Body::Slope20T1: return (20.0f - c.c1) * c.slope[0];
        case Body::Slope45: return (45.0f - c.mb) * c.slope[0];
        case Body::UpperBins:
            return static_cast<float>((static_cast<double>(25.0f - c.m) * half155(f)) * upperFactor(c.m, f));
        case Body::TableB: return tableB(kColumnB, f);
        case Body::TableBPrime: return tableB(kColumnBPrime, f);
        case Body::TableB3: return pivot45(half155(f), kMid45Bins[binOf(kMid45Bins, c.mb)].gain, f);
        case Body::TableB3Prime:
            return pivot45(fifth155(f), kBins45[binOf(kBins45, c.mb)].gain[kColumnBPrime], f);
        case Body::Mid45Fifth: return static_cast<float>(static_cast<double>(45.0f - c.mb) * fifth155(f));
    }
    return 0.0f;
}

}  // namespace kalviro::ladder
