// Whole-frame conversion: the frame's smallest and largest gray value bound
// the part of the table that is built, each gray value between them is
// converted once, and every pixel then reads its entry.
#pragma once

#include <cstdint>

#include "kalviro.h"

namespace kalviro {

// Whether count pixels and count results fit in the address space at these
// addresses. A larger count describes no buffer: on a 32-bit host it would be
// cut to its low bits and convert some other part of memory.
inline bool frameFits(const uint16_t* pixels, uint64_t count, const float* out) {
    const uintptr_t top = UINTPTR_MAX;
    return count <= (top - reinterpret_cast<uintptr_t>(pixels)) / sizeof *pixels &&
           count <= (top - reinterpret_cast<uintptr_t>(out)) / sizeof *out;
}

// The guard of every whole-frame entry: a block, and pixels and out wherever
// there is a pixel, that fit.
inline bool frameArgumentsUsable(const TempFrameInfo* block, const uint16_t* pixels, uint64_t count,
                                 const float* out) {
    return block != nullptr && (count == 0 || (pixels != nullptr && out != nullptr)) &&
           frameFits(pixels, count, out);
}

// Fills out[i] with the temperature of gray value first + i, i < count.
// key, where there is one, holds all that the results depend on besides the
// gray value: entries a table built under the same key bytes stay valid.
// Without one the table is rebuilt for every frame.
struct SpanBuilder {
    void (*build)(const void* ctx, int32_t first, int32_t count, float* out);
    const void* ctx;
    const void* key = nullptr;
    uint32_t keySize = 0;
};

// The room a key may take in the table.
constexpr uint32_t kKeyRoom = KALVIRO_FRAME_TABLE_KEPT - 24;

// The frame through the builder, on up to `threads` threads.
void frameThrough(const SpanBuilder& builder, const uint16_t* pixels, uint64_t count, float* out,
                  KalviroFrameTable& table, int32_t threads);

}  // namespace kalviro
