// The CalTypes as the dispatching layer sees them: list position, layout,
// the recipe that converts them (null while a CalType does not convert), and
// the process-wide statics of the C entries.
#pragma once

#include <cstdint>

#include "kalviro.hpp"

namespace kalviro {

namespace direct {
struct Recipe;
}

struct Module {
    int32_t calType;
    bool longLayout;
    const direct::Recipe* recipe;  // null: not converting yet
};

// Position of a CalType in the one list, or -1.
constexpr int listIndex(int32_t calType) {
#define KALVIRO_NUMBER(nn, layout, hasIT, converts) nn,
    constexpr int32_t numbers[] = {KALVIRO_CALTYPES(KALVIRO_NUMBER)};
#undef KALVIRO_NUMBER
    for (int i = 0; i < KALVIRO_CALTYPE_COUNT; ++i) {
        if (numbers[i] == calType) return i;
    }
    return -1;
}

// The converting module of a CalType, or null.
const Module* findModule(int32_t calType);
const Module& moduleAt(int index);

// The statics behind the C entries, one set per CalType.
CalState& processState(int index);

// The result forms of the three conversion entries. A null block gives 0.0.
float convertInit(const Module& m, CalState& st, TempFrameInfo* block, int32_t gray, float emissivity,
                  float distance);
float convertReal(const Module& m, const CalState& st, const TempFrameInfo* block, int32_t gray,
                  float emissivity, float distance);
float convertOnce(const Module& m, CalState& st, TempFrameInfo* block, int32_t gray, float emissivity,
                  float distance);

// GetITValue of a CalType from its row in the family table; 0.0 for a null
// block or a CalType without one.
double getITValue(int32_t calType, const uint8_t* block);
bool hasGetIT(int32_t calType);

// TempPara_get in the short or the long form.
void tempParaGet(bool longForm, const uint8_t* block, TempPara* para);

inline const uint8_t* bytes(const TempFrameInfo* block) { return reinterpret_cast<const uint8_t*>(block); }
inline uint8_t* bytes(TempFrameInfo* block) { return reinterpret_cast<uint8_t*>(block); }

}  // namespace kalviro
