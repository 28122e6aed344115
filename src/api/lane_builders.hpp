// The table builders of an instruction set: a span of a frame's table
// through a family's kernel, as many gray values at a time as the set's
// vectors hold. Each set is a file of its own, compiled for that set; the
// widest one the processor runs is chosen once.
#pragma once

#include <cstdint>
#include <cstring>
#include <tuple>

#include "api/families.hpp"

namespace kalviro {

// out[i] is the temperature of gray value first + i, for i < count.
template <typename Plan>
using BuildFn = void (*)(const Plan& plan, int32_t first, int32_t count, float* out);

// One builder per family of the list, found by the family's plan.
template <typename List>
struct FamilyBuilders;
template <typename... Traits>
struct FamilyBuilders<FamilyList<Traits...>> {
    std::tuple<BuildFn<typename Traits::Plan>...> fn;
};

struct LaneBuilders {
    const char* name;
    int lanes;
    FamilyBuilders<Families> build;
    // The smallest and largest of count gray values.
    void (*grayRange)(const uint16_t* pixels, uint64_t count, uint16_t* lo, uint16_t* hi);

    // The builder of the family whose plan this is.
    template <typename Plan>
    BuildFn<Plan> of() const {
        return std::get<BuildFn<Plan>>(build.fn);
    }
};

// The sets of this build that this processor runs, widest first; the last
// is the scalar one. For tests and benchmarks that compare them.
int runnableLaneBuilders(const LaneBuilders* sets[], int capacity);

// The set in use: the last selectLaneBuilders picked, else the one
// KALVIRO_LANES names (read on the first call), else the widest.
const LaneBuilders& laneBuilders();

// The runnable set of that name ("scalar", "sse2", "avx2", "avx512",
// "neon"), or null.
const LaneBuilders* runnableLaneBuildersNamed(const char* name);

// Puts the set of that name in use; false, and
// nothing changed, where this build or processor does not run it. Null
// goes back to the first choice: KALVIRO_LANES, else the widest.
bool selectLaneBuilders(const char* name);

// Each set's builders, null where the build has not compiled it for that
// set (another processor family, or a compiler without it). Every processor
// calls them, so the files of the wider sets compile them for any x86-64.
const LaneBuilders* avx512Builders();
const LaneBuilders* avx2Builders();
const LaneBuilders* baseVectorBuilders();

}  // namespace kalviro

#if defined(__x86_64__)
#define KALVIRO_ANY_PROCESSOR __attribute__((target("no-avx")))
#else
#define KALVIRO_ANY_PROCESSOR
#endif

namespace kalviro {

// The builders on the lanes of L, whole vectors at a time; the last one
// may reach past first + count, and only its first lanes are stored.
template <typename L, typename Plan, typename Kernel>
void buildOnLanes(const Plan& plan, int32_t first, int32_t count, float* out, Kernel kernel) {
    for (int32_t i = 0; i < count; i += L::N) L::store(out + i, kernel(plan, L::iota(first + i)), count - i);
}

// A family's builder on L. The whole kernel is inlined into it, so that
// vectors stay in registers.
template <typename L, typename Trait>
__attribute__((flatten)) void buildFamily(const typename Trait::Plan& plan, int32_t first, int32_t count,
                                          float* out) {
    buildOnLanes<L>(plan, first, count, out, [](const typename Trait::Plan& p, typename L::I g) {
        return Trait::template kernel<L>(p, g);
    });
}

// Every family's builder on L.
template <typename L, typename... Traits>
constexpr FamilyBuilders<FamilyList<Traits...>> buildersOn(FamilyList<Traits...>) {
    return {std::tuple<BuildFn<typename Traits::Plan>...>{&buildFamily<L, Traits>...}};
}

// The smallest and largest of count gray values, one at a time (65535 and 0
// for none); and a register of them at a time.
void grayRangeScalar(const uint16_t* pixels, uint64_t count, uint16_t* lo, uint16_t* hi);

// Two registers a step, each with its own minimum and maximum: the steps
// do not wait for each other.
template <typename Grays, typename Tag>
void grayRangeOf(const uint16_t* pixels, uint64_t count, uint16_t* lo, uint16_t* hi) {
    constexpr uint64_t K = sizeof(Grays) / sizeof(uint16_t);
    Grays a = ~Grays{}, b = Grays{}, a2 = a, b2 = b;
    uint64_t i = 0;
    for (; i + 2 * K <= count; i += 2 * K) {
        Grays v, w;
        std::memcpy(&v, pixels + i, sizeof v);
        std::memcpy(&w, pixels + i + K, sizeof w);
        a = v < a ? v : a;
        b = v > b ? v : b;
        a2 = w < a2 ? w : a2;
        b2 = w > b2 ? w : b2;
    }
    a = a2 < a ? a2 : a;
    b = b2 > b ? b2 : b;
    for (; i + K <= count; i += K) {
        Grays v;
        std::memcpy(&v, pixels + i, sizeof v);
        a = v < a ? v : a;
        b = v > b ? v : b;
    }
    uint16_t l, h;
    grayRangeScalar(pixels + i, count - i, &l, &h);  // the pixels after the last register
    for (uint64_t k = 0; k < K; ++k) {
        l = a[k] < l ? a[k] : l;
        h = b[k] > h ? b[k] : h;
    }
    *lo = l;
    *hi = h;
}

}  // namespace kalviro

// The builders of one set, in the file compiled for it: W lanes, in a
// namespace of their own (see Vector's Tag), so that every function the
// file defines carries the set's name. Gray values go at most 16 to a
// register: 16-bit lanes of a 512-bit one need AVX-512BW, which the widest
// set does not ask for, and split into halves that wait for each other.
#define KALVIRO_LANE_BUILDERS(set, W)                                                              \
    namespace kalviro::lanes_##set {                                                               \
        struct Tag {};                                                                             \
        using L = Vector<W, Tag>;                                                                  \
        typedef uint16_t Grays __attribute__((vector_size(W > 8 ? 32 : 4 * W)));                   \
        const LaneBuilders kBuilders{#set, W, buildersOn<L>(Families{}), grayRangeOf<Grays, Tag>}; \
    }
