// Body drift of the ladder stages: the gray value the shutter's temperature
// adds, read from the curve and weighted by its temperature bin.
#include "core/block.hpp"
#include "core/body_bins.hpp"
#include "ladder/stage.hpp"
#include "ladder/weights.hpp"

namespace kalviro::ladder {
namespace {

// (p0 / 155.0) * 0.5, (p0 / 155.0) / 5.0, (p0 / 75.0) and (p0 / 75.0) / 5.0
// in double, p0 the lowest curve point.
double p0(const Frame& f) { return f.curve.point[0]; }

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

// The pivot forms: their value in its own precision, widened.
double pivotOf(Body form, float xb, const Frame& f) {
    const FrameCtx& c = f.c;
    switch (form) {
        case Body::Pivot155: return static_cast<double>(45.0f - xb) * ((p0(f) / 155.0) * 0.5);
        case Body::PivotFifth: return static_cast<double>(45.0f - xb) * ((p0(f) / 155.0) / 5.0);
        case Body::Pivot75: return static_cast<double>(45.0f - xb) * (p0(f) / 75.0);
        case Body::PivotSlope: return (45.0f - xb) * c.slope[0];
        case Body::Fifth75: return static_cast<double>(25.0f - f.sh2) * ((p0(f) / 75.0) / 5.0);
        case Body::SlopeMean: return (25.0f - c.m) * c.slope[0];
        case Body::SlopeCH2: return (25.0f - f.sh2) * c.slope[0];
        default: return 0.0;
    }
}

// Hot pixels take less body drift: above a gray level the weight fades by
// the gain bg[k] over the rest of the curve.
float limited(float constB, const BodyDrift& body, float xb, const Frame& f) {
    if (body.limiter == Limiter::None || !(xb < 45.0f)) return constB;
    const float gIn = f.c.gf;
    float q, top, gain;
    if (body.limiter == Limiter::L1) {
        q = f.curve.point[6];     // mark[5]
        top = f.curve.point[12];  // m[11]
        gain = f.c.b[10];
    } else {
        q = f.curve.point[2];    // gc[2], or mark[1] where it is scaled
        top = f.curve.point[7];  // gc[7] * g
        gain = f.c.b[2];
    }
    if (!(gIn > q)) return constB;
    return static_cast<float>(static_cast<double>(constB) *
                              (1.0 - static_cast<double>(((gIn - q) * gain) / (top - q))));
}

}  // namespace

float bodyDrift(const BodyDrift& body, const Frame& f) {
    const FrameCtx& c = f.c;
    const double e = f.dIT;
    const float xb = xbOf(body.xb, f);
    switch (body.form) {
        case Body::Bins81: return bins25(c, UpperGain::Blend);
        case Body::Bins101: return bins25(c, UpperGain::Steps101);
        case Body::Poly92R2:
            return static_cast<float>(e * 0.0566195200489971 * e + e * 0.000271548865685712 * e * e +
                                      e * 10.6419045627756);
        case Body::Poly92R3:
            return static_cast<float>((e * 7.83734785383112e-05 * e * e - e * 0.048789261569762 * e) +
                                      e * 15.0705323800968);
        case Body::Mid25:
            return static_cast<float>(((static_cast<double>(f.gc[0]) / 155.0) * 0.5) *
                                      static_cast<double>(25.0f - c.m));
        case Body::Mid25Sum83: {
            const float s = f.sh2 + f.sh3;
            const double t =
                ((static_cast<double>(f.gc[0]) / 155.0) * 0.5) * (25.0 - static_cast<double>(s) * 0.5);
            return static_cast<float>(s < 20.0f ? t * static_cast<double>(c.b[1]) : t);
        }
        case Body::Slope20T1: return (20.0f - c.c1) * c.slope[0];
        case Body::UpperBins: {
            const double B =
                static_cast<double>(25.0f - c.m) * ((static_cast<double>(f.gc[0]) / 155.0) * 0.5);
            return static_cast<float>(B * upperFactor(c.m, f));
        }
        case Body::Curve: return limited(curveDrift(body, xb, f), body, xb, f);
        case Body::Pivot155:
        case Body::PivotFifth:
        case Body::Pivot75:
        case Body::PivotSlope:
        case Body::Fifth75:
        case Body::SlopeMean:
        case Body::SlopeCH2: {
            const double pivot = pivotOf(body.form, xb, f);
            const float b = static_cast<float>(
                body.weights == Weights::None ? pivot : pivot * weightOf(body.weights, xb, f));
            return limited(b, body, xb, f);
        }
    }
    return 0.0f;
}

}  // namespace kalviro::ladder
