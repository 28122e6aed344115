#include "synth_block.hpp"

#include <cmath>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <type_traits>

#include "le_bytes.hpp"

namespace kalviro::cli {

namespace {

constexpr float kNoZero = std::numeric_limits<float>::quiet_NaN();

// The temperatures of the curve points grayCurve[0..11] (then the two of
// grayCurveExt) and the temperature whose gray is 0.
struct Grid {
    float points[14];
    int count;  // 12; 13 where the thirteenth point lies in warmDiffLow; 14
    float zero;
};

const Grid kGrid25 = {{-20, 0, 15, 35, 50, 70, 90, 120, 150, 180, 210, 250}, 12, 25};
const Grid kGrid45 = {{-20, 0, 15, 30, 55, 70, 90, 120, 150, 180, 210, 250}, 12, 45};
const Grid kGrid45Ext = {{-20, 0, 15, 30, 55, 70, 90, 120, 150, 180, 210, 250, 300, 350}, 14, 45};
const Grid kGridFine45 = {{-15, -5, 5, 15, 25, 35, 55, 70, 90, 110, 130, 150}, 12, 45};
const Grid kGridLow25 = {{-20, -10, 0, 5, 10, 15, 20, 30, 35, 40, 45, 50}, 12, 25};
const Grid kGridKnot45 = {{-20, -10, 0, 15, 25, 35, 55, 70, 90, 110, 130, 150}, 12, 45};
const Grid kGridKnot25 = {{-20, -10, 0, 15, 35, 45, 55, 70, 90, 110, 130, 150}, 12, 25};
const Grid kGridDegree11 = {{30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41}, 12, kNoZero};
const Grid kGridDegree12 = {{30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42}, 13, kNoZero};

struct GridUse {
    const Grid* grid;
    std::initializer_list<int32_t> calTypes;
};

// Which grid each CalType lays its curve on in tempRange 2.
const GridUse kGridUse[] = {
    {&kGridLow25, {12, 60, 61, 62}},
    {&kGrid25, {20, 21, 22, 23, 24, 26, 27, 80, 81, 82, 83, 84, 90, 91, 92, 93, 94, 95, 100, 101, 102}},
    {&kGridDegree11, {25}},
    {&kGridFine45, {50, 51, 56}},
    {&kGridDegree12, {52}},
    {&kGrid45Ext, {54, 55, 72, 76, 78, 110, 111, 120, 121, 132, 134, 136, 138}},
    {&kGrid45, {57, 58, 70, 71, 130, 131}},
    {&kGridKnot45, {73, 74, 75, 77, 133, 135, 137}},
    {&kGridKnot25, {85, 96, 140}},
};

const Grid& gridOf(int32_t calType) {
    for (const GridUse& use : kGridUse) {
        for (int32_t c : use.calTypes) {
            if (c == calType) return *use.grid;
        }
    }
    return kGrid25;
}

// Gray counts above the zero point: about 40 a degree near room
// temperature, more at higher temperatures, as a bolometer's response rises.
float curveGray(float t, float zero) {
    const double d = static_cast<double>(t) - (std::isnan(zero) ? 25.0 : static_cast<double>(zero));
    return static_cast<float>(std::round(40.0 * d + 0.045 * d * d));
}

// The camera warms by about 2.5 degrees, quickly at first.
int32_t warming(uint64_t frame) {
    return static_cast<int32_t>(std::lround(250.0 * (1.0 - std::exp(-static_cast<double>(frame) / 400.0))));
}

template <typename T>
void put(uint8_t* block, size_t offset, T v) {
    if constexpr (std::is_same_v<T, float>) {
        storeF32(block + offset, v);
    } else {
        storeI32(block + offset, v);
    }
}

}  // namespace

void synthBlock(uint8_t* block, const CalTypeInfo& calType, uint64_t frame) {
    std::memset(block, 0, 512);
    const Grid& grid = gridOf(calType.calType);
    for (int k = 0; k < 12; ++k)
        put(block, offsetof(TempFrameInfo, grayCurve) + 4u * k, curveGray(grid.points[k], grid.zero));
    for (int k = 12; k < 14; ++k) {
        const float t =
            grid.count == 14 ? grid.points[k] : grid.points[11] + 50.0f * static_cast<float>(k - 11);
        put(block, offsetof(TempFrameInfo, grayCurveExt) + 4u * (k - 12), curveGray(t, grid.zero));
    }
    // One CalType reads its last curve point from the word at 0x030.
    const float warmDiffLow = grid.count == 13 ? curveGray(grid.points[12], grid.zero) : 2.0f;
    put(block, offsetof(TempFrameInfo, warmDiffLow), warmDiffLow);
    put(block, offsetof(TempFrameInfo, warmDiffHigh), 6.0f);
    put(block, offsetof(TempFrameInfo, itRefTemp), 27.0f);
    put(block, offsetof(TempFrameInfo, itSlope), 0.8f);
    put(block, offsetof(TempFrameInfo, shutterQuad), 0.5f);
    put(block, offsetof(TempFrameInfo, shutterLin), 2.0f);
    for (int k = 0; k < 15; ++k) put(block, offsetof(TempFrameInfo, tempBinGain) + 4u * k, 1.0f);
    put(block, offsetof(TempFrameInfo, warmDivisor), 25.0f);
    put(block, offsetof(TempFrameInfo, driftGain), 1.0f);
    put(block, offsetof(TempFrameInfo, warmGain), 1.0f);

    // Internal temperatures now, and as the last shutter event saw them.
    const uint64_t shutter = frame / 200 * 200;
    const int32_t ch1 = 2350 + warming(frame), ch2 = 2620 + warming(frame), ch3 = 2580 + warming(frame);
    const int32_t ch5 = 2700 + warming(frame) * 13 / 10;
    const float s2 = static_cast<float>(2620 + warming(shutter)) / 100.0f;
    const float s3 = static_cast<float>(2580 + warming(shutter)) / 100.0f;
    const float s5 = static_cast<float>(2700 + warming(shutter) * 13 / 10) / 100.0f;
    put(block, offsetof(TempFrameInfo, tempCH1), ch1);
    put(block, offsetof(TempFrameInfo, tempCH2), ch2);
    put(block, offsetof(TempFrameInfo, tempCH3), ch3);
    put(block, offsetof(TempFrameInfo, tempCH4), 2500);
    put(block, offsetof(TempFrameInfo, tempCH5), ch5);
    put(block, offsetof(TempFrameInfo, shutterCH2), s2);
    put(block, offsetof(TempFrameInfo, shutterCH3), s3);
    put(block, offsetof(TempFrameInfo, shutterCH5), s5);
    // The camera's own shutter drift, for the CalTypes that read it.
    const float d = static_cast<float>(ch2) - s2 * 100.0f;
    put(block, offsetof(TempFrameInfo, shutterDrift),
        static_cast<int32_t>(0.5f * d * d / 10000.0f + d * 2.0f / 100.0f));

    put(block, offsetof(TempFrameInfo, tempRange), 2);
    put(block, offsetof(TempFrameInfo, lensType), 1);
    put(block, offsetof(TempFrameInfo, upTime), static_cast<int32_t>(900 + frame));
    put(block, offsetof(TempFrameInfo, distance), 200);
    put(block, offsetof(TempFrameInfo, tempGain), 100);
    put(block, offsetof(TempFrameInfo, atmA), 4);
    put(block, offsetof(TempFrameInfo, atmB), 167);
    put(block, offsetof(TempFrameInfo, humidity), 50);
    put(block, offsetof(TempFrameInfo, grayRef), kSynthGrayRef);
    put(block, offsetof(TempFrameInfo, driftScale), 100);
    put(block, offsetof(TempFrameInfo, driftGainExt), 100);
    if (calType.layout == Layout::Long) {
        put(block, offsetof(TempFrameInfo, envTemp), 100);    // windowTransLong: no window
        put(block, offsetof(TempFrameInfo, bodyTemp), 2300);  // envTempLong
    } else {
        put(block, offsetof(TempFrameInfo, windowTrans), 100);
        put(block, offsetof(TempFrameInfo, envTemp), 2300);
        put(block, offsetof(TempFrameInfo, bodyTemp), (ch2 + ch3) / 200);
    }
}

}  // namespace kalviro::cli
