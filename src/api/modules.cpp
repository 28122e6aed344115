#include "api/module.hpp"

#include <array>
#include <utility>

#include "direct/recipes.hpp"

namespace kalviro {
namespace {

// A CalType's recipe only when the list says it converts.
constexpr bool kConverts[] = {
#define KALVIRO_CONVERTS(nn, layout, hasIT, converts) converts != 0,
    KALVIRO_CALTYPES(KALVIRO_CONVERTS)
#undef KALVIRO_CONVERTS
};

constexpr bool kLong[] = {
#define KALVIRO_LONG_BASE false
#define KALVIRO_LONG_LONG true
#define KALVIRO_LAYOUT(nn, layout, hasIT, converts) KALVIRO_LONG_##layout,
    KALVIRO_CALTYPES(KALVIRO_LAYOUT)
#undef KALVIRO_LAYOUT
};

constexpr int32_t kNumbers[] = {
#define KALVIRO_NUMBER(nn, layout, hasIT, converts) nn,
    KALVIRO_CALTYPES(KALVIRO_NUMBER)
#undef KALVIRO_NUMBER
};

constexpr Module makeModule(int i) {
    return {kNumbers[i], kLong[i], kConverts[i] ? direct::recipeFor(kNumbers[i]) : nullptr};
}

template <int... I>
constexpr auto makeModules(std::integer_sequence<int, I...>) {
    return std::array<Module, sizeof...(I)>{makeModule(I)...};
}

constexpr auto kModules = makeModules(std::make_integer_sequence<int, KALVIRO_CALTYPE_COUNT>{});

// Constant-initialised: the statics exist before any constructor runs.
CalState gStates[] = {
#define KALVIRO_STATE(nn, layout, hasIT, converts) initialState(nn),
    KALVIRO_CALTYPES(KALVIRO_STATE)
#undef KALVIRO_STATE
};

}  // namespace

const Module& moduleAt(int index) { return kModules[index]; }

const Module* findModule(int32_t calType) {
    const int i = listIndex(calType);
    if (i < 0) return nullptr;
    const Module& m = moduleAt(i);
    return m.recipe != nullptr ? &m : nullptr;
}

CalState& processState(int index) { return gStates[index]; }

float convertInit(const Module& m, CalState& st, TempFrameInfo* block, int32_t gray, float emissivity,
                  float distance) {
    if (block == nullptr) return 0.0f;
    const int32_t r = m.recipe->early(*m.recipe, st, bytes(block), gray, emissivity, distance);
    // The long layout reports whole degrees from the per-frame call.
    return m.longLayout ? static_cast<float>(r / 100) : static_cast<float>(r) / 100.0f;
}

float convertReal(const Module& m, const CalState& st, const TempFrameInfo* block, int32_t gray,
                  float emissivity, float distance) {
    if (block == nullptr) return 0.0f;
    return m.recipe->realtime(*m.recipe, st, bytes(block), gray, emissivity, distance) / 100.0f;
}

float convertOnce(const Module& m, CalState& st, TempFrameInfo* block, int32_t gray, float emissivity,
                  float distance) {
    if (block == nullptr) return 0.0f;
    m.recipe->early(*m.recipe, st, bytes(block), gray, emissivity, distance);
    return convertReal(m, st, block, gray, emissivity, distance);
}

}  // namespace kalviro
