// Which builders a frame's table is made with: the widest set the processor
// runs, chosen on the first frame; and the scalar set every processor runs.
#include "api/lane_builders.hpp"
#include "core/lanes.hpp"
#include "direct/pixel_kernel.hpp"
#include "kalviro.h"
#include "ladder/pixel_kernel.hpp"

namespace kalviro {
namespace {

void directScalar(const direct::PixelPlan& plan, int32_t first, int32_t count, float* out) {
    for (int32_t i = 0; i < count; ++i) out[i] = direct::pixelDegrees<Scalar>(plan, first + i);
}

void ladderScalar(const ladder::PixelPlan& plan, int32_t first, int32_t count, float* out) {
    for (int32_t i = 0; i < count; ++i) out[i] = ladder::pixelDegrees<Scalar>(plan, first + i);
}

const LaneBuilders kScalar{"scalar", 1, directScalar, ladderScalar, grayRangeScalar};

bool hasAvx512() {
#if defined(__x86_64__)
    __builtin_cpu_init();  // a frame may come before the constructor that would run it
    return __builtin_cpu_supports("avx512f") != 0;
#else
    return false;
#endif
}

bool hasAvx2() {
#if defined(__x86_64__)
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
#else
    return false;
#endif
}

}  // namespace

void grayRangeScalar(const uint16_t* pixels, uint64_t count, uint16_t* lo, uint16_t* hi) {
    uint16_t l = 65535, h = 0;
    for (uint64_t i = 0; i < count; ++i) {
        l = pixels[i] < l ? pixels[i] : l;
        h = pixels[i] > h ? pixels[i] : h;
    }
    *lo = l;
    *hi = h;
}

int runnableLaneBuilders(const LaneBuilders* sets[], int capacity) {
    struct Candidate {
        const LaneBuilders* set;
        bool runs;
    };
    const Candidate candidates[] = {{avx512Builders(), hasAvx512()},
                                    {avx2Builders(), hasAvx2()},
                                    {baseVectorBuilders(), true},
                                    {&kScalar, true}};
    int n = 0;
    for (const Candidate& c : candidates) {
        if (c.set != nullptr && c.runs && n < capacity) sets[n++] = c.set;
    }
    return n;
}

const LaneBuilders& laneBuilders() {
    static const LaneBuilders* const widest = [] {
        const LaneBuilders* sets[4];
        runnableLaneBuilders(sets, 4);
        return sets[0];
    }();
    return *widest;
}

}  // namespace kalviro

extern "C" const char* kalviro_lanes(void) { return kalviro::laneBuilders().name; }
