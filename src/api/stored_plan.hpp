// The per-pixel plan that a per-frame call leaves beside its statics, so that
// the per-pixel calls of the frame run the kernel alone. A plan is a function
// of the statics, the block words its family reads, the emissivity and the
// distance: a per-pixel call whose block words, emissivity and distance are
// those the plan was built from, on the statics it was built from, gets the
// plan a fresh build would give; any other call builds its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>

#include "api/families.hpp"
#include "api/module.hpp"

namespace kalviro {

// Room for the largest family's list of block words.
inline constexpr size_t kMaxPlanWords = 32;

// The gray values a per-frame call converts ahead, around its own gray: a
// scene mostly lies within a few thousand of it, and a table read is
// cheaper than the kernel's chain of divisions.
inline constexpr int32_t kAheadGrays = 8192;

// The first gray value of the table ahead of gray, within 0..65535. Tables
// start on a grid of half their length, a quarter before the half that holds
// gray: the per-frame gray values of a recording wander, and a per-frame call
// whose gray stays in the same half keeps the table it finds.
constexpr int32_t firstAhead(int32_t gray) {
    const int32_t last = 65536 - kAheadGrays;
    if (gray < kAheadGrays / 2) return 0;
    if (gray >= last) return last;
    return gray / (kAheadGrays / 2) * (kAheadGrays / 2) - kAheadGrays / 4;
}

// Room for what the table ahead was built from: the key of the whole-frame
// tables, so that a per-frame call per frame of a recording keeps it.
inline constexpr size_t kAheadKeyRoom = 1440;

// The room and alignment of the largest plan of the families' list.
template <typename... Traits>
constexpr size_t planRoom(FamilyList<Traits...>) {
    size_t room = 0;
    for (const size_t size : {sizeof(typename Traits::Plan)...}) room = size > room ? size : room;
    return room;
}
template <typename... Traits>
constexpr size_t planAlign(FamilyList<Traits...>) {
    size_t align = 1;
    for (const size_t a : {alignof(typename Traits::Plan)...}) align = a > align ? a : align;
    return align;
}
inline constexpr size_t kPlanRoom = planRoom(Families{});
inline constexpr size_t kPlanAlign = planAlign(Families{});

struct StoredPlan {
    // The statics the plan was built from; null: no plan. A byte-wise copy
    // of a camera keeps the address of the original's and so falls back.
    const CalState* from;
    uint32_t emissivity, distance;  // the bits of the arguments
    uint32_t words[kMaxPlanWords];  // the block words of the family's list, as the plan read them
    // The plan of the CalType's family (storedPlan<Plan>).
    alignas(kPlanAlign) unsigned char plan[kPlanRoom];
    // The plan's results for gray values aheadFirst.. on, in degrees, as
    // the whole-frame builders give them; aheadCount 0: none.
    int32_t aheadFirst, aheadCount;
    alignas(8) unsigned char aheadKey[kAheadKeyRoom];  // zeros past the key
    float ahead[kAheadGrays];
};

// The plan of the statics just written by a per-frame call on this block;
// with the table ahead of gray for a frame of per-pixel calls (`ahead`),
// or for the one gray value of a per-frame call of its own.
void storePlan(const Module& m, const CalState& st, StoredPlan& sp, const uint8_t* block, int32_t gray,
               float emissivity, float distance, bool ahead);

// The stored plan as its family's Plan, which storePlan put there.
template <typename Plan>
inline const Plan& storedPlan(const StoredPlan& sp) {
    return *std::launder(reinterpret_cast<const Plan*>(sp.plan));
}

template <typename Plan>
inline void keepPlan(StoredPlan& sp, const Plan& plan) {
    static_assert(sizeof(Plan) <= kPlanRoom && alignof(Plan) <= kPlanAlign, "a plan outgrows its room");
    static_assert(std::is_trivially_copyable<Plan>::value, "a camera is copied byte for byte");
    new (sp.plan) Plan(plan);
}

// Whether the block's words of the list are those saved.
template <size_t N>
inline bool sameWords(const uint8_t* block, const uint32_t (&offsets)[N], const uint32_t* saved) {
    static_assert(N <= kMaxPlanWords, "a family's list outgrows the stored plan");
    uint32_t diff = 0;
    for (size_t i = 0; i < N; ++i) {
        uint32_t w;
        std::memcpy(&w, block + offsets[i], sizeof w);
        diff |= w ^ saved[i];
    }
    return diff == 0;
}

// The list of the block words the module's plan reads, handed to `use`.
template <typename Use>
inline auto withPlanWords(const Module& m, Use&& use) {
    return withFamily(m.family, [&](auto trait) {
        using Trait = decltype(trait);
        return Trait::withPlanWords(familyRow<Trait>(m), use);
    });
}

inline uint32_t floatBits(float f) {
    uint32_t u;
    std::memcpy(&u, &f, sizeof u);
    return u;
}

// Whether the stored plan is the one this per-pixel call would build.
inline bool planHolds(const Module& m, const CalState& st, const StoredPlan& sp, const uint8_t* block,
                      float emissivity, float distance) {
    if (sp.from != &st || sp.emissivity != floatBits(emissivity) || sp.distance != floatBits(distance))
        return false;
    return withPlanWords(m, [&](const auto& offsets) { return sameWords(block, offsets, sp.words); });
}

// No plan: for whoever writes statics outside the per-frame call.
inline void dropPlan(StoredPlan& sp) { sp.from = nullptr; }

// A plan built for this call alone, as every per-pixel call did before plans
// were stored: what the stored plan must equal, bit for bit.
float convertRealFresh(const Module& m, const CalState& st, const TempFrameInfo* block, int32_t gray,
                       float emissivity, float distance);

}  // namespace kalviro
