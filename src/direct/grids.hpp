// The calibration grids of the Direct CalTypes: which curve point stands at
// which temperature, and how the curve shift enters each row.
#pragma once

#include <cstdint>

#include "kalviro.h"

namespace kalviro::direct {

enum class GridId : uint8_t {
    Grid25,         // -20 .. 250, zero point at 25
    Grid45,         // -20 .. 250, zero point at 45
    Grid45Ext,      // Grid45 and two more points, 14 rows
    GridFine45,     // -15 .. 150 in steps of ten, zero point at 45
    GridMid7,       // 180 .. 600
    GridHigh10,     // 180 .. 1200
    GridHigh7,      // 500 .. 1200
    GridDegree11,   // 30 .. 41, one degree a row
    GridDegree12,   // 30 .. 42, one degree a row; row 11 is odd
    GridMid7Wide,   // 120 .. 650
    GridMid10Wide,  // 120 .. 1200
    GridHigh12,     // 180 .. 1700
    GridLow25,      // -20 .. 50, zero point at 25
};

// How the shift s enters grayBase, row by row.
enum class Steps : uint8_t {
    Plain,      // point - s on every row
    Stepped,    // rows 2.. take 1.1, 1.2, ... 1.8
    Lens22,     // CalType 22: 1.1 1.2 1.4 1.6 1.8 on rows 5-9, row 10 plain, 2.3
    Old12,      // CalTypes 12/60: 1.1 1.2 1.4 1.6 1.8 2.0 2.3 on rows 5-11
    High12,     // 1.1 .. 1.8 on rows 2-9, 1.9, 2.0
    MidWide10,  // 1.1 .. 1.4 on rows 2-5, 1.5 on rows 6-9
    Ext45,      // 1.5 .. 6.1 on rows 5-13, in double precision
};

int gridRows(GridId grid);

// graySlope of each row; slopes do not depend on the shift.
void gridSlopes(GridId grid, const uint8_t* block, float* slope);

// Fills the grid's rows of tempdata with the shift s.
void segmentBuild(GridId grid, Steps steps, const uint8_t* block, float s, TempSegment* tempdata);

}  // namespace kalviro::direct
