// Which builders a frame's table is made with: the set KALVIRO_LANES names
// or kalviro_set_lanes picks, else the widest the processor runs, chosen on
// the first frame; and the scalar set every processor runs.
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "api/lane_builders.hpp"
#include "core/lanes.hpp"
#include "kalviro.h"

namespace kalviro {
namespace {

const LaneBuilders kScalar{"scalar", 1, buildersOn<Scalar>(Families{}), grayRangeScalar};

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

const LaneBuilders* runnableLaneBuildersNamed(const char* name) {
    if (name == nullptr) return nullptr;
    const LaneBuilders* sets[4];
    const int n = runnableLaneBuilders(sets, 4);
    for (int i = 0; i < n; ++i) {
        if (std::strcmp(sets[i]->name, name) == 0) return sets[i];
    }
    return nullptr;
}

namespace {

// KALVIRO_LANES names a set; a name this processor or build does not run
// leaves the widest, and kalviro_lanes() tells which it is.
const LaneBuilders& initialLaneBuilders() {
    static const LaneBuilders* const initial = [] {
        const LaneBuilders* named = runnableLaneBuildersNamed(std::getenv("KALVIRO_LANES"));
        if (named != nullptr) return named;
        const LaneBuilders* sets[4];
        runnableLaneBuilders(sets, 4);
        return sets[0];
    }();
    return *initial;
}

// The set in use; null until the first frame or kalviro_set_lanes. Spans of
// one frame may meet two sets when another thread switches: every set gives
// the same bits, so the table stays whole.
std::atomic<const LaneBuilders*> gInUse{nullptr};

}  // namespace

const LaneBuilders& laneBuilders() {
    const LaneBuilders* set = gInUse.load(std::memory_order_acquire);
    if (set != nullptr) return *set;
    gInUse.compare_exchange_strong(set, &initialLaneBuilders(), std::memory_order_acq_rel);
    return *gInUse.load(std::memory_order_acquire);
}

bool selectLaneBuilders(const char* name) {
    const LaneBuilders* chosen = name == nullptr ? &initialLaneBuilders() : runnableLaneBuildersNamed(name);
    if (chosen == nullptr) return false;
    gInUse.store(chosen, std::memory_order_release);
    return true;
}

}  // namespace kalviro

extern "C" const char* kalviro_lanes(void) { return kalviro::laneBuilders().name; }

extern "C" int32_t kalviro_set_lanes(const char* name) { return kalviro::selectLaneBuilders(name) ? 0 : -1; }
