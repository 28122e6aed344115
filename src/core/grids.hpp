// The calibration grids: which curve point stands at which temperature, and
// how the curve shift enters each row. Both families build their tables from
// these; the ladder's letters are given beside the names.
#pragma once

#include <cstdint>

#include "kalviro.h"

namespace kalviro {

enum class GridId : uint8_t {
    Grid25,         // A: -20 .. 250, zero point at 25
    Grid45,         // B: -20 .. 250, zero point at 45
    Grid45Ext,      // C: Grid45 and two more points, 14 rows
    GridFine45,     // -15 .. 150 in steps of ten, zero point at 45
    GridMid7,       // H: 180 .. 600
    GridHigh10,     // L: 180 .. 1200
    GridHigh7,      // K: 500 .. 1200
    GridDegree11,   // 30 .. 41, one degree a row
    GridDegree12,   // 30 .. 42, one degree a row; row 11 is odd
    GridMid7Wide,   // 120 .. 650
    GridMid10Wide,  // J: 120 .. 1200
    GridHigh12,     // 180 .. 1700
    GridLow25,      // F: -20 .. 50, zero point at 25
    GridLow45,      // D: -20 .. 150, zero point at 45
    GridLow25Wide,  // E: -20 .. 150, zero point at 25
    GridMid11,      // I: 100 .. 600
};

// How the shift s enters grayBase, row by row.
enum class Steps : uint8_t {
    Plain,      // point - s on every row
    Stepped,    // rows 2.. take 1.1, 1.2, ... 1.8
    Lens22,     // CalType 22: 1.1 1.2 1.4 1.6 1.8 on rows 5-9, row 10 plain, 2.3
    Old12,      // 1.1 1.2 1.4 1.6 1.8 2.0 2.3 on rows 5-11
    High12,     // 1.1 .. 1.8 on rows 2-9, 1.9, 2.0
    MidWide10,  // 1.1 .. 1.4 on rows 2-5, 1.5 on rows 6-9
    Ext45,      // 1.5 .. 6.1 on rows 5-13
    Knot22,     // 1.1 1.2 1.4 1.6 1.8 2.0 2.2 on rows 5-11
    Knot26,     // Knot22, then 2.4 2.6 on rows 12-13
    Rise85,     // rows past the knot take the shift the other way: -1 on rows 5-11
};

// The precision of grayBase = point - factor * s. Float: point + s * -factor,
// all single. Double: the product and the sum in double, rounded once.
// WholeFloat: rows of factor 1 in single precision, the others in double, as
// a whole-number factor meets the float shift in single precision.
enum class StepMath : uint8_t { Float, Double, WholeFloat };

// The curve points of a grid in ascending temperature, read from the block
// and, where the CalType scales its curve, multiplied by the scale.
struct Curve {
    GridId grid;
    float point[15];
};

int gridRows(GridId grid);

// Unscaled points.
Curve gridCurve(GridId grid, const uint8_t* block);
// Points whose curve index is scaleFrom or above are point * scale (float
// products); the zero point stays 0.
Curve gridCurve(GridId grid, const uint8_t* block, float scale, int scaleFrom);

// graySlope of each row; slopes do not depend on the shift.
void gridSlopes(const Curve& curve, float* slope);
void gridSlopes(GridId grid, const uint8_t* block, float* slope);

// Fills the grid's rows of tempdata with the shift s.
void segmentBuild(const Curve& curve, Steps steps, StepMath math, float s, TempSegment* tempdata);
void segmentBuild(GridId grid, Steps steps, const uint8_t* block, float s, TempSegment* tempdata);

}  // namespace kalviro
