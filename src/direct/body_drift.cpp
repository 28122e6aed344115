// Body drift: the gray value the shutter's own temperature adds, read from
// the curve at the mean shutter temperature m (or mb = m + 20 on the raised
// grids), scaled by the gain of its temperature bin.
#include <cmath>

#include "core/block.hpp"
#include "direct/recipe.hpp"

namespace kalviro::direct {
namespace {

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

float gainValue(Gain gn, const float* b) {
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
float curveTerm(float a, int8_t p, int r, const FrameCtx& c) {
    const float point = p == kZeroPoint ? 0.0f : c.g[p];
    return (a - c.mb) * c.slope[r] - point;
}

// BodyBins45. Gain 1: 57, 70 (tempRange 2) and 56 (3); Gain 2: 54, 55, 110,
// 120; Gain 3: 58.
struct Row45 {
    float below;
    float a;
    int8_t p;
    uint8_t r;
    Gain gain[3];
};
// clang-format off
constexpr Row45 kBins45[] = {
    {-20, -20, 0, 0, {L(10), D(9), L(7)}},
    {-15, -20, 0, 0, {L(9), D(8), L(6)}},
    {-10, -20, 0, 0, {L(8), D(7), L(5)}},
    {-5, 0, 1, 0, {L(7), D(6), L(4)}},
    {0, 0, 1, 0, {L(6), D(5), L(3)}},
    {5, 0, 1, 1, {L(5), D(4), L(2)}},
    {10, 0, 1, 1, {L(4), D(3), B(0)}},
    {15, 15, 2, 1, {L(3), D(2), B(1)}},
    {20, 15, 2, 2, {L(2), D(1), B(2)}},
    {25, 15, 2, 2, {B(0), B(0), B(3)}},
    {30, 30, 3, 2, {B(1), B(1), B(4)}},
    {35, 30, 3, 3, {B(2), B(2), B(5)}},
    {40, 30, 3, 3, {B(3), B(3), B(6)}},
    {45, 45, kZeroPoint, 3, {B(4), B(4), B(7)}},
    {50, 45, kZeroPoint, 4, {none, none, none}},
    {55, 55, 4, 4, {B(5), B(5), B(8)}},
    {60, 55, 4, 5, {B(6), B(6), B(9)}},
    {65, 55, 4, 5, {B(7), B(7), B(10)}},
    {70, 70, 5, 5, {B(8), B(8), B(11)}},
    {75, 70, 5, 6, {B(9), B(9), B(12)}},
    {80, 70, 5, 6, {H(9, 2), E(1), B(13)}},
    {85, 90, 6, 6, {H(9, 3), E(2), B(14)}},
    {90, 90, 6, 6, {H(9, 4), E(3), H(14, 2)}},
    {kTop, 90, 6, 7, {H(9, 5), E(4), H(14, 3)}},
};
// clang-format on

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

// 57 and 70 in tempRange 3: ((45 - mb) * k) * gain. 40 up to 45 is a gap
// that takes the gain of the outermost bins; b[7] is read by no bin.
struct RowMid45 {
    float below;
    Gain gain;
};
// clang-format off
constexpr RowMid45 kMid45Bins[] = {
    {0, H(14, 3)}, {5, L(2)},   {10, B(0)},  {15, B(1)},  {20, B(2)},      {25, B(3)},      {30, B(4)},
    {35, B(5)},    {40, B(6)},  {45, H(14, 3)}, {50, none}, {55, B(8)},    {60, B(9)},      {65, B(10)},
    {70, B(11)},   {75, B(12)}, {80, B(13)}, {85, B(14)}, {90, H(14, 2)}, {kTop, H(14, 3)},
};
// clang-format on

float timesGain(float C, Gain gn, const float* b) {
    return gn.kind == GainKind::None ? C : C * gainValue(gn, b);
}

float withG(float term, const FrameCtx& c) {
    return static_cast<float>(static_cast<double>(term) * driftGainG(c));
}

float bins25(const FrameCtx& c) {
    const float m = c.m;
    const float* s = c.slope;
    const float* g = c.g;
    const float* b = c.b;
    if (m < -10.0f) return ((0.0f - m) * s[0] - g[1]) * b[0];
    if (m < 0.0f) return ((0.0f - m) * s[0] - g[1]) * b[1];
    if (m < 15.0f) return ((15.0f - m) * s[1] - g[2]) * b[2];
    if (m < 25.0f) return (25.0f - m) * s[2] * b[3];
    if (m < 30.0f) return (25.0f - m) * s[3];
    if (m < 35.0f) return withG((25.0f - m) * s[3], c);
    if (m < 50.0f) return withG((35.0f - m) * s[4] - g[3], c);
    return withG((50.0f - m) * s[5] - g[4], c);
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
        case Body::Bins25: return bins25(c);
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
