#include "ladder/weights.hpp"

#include "core/body_bins.hpp"

namespace kalviro::ladder {
namespace {

// The 5-degree bins of xb: 0 below -20, then [-20, -15) to [85, 90), and 23
// from 90 on. A bin holds its lower edge; a NaN lands in the last bin.
int bin5(float xb) {
    int i = 0;
    while (i < 23 && !(xb < static_cast<float>(-20 + 5 * i))) ++i;
    return i;
}

// Lower edge of a 5-degree bin.
float edge5(int i) { return static_cast<float>(-25 + 5 * i); }

// (a - xb) * s[r] - point, the point by curve index, or 0 at the zero point.
struct CurveRow {
    float a;
    int8_t p;
    uint8_t r;
};

constexpr int8_t Z = kZeroPoint;

// clang-format off
// Curve B on the 45-degree grids, by 5-degree bin: the rows of the table of
// the same curve.
constexpr CurveRow curveBRow(int i) { return {kBins45[i].a, kBins45[i].p, kBins45[i].r}; }

// Curve D on the grid with the knot at 45 and points from -20 to 150.
constexpr CurveRow kCurveD[24] = {
    {-20, 0, 0}, {-20, 0, 0}, {-10, 1, 0}, {-10, 1, 1}, {0, 2, 1}, {0, 2, 2}, {0, 2, 2}, {15, 3, 2},
    {15, 3, 3}, {25, 4, 3}, {25, 4, 4}, {35, 5, 4}, {35, 5, 5}, {45, Z, 5}, {45, Z, 6}, {55, 6, 6},
    {55, 6, 7}, {55, 6, 7}, {70, 7, 7}, {70, 7, 8}, {70, 7, 8}, {90, 8, 8}, {90, 8, 8}, {90, 8, 9},
};

// Curve E on the grid with the knot at 25, bins with upper edges -10, 0,
// 15, 25, 30, 35, 45 and the rest.
constexpr float kEdgesE[7] = {-10, 0, 15, 25, 30, 35, 45};
constexpr CurveRow kCurveE[8] = {
    {-10, 1, 0}, {0, 2, 1}, {15, 3, 2}, {25, Z, 3}, {25, Z, 4}, {25, Z, 4}, {35, 4, 5}, {45, 5, 6},
};

// The starting weights of 134, one literal per 5-degree bin from -20 to 40.
constexpr double k134[14] = {0.1, 0.16, 0.22, 0.28, 0.34, 0.4, 0.46, 0.52, 0.58, 0.64, 0.7, 0.76, 0.82, 0.88};
// clang-format on

float curveValue(const CurveRow& row, float xb, const Frame& f) {
    const float point = row.p == Z ? 0.0f : f.c.g[row.p];
    return (row.a - xb) * f.c.slope[row.r] - point;
}

// L(k, x0): the gain interpolated from bg[k] to bg[k+1] over the bin, in
// double and rounded to float: the one weight the camera rounds first.
double interp(int k, float x0, float xb, const float* bg) {
    return static_cast<float>(static_cast<double>(bg[k]) +
                              static_cast<double>((bg[k + 1] - bg[k]) * (xb - x0)) / 5.0);
}

// The rising tail from 70 on: base + j * 0.01 + ((xb - x0) * 0.01) / 5.0.
double tail(float base, int i, float xb) {
    return (static_cast<double>(base) + (i - 19) * 0.01) + (static_cast<double>(xb - edge5(i)) * 0.01) / 5.0;
}

double w73(int i, float xb, const float* bg) {
    if (i <= 4) return gainValue(L(6 - i), bg);
    if (i == 5) return bg[0];
    if (i <= 13) return interp(i - 6, edge5(i), xb, bg);
    if (i == 14)
        return static_cast<double>(bg[8]) + static_cast<double>((bg[8] - bg[7]) * (xb - 45.0f)) / 5.0;
    if (i == 15) {
        return static_cast<double>(2.0f * bg[8] - bg[7]) +
               static_cast<double>((xb - 50.0f) * ((bg[9] - 2.0f * bg[8]) + bg[7])) / 5.0;
    }
    if (i <= 18) return bg[9];
    if (i <= 22) return bg[i - 9];
    return gainValue(H(13, 2), bg);
}

double w74(int i, float xb, const float* bg) {
    if (i <= 3) {
        constexpr double base[4] = {0.1, 0.15, 0.2, 0.25};
        return (static_cast<double>(xb + static_cast<float>(25 - 5 * i)) * 0.05) / 5.0 + base[i];
    }
    if (i <= 12) return static_cast<double>(bg[i - 4]) + static_cast<double>((xb - edge5(i)) * bg[11]) / 5.0;
    if (i <= 14) return bg[9] + bg[11];
    if (i == 15) {
        return static_cast<double>(bg[11] + bg[9]) +
               static_cast<double>((xb - 50.0f) * ((bg[10] - bg[9]) - bg[11])) / 5.0;
    }
    if (i <= 18) return bg[10];
    return tail(bg[10], i, xb);
}

// W75 up to [50, 55): bg[0] below 0, then L(0, 0) to L(10, 50).
double w75Low(int i, float xb, const float* bg) { return i <= 4 ? bg[0] : interp(i - 5, edge5(i), xb, bg); }

double w134(int i, float xb, const float* bg) {
    if (i <= 13)
        return (k134[i] - static_cast<double>(bg[0])) + (static_cast<double>(xb - edge5(i)) * 0.06) / 5.0;
    if (i == 14) return (0.94 - static_cast<double>(bg[0])) + (static_cast<double>(xb - 40.0f) * 0.06) / 5.0;
    if (i <= 22) return bg[i - 14];
    return bg[9];
}

double gainIn(int column, int i, const float* bg) {
    const Gain g = kBins45[i].gain[column];
    return g.kind == GainKind::None ? 1.0 : static_cast<double>(gainValue(g, bg));
}

constexpr int kColumnB = 0;
constexpr int kColumnLong = 1;
constexpr int kColumnBPrime = 3;

}  // namespace

float xbOf(Xb xb, const Frame& f) {
    switch (xb) {
        case Xb::MeanCH20: return f.c.mb;
        case Xb::CH3p20: return f.sh3 + 20.0f;
        case Xb::CH2p20: return f.sh2 + 20.0f;
        case Xb::CH2p15: return f.sh2 + 15.0f;
        case Xb::T2p20: return f.c.c2 + 20.0f;
        case Xb::T2p15: return f.c.c2 + 15.0f;
        case Xb::CH2: return f.sh2;
        case Xb::T2: return f.c.c2;
    }
    return f.c.mb;
}

double weightOf(Weights list, float xb, const Frame& f) {
    const float* bg = f.c.b;
    const double dg = f.driftGain;
    const int i = bin5(xb);
    switch (list) {
        case Weights::None: return 1.0;
        case Weights::TableB: return gainIn(kColumnB, i, bg);
        case Weights::TableB132: return i <= 18 ? gainIn(kColumnB, i, bg) : bg[9];
        case Weights::TableBLong: return gainIn(kColumnLong, i, bg);
        case Weights::TableBPrime: return gainIn(kColumnBPrime, i, bg);
        case Weights::B3: {
            const Gain g = kMid45Bins[binOf(kMid45Bins, xb)].gain;
            return g.kind == GainKind::None ? 1.0 : static_cast<double>(gainValue(g, bg));
        }
        case Weights::W73: return w73(i, xb, bg);
        case Weights::W133:
            if (i == 14) return 1.0;
            if (i >= 15 && i <= 18) return bg[9];
            return w73(i, xb, bg);
        case Weights::W74: return w74(i, xb, bg);
        case Weights::W75:
            if (i <= 15) return w75Low(i, xb, bg);
            return i <= 18 ? bg[11] : tail(bg[11], i, xb);
        case Weights::W135: return i <= 15 ? w75Low(i, xb, bg) : bg[11];
        case Weights::W76:
            if (i <= 15) return w75Low(i, xb, bg);
            if (i <= 17) return bg[11];
            return i == 18 ? interp(11, 65.0f, xb, bg) : bg[12];
        case Weights::W136:
            if (i <= 15) return w75Low(i, xb, bg);
            if (i <= 18) return bg[11];
            return i == 19 ? interp(11, 70.0f, xb, bg) : bg[12];
        case Weights::W138: return i <= 14 ? w75Low(i, xb, bg) : bg[10];
        case Weights::W134: return w134(i, xb, bg);
        case Weights::Three:
            if (xb < 45.0f) return bg[0];
            return xb < 50.0f ? 1.0 : bg[1];
        case Weights::W3:
            if (xb < 45.0f)
                return static_cast<double>(bg[0]) + static_cast<double>(bg[4] * (45.0f - xb)) / 10.0;
            if (xb < 50.0f) return 1.0;
            return static_cast<double>(bg[1]) + static_cast<double>((xb - 50.0f) * bg[5]) / 10.0;
        case Weights::Hot35: return xb > 35.0f ? dg : 1.0;
        case Weights::T2Steps96:
            if (xb < 25.0f) return bg[0];
            if (xb <= 30.0f) return 1.0;
            if (xb < 35.0f) return ((dg - 1.0) * static_cast<double>(xb - 30.0f)) / 5.0 + 1.0;
            return xb == 35.0f ? 1.0 : dg;
        case Weights::W85:
        case Weights::W96: break;  // on the bins of curve E
    }
    return 1.0;
}

float curveDrift(const BodyDrift& body, float xb, const Frame& f) {
    const float* bg = f.c.b;
    if (body.curve == CurveForm::E) {
        int i = 0;
        while (i < 7 && !(xb < kEdgesE[i])) ++i;
        const float C = curveValue(kCurveE[i], xb, f);
        const double dg = f.driftGain;
        double w;
        if (i >= 5) {
            w = dg;
            if (i == 5 && body.weights == Weights::W96)
                w = ((static_cast<double>(xb - 30.0f) * (dg - 1.0)) / 5.0 + 1.0);
        } else if (i == 4) {
            w = 1.0;
        } else if (body.weights == Weights::W96 && i >= 1) {
            // 96 and 140 step from one gain to the next over the bin.
            constexpr double span[4] = {0, 10.0, 15.0, 10.0};
            w = static_cast<double>(bg[i] - bg[i - 1]) / span[i] + static_cast<double>(bg[i - 1]);
        } else {
            w = bg[i];
        }
        return static_cast<float>(static_cast<double>(C) * w);
    }

    int i = bin5(xb);
    CurveRow row{};
    switch (body.curve) {
        case CurveForm::B: row = curveBRow(i); break;
        // One bin below 0, on the row of [-5, 0).
        case CurveForm::BFrom0: row = curveBRow(i < 4 ? 4 : i); break;
        // And the row of [45, 50) carried on above 50.
        case CurveForm::BFrom0To50: row = curveBRow(i < 4 ? 4 : i > 14 ? 14 : i); break;
        case CurveForm::D: row = kCurveD[i]; break;
        case CurveForm::DFrom0: row = kCurveD[i < 4 ? 4 : i]; break;
        case CurveForm::E:
        case CurveForm::None: break;
    }
    const float C = curveValue(row, xb, f);
    if (body.weights == Weights::None) return C;
    return static_cast<float>(static_cast<double>(C) * weightOf(body.weights, xb, f));
}

}  // namespace kalviro::ladder
