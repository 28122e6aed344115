#include "core/grids.hpp"

#include "core/block.hpp"
#include "core/segment_table.hpp"

namespace kalviro {
namespace {

// Where a grid point's gray value comes from. Zero is the zero point, gray
// value 0 by definition; Word30 is the field at 0x030, which two grids read
// as a curve point.
enum class Src : uint8_t { G, E, Zero, Word30 };

struct Point {
    Src src;
    uint8_t k;
    float temp;
};

struct GridDef {
    int points;  // rows + 1
    int zero;    // index of the zero point, -1 if none
    Point p[15];
};

constexpr Point g(int k, float t) { return {Src::G, static_cast<uint8_t>(k), t}; }
constexpr Point e(int k, float t) { return {Src::E, static_cast<uint8_t>(k), t}; }
constexpr Point zero(float t) { return {Src::Zero, 0, t}; }
constexpr Point word30(float t) { return {Src::Word30, 0, t}; }

// clang-format off
// One line per grid, points in ascending temperature.
constexpr GridDef kGrids[] = {
    /* Grid25 */ {13, 3, {g(0, -20), g(1, 0), g(2, 15), zero(25), g(3, 35), g(4, 50), g(5, 70), g(6, 90), g(7, 120), g(8, 150), g(9, 180), g(10, 210), g(11, 250)}},
    /* Grid45 */ {13, 4, {g(0, -20), g(1, 0), g(2, 15), g(3, 30), zero(45), g(4, 55), g(5, 70), g(6, 90), g(7, 120), g(8, 150), g(9, 180), g(10, 210), g(11, 250)}},
    /* Grid45Ext */ {15, 4, {g(0, -20), g(1, 0), g(2, 15), g(3, 30), zero(45), g(4, 55), g(5, 70), g(6, 90), g(7, 120), g(8, 150), g(9, 180), g(10, 210), g(11, 250), e(0, 300), e(1, 350)}},
    /* GridFine45 */ {13, 6, {g(0, -15), g(1, -5), g(2, 5), g(3, 15), g(4, 25), g(5, 35), zero(45), g(6, 55), g(7, 70), g(8, 90), g(9, 110), g(10, 130), g(11, 150)}},
    /* GridMid7 */ {8, -1, {g(0, 180), g(1, 200), g(2, 250), g(3, 300), g(4, 350), g(5, 400), g(6, 500), g(7, 600)}},
    /* GridHigh10 */ {11, -1, {g(0, 180), g(1, 200), g(2, 250), g(3, 300), g(4, 350), g(5, 400), g(6, 500), g(7, 600), g(8, 800), g(9, 1000), g(10, 1200)}},
    /* GridHigh7 */ {8, -1, {g(0, 500), g(1, 550), g(2, 600), g(3, 650), g(4, 700), g(5, 800), g(6, 1000), g(7, 1200)}},
    /* GridDegree11 */ {12, -1, {g(0, 30), g(1, 31), g(2, 32), g(3, 33), g(4, 34), g(5, 35), g(6, 36), g(7, 37), g(8, 38), g(9, 39), g(10, 40), g(11, 41)}},
    /* GridDegree12 */ {13, -1, {g(0, 30), g(1, 31), g(2, 32), g(3, 33), g(4, 34), g(5, 35), g(6, 36), g(7, 37), g(8, 38), g(9, 39), g(10, 40), g(11, 41), word30(42)}},
    /* GridMid7Wide */ {8, -1, {g(0, 120), g(1, 150), g(2, 200), g(3, 250), g(4, 300), g(5, 400), g(6, 500), g(7, 650)}},
    /* GridMid10Wide */ {11, -1, {g(0, 120), g(1, 150), g(2, 200), g(3, 250), g(4, 300), g(5, 400), g(6, 500), g(7, 650), g(8, 800), g(9, 1000), g(10, 1200)}},
    /* GridHigh12 */ {13, -1, {g(0, 180), g(1, 200), g(2, 250), g(3, 300), g(4, 350), g(5, 400), g(6, 500), g(7, 600), g(8, 800), g(9, 1000), g(10, 1200), g(11, 1400), word30(1700)}},
    /* GridLow25 */ {13, 7, {g(0, -20), g(1, -10), g(2, 0), g(3, 5), g(4, 10), g(5, 15), g(6, 20), zero(25), g(7, 30), g(8, 35), g(9, 40), g(10, 45), g(11, 50)}},
    /* GridLow45 */ {13, 6, {g(0, -20), g(1, -10), g(2, 0), g(3, 15), g(4, 25), g(5, 35), zero(45), g(6, 55), g(7, 70), g(8, 90), g(9, 110), g(10, 130), g(11, 150)}},
    /* GridLow25Wide */ {13, 4, {g(0, -20), g(1, -10), g(2, 0), g(3, 15), zero(25), g(4, 35), g(5, 45), g(6, 55), g(7, 70), g(8, 90), g(9, 110), g(10, 130), g(11, 150)}},
    /* GridMid11 */ {12, -1, {g(0, 100), g(1, 120), g(2, 150), g(3, 180), g(4, 210), g(5, 250), g(6, 300), g(7, 350), g(8, 400), g(9, 450), g(10, 500), g(11, 600)}},
};

// Shift factor of each row: grayBase = point - factor * s, a factor of 1
// being the plain row. The factors are the decimal literals; in single
// precision they are those literals as floats.
constexpr double kSteps[][14] = {
    /* Plain */ {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1},
    /* Stepped */ {1, 1, 1.1, 1.2, 1.3, 1.4, 1.5, 1.6, 1.7, 1.8, 1, 1, 1, 1},
    /* Lens22 */ {1, 1, 1, 1, 1, 1.1, 1.2, 1.4, 1.6, 1.8, 1, 2.3, 1, 1},
    /* Old12 */ {1, 1, 1, 1, 1, 1.1, 1.2, 1.4, 1.6, 1.8, 2.0, 2.3, 1, 1},
    /* High12 */ {1, 1, 1.1, 1.2, 1.3, 1.4, 1.5, 1.6, 1.7, 1.8, 1.9, 2.0, 1, 1},
    /* MidWide10 */ {1, 1, 1.1, 1.2, 1.3, 1.4, 1.5, 1.5, 1.5, 1.5, 1, 1, 1, 1},
    /* Ext45 */ {1, 1, 1, 1, 1, 1.5, 1.8, 2.3, 2.8, 3.3, 4.0, 4.7, 5.4, 6.1},
    /* Knot22 */ {1, 1, 1, 1, 1, 1.1, 1.2, 1.4, 1.6, 1.8, 2.0, 2.2, 1, 1},
    /* Knot26 */ {1, 1, 1, 1, 1, 1.1, 1.2, 1.4, 1.6, 1.8, 2.0, 2.2, 2.4, 2.6},
    /* Rise85 */ {1, 1, 1, 1, 1, -1, -1, -1, -1, -1, -1, -1, 1, 1},
};
// clang-format on

// The float of each decimal literal is the literal rounded once.
static_assert(static_cast<float>(1.1) == 1.1f && static_cast<float>(2.3) == 2.3f &&
                  static_cast<float>(1.7) == 1.7f && static_cast<float>(6.1) == 6.1f,
              "single-precision factors");

const GridDef& def(GridId grid) { return kGrids[static_cast<int>(grid)]; }

float pointValue(const Point& p, const uint8_t* block) {
    switch (p.src) {
        case Src::G: return get(block, field::grayCurve(p.k));
        case Src::E: return get(block, field::grayCurveExt(p.k));
        case Src::Word30: return get(block, field::warmDiffLow);
        case Src::Zero: break;
    }
    return 0.0f;
}

float shifted(float point, double factor, StepMath math, float s) {
    switch (math) {
        case StepMath::Float: return point + s * -static_cast<float>(factor);
        case StepMath::WholeFloat:
            if (factor == 1.0) return point - s;
            break;
        case StepMath::Double: break;
    }
    return static_cast<float>(static_cast<double>(point) + -factor * static_cast<double>(s));
}

}  // namespace

int gridRows(GridId grid) { return def(grid).points - 1; }

Curve gridCurve(GridId grid, const uint8_t* block) {
    const GridDef& d = def(grid);
    Curve c{grid, {}};
    for (int i = 0; i < d.points; ++i) c.point[i] = pointValue(d.p[i], block);
    return c;
}

Curve gridCurve(GridId grid, const uint8_t* block, float scale, int scaleFrom) {
    const GridDef& d = def(grid);
    Curve c{grid, {}};
    for (int i = 0; i < d.points; ++i) {
        const Point& p = d.p[i];
        const bool scaled = (p.src == Src::G && p.k >= scaleFrom) || p.src == Src::E;
        c.point[i] = scaled ? pointValue(p, block) * scale : pointValue(p, block);
    }
    return c;
}

void gridSlopes(const Curve& curve, float* slope) {
    const GridDef& d = def(curve.grid);
    for (int i = 0; i + 1 < d.points; ++i) {
        slope[i] = (curve.point[i + 1] - curve.point[i]) / (d.p[i + 1].temp - d.p[i].temp);
    }
}

void gridSlopes(GridId grid, const uint8_t* block, float* slope) {
    gridSlopes(gridCurve(grid, block), slope);
}

void segmentBuild(const Curve& curve, Steps steps, StepMath math, float s, TempSegment* tempdata) {
    const GridDef& d = def(curve.grid);
    const int rows = d.points - 1;
    const double* factor = kSteps[static_cast<int>(steps)];
    const float* point = curve.point;
    float slope[14];
    gridSlopes(curve, slope);

    for (int i = 0; i < rows; ++i) {
        // Below the zero point a row counts down from its upper grid point.
        const int anchor = (d.zero >= 0 && i + 1 <= d.zero) ? i + 1 : i;
        TempSegment& r = tempdata[i];
        r.grayLow = i == 0 ? -kSentinel : point[i];
        r.grayHigh = i == rows - 1 ? kSentinel : point[i + 1];
        r.tempBase = d.p[anchor].temp;
        r.grayBase = shifted(point[anchor], factor[i], math, s);
        r.graySlope = slope[i];
    }
    // The one-degree grid of CalType 52 measures its last row from g[10].
    if (curve.grid == GridId::GridDegree12) tempdata[11].grayBase = tempdata[10].grayBase;
}

void segmentBuild(GridId grid, Steps steps, const uint8_t* block, float s, TempSegment* tempdata) {
    const StepMath math = steps == Steps::Ext45 ? StepMath::Double : StepMath::Float;
    segmentBuild(gridCurve(grid, block), steps, math, s, tempdata);
}

}  // namespace kalviro
