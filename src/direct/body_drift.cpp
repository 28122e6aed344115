// Body drift: the gray value the shutter's own temperature adds, read from
// the curve at the mean shutter temperature m (or mb = m + 20 on the raised
// grids), scaled by the gain of its temperature bin.
#include <cmath>

#include "core/block.hpp"
#include "core/body_bins.hpp"
#include "direct/stage.hpp"

namespace kalviro::direct {
namespace {

// BodyBinsFine, on the slopes of GridFine45 (51, and 56 in tempRange 2). The
// top bin falls back to b[14] after the extrapolated gains.
struct RowFine {
    float below;
    float a;
    int8_t p;
    uint8_t r;
    Gain gain;
};
// clang-format off
constexpr RowFine kBinsFine[] = {
    {-15, -15, 0, 0, D(5)},     {-10, -15, 0, 0, D(4)},     {-5, -5, 1, 0, D(3)},
    {0, -5, 1, 1, D(2)},        {5, 5, 2, 1, D(1)},         {10, 5, 2, 2, B(0)},
    {15, 15, 3, 2, B(1)},       {20, 15, 3, 3, B(2)},       {25, 25, 4, 3, B(3)},
    {30, 25, 4, 4, B(4)},       {35, 35, 5, 4, B(5)},       {40, 35, 5, 5, B(6)},
    {45, 45, kZeroPoint, 5, B(7)}, {50, 45, kZeroPoint, 6, none}, {55, 55, 6, 6, B(8)},
    {60, 55, 6, 7, B(9)},       {65, 55, 6, 7, B(10)},      {70, 70, 7, 7, B(11)},
    {75, 70, 7, 8, B(12)},      {80, 70, 7, 8, B(13)},      {85, 90, 8, 8, B(14)},
    {90, 90, 8, 8, H(14, 2)},   {95, 90, 8, 9, H(14, 3)},   {100, 90, 8, 9, H(14, 4)},
    {105, 110, 9, 9, H(14, 5)}, {110, 110, 9, 9, H(14, 6)}, {115, 110, 9, 10, H(14, 7)},
    {120, 110, 9, 10, H(14, 8)}, {125, 130, 10, 10, H(14, 9)}, {kTop, 130, 10, 10, B(14)},
};
// clang-format on

// CalType 50 on GridFine45: from 15 degrees on the gain is widened and meets
// G = driftGain * 0.2 + 0.8 in double.
struct Row50 {
    float below;
    float a;
    int8_t p;
    uint8_t r;
    uint8_t b;
    bool withG;
};
// clang-format off
constexpr Row50 kBins50[] = {
    {-5, -5, 1, 0, 0, false},   {5, 5, 2, 1, 1, false},    {15, 15, 3, 2, 2, false},
    {25, 25, 4, 3, 3, true},    {35, 35, 5, 4, 4, true},   {45, 45, kZeroPoint, 5, 5, true},
    {55, 45, kZeroPoint, 6, 6, true}, {70, 55, 6, 7, 7, true}, {kTop, 70, 7, 8, 8, true},
};
// clang-format on

float timesGain(float C, Gain gn, const float* b) {
    return gn.kind == GainKind::None ? C : C * gainValue(gn, b);
}

// The upper limit belongs to the bin here.
float binsHigh21(const FrameCtx& c) {
    const float m = c.m;
    const float k = (c.g[0] / 155.0f) * 0.5f;
    const float t = (25.0f - m) * k;
    const float dg = get(c.block, field::driftGain);
    const double dgd = static_cast<double>(dg);
    const float* b = c.b;
    if (m <= -10.0f) return t * b[0];
    if (m <= 0.0f) return t * b[1];
    if (m <= 15.0f) return t * b[2];
    if (m <= 25.0f) return t * b[3];
    if (m <= 30.0f) return t;
    if (m <= 40.0f) return t * dg;
    if (m <= 45.0f) return static_cast<float>(static_cast<double>(t) * (dgd - 0.1));
    if (m <= 50.0f) return static_cast<float>(static_cast<double>(t) * (dgd - 0.4));
    if (m <= 55.0f) return static_cast<float>(static_cast<double>(t) * (dgd - 0.7));
    if (m <= 60.0f) return k * (25.0f - m) * (dg - 1.0f);
    return static_cast<float>(static_cast<double>(t) * (dgd - 1.3));
}

}  // namespace

double driftGainG(const FrameCtx& c) {
    return static_cast<double>(get(c.block, field::driftGain)) * 0.2 + 0.8;
}

float bodyDrift(Body form, const FrameCtx& c) {
    const float k = (c.g[0] / 155.0f) * 0.5f;
    switch (form) {
        case Body::Bins25: return bins25(c, UpperGain::Blend);
        case Body::BinsHigh21: return binsHigh21(c);
        case Body::Mid25: return k * (25.0f - c.m);
        case Body::Mid25Ext:
            return (static_cast<float>(get(c.block, field::driftGainExt)) / 100.0f) * ((25.0f - c.m) * k);
        case Body::Mid45: return k * (45.0f - c.mb);
        case Body::High20: return (20.0f - c.c1) * c.slope[0];
        case Body::Slope25: return (25.0f - c.m) * c.slope[0];
        case Body::Slope45: return (45.0f - c.mb) * c.slope[0];
        case Body::Degree11: {
            // This grid has no 25-degree point: the bins turn at 26.
            const float t = (26.0f - c.m) * (c.g[0] * 0.25f);
            if (c.m < 26.0f) return t * c.b[0];
            if (c.m < 30.0f) return t * c.b[1];
            return t * c.b[2];
        }
        case Body::Degree12: {
            const float t = (30.0f - c.mb) * c.slope[0];
            return c.mb < 45.0f ? t * c.b[0] : t * c.b[1];
        }
        case Body::Bins45Gain1:
        case Body::Bins45Gain2:
        case Body::Bins45Gain3: {
            const Row45& row = kBins45[binOf(kBins45, c.mb)];
            const int column = static_cast<int>(form) - static_cast<int>(Body::Bins45Gain1);
            return timesGain(curveTerm(row.a, row.p, row.r, c), row.gain[column], c.b);
        }
        case Body::BinsFine: {
            const RowFine& row = kBinsFine[binOf(kBinsFine, c.mb)];
            return timesGain(curveTerm(row.a, row.p, row.r, c), row.gain, c.b);
        }
        case Body::BinsFine50: {
            const Row50& row = kBins50[binOf(kBins50, c.mb)];
            const float C = curveTerm(row.a, row.p, row.r, c);
            if (!row.withG) return C * c.b[row.b];
            return static_cast<float>(static_cast<double>(c.b[row.b]) *
                                      (driftGainG(c) * static_cast<double>(C)));
        }
        case Body::Mid45Bins: {
            const RowMid45& row = kMid45Bins[binOf(kMid45Bins, c.mb)];
            return timesGain((45.0f - c.mb) * k, row.gain, c.b);
        }
        case Body::Lens22: return bodyDrift22(c);
    }
    return 0.0f;
}

}  // namespace kalviro::direct
