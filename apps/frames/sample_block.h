/* The baseline block in tempRange 2, written byte by byte as the camera lays
 * it down: gray 1000 at emissivity 0.95 is 53.92 degrees from the per-frame
 * call of CalType 21 and 53.88 from the per-pixel one. Valid C99 and C++. */
#ifndef KALVIRO_SAMPLE_BLOCK_H
#define KALVIRO_SAMPLE_BLOCK_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <kalviro.h>

/* The block is little-endian whatever the host. */
static inline void put_u32(uint8_t *block, size_t offset, uint32_t v) {
    block[offset] = (uint8_t)(v & 0xffu);
    block[offset + 1] = (uint8_t)((v >> 8) & 0xffu);
    block[offset + 2] = (uint8_t)((v >> 16) & 0xffu);
    block[offset + 3] = (uint8_t)((v >> 24) & 0xffu);
}

static inline void put_i32(uint8_t *block, size_t offset, int32_t v) { put_u32(block, offset, (uint32_t)v); }

static inline void put_f32(uint8_t *block, size_t offset, float v) {
    uint32_t bits;
    memcpy(&bits, &v, sizeof bits);
    put_u32(block, offset, bits);
}

static inline int32_t get_i32(const uint8_t *block, size_t offset) {
    uint32_t v = (uint32_t)block[offset] | (uint32_t)block[offset + 1] << 8 |
                 (uint32_t)block[offset + 2] << 16 | (uint32_t)block[offset + 3] << 24;
    int32_t out;
    memcpy(&out, &v, sizeof out);
    return out;
}

/* Curve points of the baseline in tempRange 2, relative to the 25-degree point. */
static const float worked_curve[12] = {-1600, -1000, -400, 400,  1100, 2100,
                                       3100,  4700,  6300, 7900, 9500, 11700};

static inline void fill_worked_block(uint8_t *block) {
    size_t k;
    memset(block, 0, 512);
    for (k = 0; k < 12; ++k) put_f32(block, offsetof(TempFrameInfo, grayCurve) + 4 * k, worked_curve[k]);
    for (k = 0; k < 15; ++k) put_f32(block, offsetof(TempFrameInfo, tempBinGain) + 4 * k, 1.0f);
    put_f32(block, offsetof(TempFrameInfo, warmDiffLow), 2.0f);
    put_f32(block, offsetof(TempFrameInfo, warmDiffHigh), 6.0f);
    put_f32(block, offsetof(TempFrameInfo, shutterQuad), 0.5f);
    put_f32(block, offsetof(TempFrameInfo, shutterLin), 2.0f);
    put_f32(block, offsetof(TempFrameInfo, grayOffset), 10.0f);
    put_f32(block, offsetof(TempFrameInfo, warmDivisor), 25.0f);
    put_f32(block, offsetof(TempFrameInfo, driftGain), 1.0f);
    put_i32(block, offsetof(TempFrameInfo, upTime), 600);
    put_i32(block, offsetof(TempFrameInfo, tempCH1), 2500);
    put_i32(block, offsetof(TempFrameInfo, tempCH3), 3000);
    put_i32(block, offsetof(TempFrameInfo, tempCH2), 3100);
    put_i32(block, offsetof(TempFrameInfo, tempCH5), 2900);
    put_i32(block, offsetof(TempFrameInfo, distance), 1000);
    put_i32(block, offsetof(TempFrameInfo, tempGain), 100);
    put_i32(block, offsetof(TempFrameInfo, humidity), 60);
    put_f32(block, offsetof(TempFrameInfo, shutterCH2), 30.0f);
    put_f32(block, offsetof(TempFrameInfo, shutterCH3), 29.0f);
    put_i32(block, offsetof(TempFrameInfo, tempRange), 2);
}

#endif
