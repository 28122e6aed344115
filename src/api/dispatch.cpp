// The one dispatch: a CalType's family decides which engine runs its
// per-frame stage, its per-pixel stage and its result form.
#include <array>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

#include "api/families.hpp"
#include "api/frame.hpp"
#include "api/lane_builders.hpp"
#include "api/module.hpp"
#include "api/stored_plan.hpp"
#include "api/temp2gray.hpp"
#include "core/get_it.hpp"

namespace kalviro {
namespace {

constexpr Module makeModule(const CalTypeInfo& c) {
    const void* row = withFamily(
        c.family, [&](auto family) { return static_cast<const void*>(decltype(family)::rowFor(c.calType)); });
    return Module{c.calType, c.family, c.layout == Layout::Long, row};
}

template <size_t... I>
constexpr auto makeModules(std::index_sequence<I...>) {
    return std::array<Module, sizeof...(I)>{makeModule(kCalTypes[I])...};
}

constexpr auto kModules = makeModules(std::make_index_sequence<KALVIRO_CALTYPE_COUNT>{});

// A CalType has a row in its family's table and in no other, and runs the
// four-range frame exactly where the list gives it tempRange 5 (else 4): the
// list and the family tables cannot disagree.
template <std::size_t... I>
constexpr bool rowMatchesFamily(int32_t nn, Family f, int32_t last, std::index_sequence<I...>) {
    return (((static_cast<Family>(I) == f) == TraitOf<static_cast<Family>(I)>::type::hasRow(nn)) && ...) &&
           withFamily(f, [&](auto trait) { return last == (decltype(trait)::fourRange(nn) ? 5 : 4); });
}
#define KALVIRO_ROW_MATCHES(nn, layout, hasIT, family, last)                                            \
    static_assert(rowMatchesFamily(nn, Family::family, last, std::make_index_sequence<kFamilyCount>{}), \
                  "family and family table disagree: " #nn);
KALVIRO_CALTYPES(KALVIRO_ROW_MATCHES)
#undef KALVIRO_ROW_MATCHES

// The list's GetIT column is the GetIT table's rows.
#define KALVIRO_GETIT_MATCHES(nn, layout, hasIT, family, last) \
    static_assert((hasIT != 0) == getit::hasGetITRow(nn), "GetIT column and table disagree: " #nn);
KALVIRO_CALTYPES(KALVIRO_GETIT_MATCHES)
#undef KALVIRO_GETIT_MATCHES

// Constant-initialised: the statics exist before any constructor runs.
CalState gStates[] = {
#define KALVIRO_STATE(nn, layout, hasIT, family, last) initialState(nn),
    KALVIRO_CALTYPES(KALVIRO_STATE)
#undef KALVIRO_STATE
};

// The plans the per-frame calls of the C entries leave, beside their statics.
StoredPlan gPlans[std::size(gStates)];

}  // namespace

const Module& moduleAt(int index) { return kModules[static_cast<size_t>(index)]; }

const Module* findModule(int32_t calType) {
    const int i = listIndex(calType);
    if (i < 0) return nullptr;
    return &moduleAt(i);
}

CalState& processState(int index) { return gStates[index]; }

StoredPlan& processPlan(int index) { return gPlans[index]; }

void resetProcessState(int index) {
    gStates[index] = initialState(kCalTypes[index].calType);
    dropPlan(gPlans[index]);
}

namespace {

float frameStage(const Module& m, CalState& st, uint8_t* b, int32_t gray, float emissivity, float distance) {
    return withFamily(m.family, [&](auto family) {
        using Trait = decltype(family);
        return Trait::frame(familyRow<Trait>(m), st, b, gray, emissivity, distance);
    });
}

}  // namespace

float convertInit(const Module& m, CalState& st, StoredPlan& sp, TempFrameInfo* block, int32_t gray,
                  float emissivity, float distance) {
    if (block == nullptr) return 0.0f;
    const float t = frameStage(m, st, bytes(block), gray, emissivity, distance);
    storePlan(m, st, sp, bytes(block), gray, emissivity, distance, true);
    return t;
}

// The family's per-pixel plan for the frame, handed to `use`; the kernel of
// every plan is pixelDegrees(plan, gray). A plan for many gray values takes
// once what a single one would not need.
template <typename Use>
auto withPlan(const Module& m, const CalState& st, const uint8_t* b, float emissivity, float distance,
              bool many, Use&& use) {
    return withFamily(m.family, [&](auto family) {
        using Trait = decltype(family);
        auto plan = Trait::plan(familyRow<Trait>(m), st, b, emissivity, distance, many);
        if (many) withColumns(plan);
        return use(plan);
    });
}

float convertRealFresh(const Module& m, const CalState& st, const TempFrameInfo* block, int32_t gray,
                       float emissivity, float distance) {
    if (block == nullptr) return 0.0f;
    return withPlan(m, st, bytes(block), emissivity, distance, false,
                    [gray](const auto& plan) { return pixelDegrees(plan, gray); });
}

float convertReal(const Module& m, const CalState& st, const StoredPlan& sp, const TempFrameInfo* block,
                  int32_t gray, float emissivity, float distance) {
    if (block == nullptr) return 0.0f;
    if (!planHolds(m, st, sp, bytes(block), emissivity, distance))
        return convertRealFresh(m, st, block, gray, emissivity, distance);
    // Unsigned: a gray value below the table wraps past its end.
    const uint32_t i = static_cast<uint32_t>(gray) - static_cast<uint32_t>(sp.aheadFirst);
    if (i < static_cast<uint32_t>(sp.aheadCount)) return sp.ahead[i];
    return withFamily(m.family, [&](auto trait) {
        return pixelDegrees(storedPlan<typename decltype(trait)::Plan>(sp), gray);
    });
}

float convertOnce(const Module& m, CalState& st, StoredPlan& sp, TempFrameInfo* block, int32_t gray,
                  float emissivity, float distance) {
    if (block == nullptr) return 0.0f;
    // One spot: neither the eager ladder nor the table would pay.
    frameStage(m, st, bytes(block), gray, emissivity, distance);
    storePlan(m, st, sp, bytes(block), gray, emissivity, distance, false);
    return convertReal(m, st, sp, block, gray, emissivity, distance);
}

namespace {

// A span of the table through the family's kernel on the lanes in use.
template <typename Plan>
void spanOnLanesInUse(const void* ctx, int32_t first, int32_t count, float* out) {
    laneBuilders().of<Plan>()(*static_cast<const Plan*>(ctx), first, count, out);
}

}  // namespace

namespace {

// All that a table built through a plan depends on: the plan's bytes, the
// rows it points at by value (a camera's copy holds them elsewhere), and the
// lanes, so that a switch of sets builds afresh. Plans point at nothing else
// that changes.
template <typename Plan>
struct TableKey {
    const LaneBuilders* set;
    Plan plan;
    TempSegment rows[std::extent<decltype(CalState::tempdata)>::value];
};

template <typename Plan>
void fillKey(TableKey<Plan>& k, const Plan& plan, const CalState& st) {
    static_assert(std::is_trivially_copyable<Plan>::value, "a plan is compared byte for byte");
    std::memset(&k, 0, sizeof k);  // the padding too
    k.set = &laneBuilders();
    std::memcpy(&k.plan, &plan, sizeof plan);
    k.plan.rows = nullptr;
    // A plan's padding holds whatever its builders' temporaries left there:
    // equal plans would otherwise differ, and every frame would rebuild.
#if defined(__has_builtin)
#if __has_builtin(__builtin_clear_padding)
    __builtin_clear_padding(&k.plan);
#endif
#endif
    std::memcpy(k.rows, st.tempdata, sizeof k.rows);
}

}  // namespace

void storePlan(const Module& m, const CalState& st, StoredPlan& sp, const uint8_t* block, int32_t gray,
               float emissivity, float distance, bool ahead) {
    withPlan(m, st, block, emissivity, distance, ahead, [&](const auto& plan) {
        using Plan = std::decay_t<decltype(plan)>;
        keepPlan(sp, plan);
        const int32_t first = firstAhead(gray);
        if (!ahead) {
            sp.aheadFirst = first;
            sp.aheadCount = 0;
            return;
        }
        static_assert(sizeof(TableKey<Plan>) <= kAheadKeyRoom, "the stored plan has no room for the key");
        alignas(8) unsigned char key[kAheadKeyRoom] = {};
        fillKey(*new (key) TableKey<Plan>, plan, st);
        // A recording makes one per-frame call per frame, mostly on the same
        // plan: the table of the last one still holds.
        if (sp.aheadCount == kAheadGrays && sp.aheadFirst == first &&
            std::memcmp(sp.aheadKey, key, sizeof key) == 0)
            return;
        sp.aheadFirst = first;
        laneBuilders().of<Plan>()(plan, first, kAheadGrays, sp.ahead);
        std::memcpy(sp.aheadKey, key, sizeof key);
        sp.aheadCount = kAheadGrays;
    });
    withPlanWords(m, [&](const auto& offsets) {
        size_t i = 0;
        for (const uint32_t offset : offsets) std::memcpy(&sp.words[i++], block + offset, sizeof(uint32_t));
    });
    sp.emissivity = floatBits(emissivity);
    sp.distance = floatBits(distance);
    sp.from = &st;
}

void buildTable(const Module& m, const CalState& st, const TempFrameInfo* block, float emissivity,
                float distance, const LaneBuilders& set, int32_t first, int32_t count, float* out) {
    if (block == nullptr) return;
    withPlan(m, st, bytes(block), emissivity, distance, true,
             [&](const auto& plan) { set.of<std::decay_t<decltype(plan)>>()(plan, first, count, out); });
}

void convertFrame(const Module& m, const CalState& st, const TempFrameInfo* block, const uint16_t* pixels,
                  uint64_t count, float emissivity, float distance, float* out, KalviroFrameTable& table,
                  int32_t threads) {
    if (block == nullptr) return;
    withPlan(m, st, bytes(block), emissivity, distance, true, [&](const auto& plan) {
        using Plan = std::decay_t<decltype(plan)>;
        static_assert(sizeof(TableKey<Plan>) <= kKeyRoom, "the table has no room for the key");
        TableKey<Plan> key;
        fillKey(key, plan, st);
        frameThrough(SpanBuilder{spanOnLanesInUse<Plan>, &plan, &key, sizeof key}, pixels, count, out, table,
                     threads);
    });
}

int32_t searchGray(const Module& m, const CalState& st, const TempFrameInfo* block, int32_t tempMin,
                   int32_t tempMax, int32_t grayMin, int32_t grayMax, int32_t target, float emissivity) {
    if (block == nullptr) return grayMin;
    return withPlan(m, st, bytes(block), emissivity, 0.0f, true, [&](const auto& plan) {
        return temp2gray([&plan](int32_t g) { return pixelDegrees(plan, g); }, tempMin, tempMax, grayMin,
                         grayMax, target);
    });
}

}  // namespace kalviro
