// Whole-frame conversion: each distinct gray value of a frame is converted
// once. The stamp of an entry says which frame filled it, so the table needs
// no clearing between frames.
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

template <typename Real>
void frameThrough(Real&& real, const uint16_t* pixels, uint64_t count, float* out, KalviroFrameTable& t) {
    t.generation += 1;
    if (t.generation == 0) {  // wrapped: stamps of 2^32 frames ago would match
        for (uint32_t& s : t.stamp) s = 0;
        t.generation = 1;
    }
    for (uint64_t i = 0; i < count; ++i) {
        const uint16_t g = pixels[i];
        if (t.stamp[g] != t.generation) {
            t.temp[g] = real(static_cast<int32_t>(g));
            t.stamp[g] = t.generation;
        }
        out[i] = t.temp[g];
    }
}

}  // namespace kalviro
