// The table builders of an instruction set: a span of a frame's table
// through a family's kernel, as many gray values at a time as the set's
// vectors hold. Each set is a file of its own, compiled for that set; the
// widest one the processor runs is chosen once.
#pragma once

#include <cstdint>

namespace kalviro {

namespace direct {
struct PixelPlan;
}
namespace ladder {
struct PixelPlan;
}

struct LaneBuilders {
    const char* name;
    int lanes;
    // out[i] is the temperature of gray value first + i, for i < count.
    void (*direct)(const direct::PixelPlan& plan, int32_t first, int32_t count, float* out);
    void (*ladder)(const ladder::PixelPlan& plan, int32_t first, int32_t count, float* out);
};

// The sets of this build that this processor runs, widest first; the last
// is the scalar one. For tests and benchmarks that compare them.
int runnableLaneBuilders(const LaneBuilders* sets[], int capacity);

// The widest of them.
const LaneBuilders& laneBuilders();

// Each set's builders, null where the build has not compiled it for that
// set (another processor family, or a compiler without it).
const LaneBuilders* avx512Builders();
const LaneBuilders* avx2Builders();
const LaneBuilders* baseVectorBuilders();

}  // namespace kalviro

// The builders of one set, in the file compiled for it: W lanes, in a
// namespace of their own (see Vector's Tag). The whole kernel is inlined
// into each builder, so that vectors stay in registers.
#define KALVIRO_LANE_BUILDERS(set, W)                                                                     \
    namespace kalviro::lanes_##set {                                                                      \
        struct Tag {};                                                                                    \
        using L = Vector<W, Tag>;                                                                         \
        __attribute__((flatten)) void direct(const direct::PixelPlan& plan, int32_t first, int32_t count, \
                                             float* out) {                                                \
            for (int32_t i = 0; i < count; i += W) {                                                      \
                L::store(out + i, direct::pixelDegrees<L>(plan, L::iota(first + i)), count - i);          \
            }                                                                                             \
        }                                                                                                 \
        __attribute__((flatten)) void ladder(const ladder::PixelPlan& plan, int32_t first, int32_t count, \
                                             float* out) {                                                \
            for (int32_t i = 0; i < count; i += W) {                                                      \
                L::store(out + i, ladder::pixelDegrees<L>(plan, L::iota(first + i)), count - i);          \
            }                                                                                             \
        }                                                                                                 \
        const LaneBuilders kBuilders{#set, W, direct, ladder};                                            \
    }
