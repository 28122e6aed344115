// A CalType as the dispatching entries see it: its family and the family's
// row, from which the family's engine converts it; and the process-wide
// statics of the C entries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "core/state.hpp"
#include "kalviro.hpp"

namespace kalviro {

namespace direct {
struct Recipe;
struct FourRange;
}  // namespace direct
namespace ladder {
struct Recipe;
}

struct Module {
    int32_t calType;
    Family family;
    bool longLayout;
    // The family's row; only the one of the module's family is set.
    const direct::Recipe* direct;      // Family::Direct
    const direct::FourRange* direct4;  // Family::Direct4
    const ladder::Recipe* ladder;      // Family::Ladder, Family::Ladder4
};

// Position of a CalType in the one list, or -1: where its module, its
// statics and its row of kalviro_table are.
// By index, not through findCalType: a pointer compared with null is no
// constant expression once UBSan instruments it.
constexpr int listIndex(int32_t calType) {
    for (size_t i = 0; i < std::size(kCalTypes); ++i) {
        if (kCalTypes[i].calType == calType) return static_cast<int>(i);
    }
    return -1;
}

// The module of a converting CalType, or null.
const Module* findModule(int32_t calType);
const Module& moduleAt(int index);

// The statics behind the C entries, one set per CalType, and the per-pixel
// plan each per-frame call leaves beside them (stored_plan.hpp).
struct StoredPlan;
CalState& processState(int index);
StoredPlan& processPlan(int index);
// The statics as loaded, and no plan: a test's fresh start.
void resetProcessState(int index);

// The three conversion entries, in degrees, each family with its own result
// form. A null block gives 0.0. The per-frame call stores its plan in sp;
// the per-pixel call uses it where it holds.
float convertInit(const Module& m, CalState& st, StoredPlan& sp, TempFrameInfo* block, int32_t gray,
                  float emissivity, float distance);
float convertReal(const Module& m, const CalState& st, const StoredPlan& sp, const TempFrameInfo* block,
                  int32_t gray, float emissivity, float distance);
float convertOnce(const Module& m, CalState& st, StoredPlan& sp, TempFrameInfo* block, int32_t gray,
                  float emissivity, float distance);

// The per-pixel call on a whole frame: the family's plan once, then its
// kernel for each gray value of the frame's span, on up to `threads`
// threads. Bit for bit what convertReal gives.
void convertFrame(const Module& m, const CalState& st, const TempFrameInfo* block, const uint16_t* pixels,
                  uint64_t count, float emissivity, float distance, float* out, KalviroFrameTable& table,
                  int32_t threads);

// Entries [first, first + count) of a frame's table through the given
// builders: the kernel on that set's lanes.
struct LaneBuilders;
void buildTable(const Module& m, const CalState& st, const TempFrameInfo* block, float emissivity,
                float distance, const LaneBuilders& set, int32_t first, int32_t count, float* out);

// The inverse search on the CalType's per-pixel call, its plan taken once.
int32_t searchGray(const Module& m, const CalState& st, const TempFrameInfo* block, int32_t tempMin,
                   int32_t tempMax, int32_t grayMin, int32_t grayMax, int32_t target, float emissivity);

// TempPara_get in the short or the long form.
void tempParaGet(bool longForm, const uint8_t* block, TempPara* para);

inline const uint8_t* bytes(const TempFrameInfo* block) { return reinterpret_cast<const uint8_t*>(block); }
inline uint8_t* bytes(TempFrameInfo* block) { return reinterpret_cast<uint8_t*>(block); }

// A camera's statics and module, for the library and its tests.
struct CameraAccess {
    static CalState& state(Camera& cam);
    static const CalState& state(const Camera& cam);
    static StoredPlan& plan(Camera& cam);
    static const StoredPlan& plan(const Camera& cam);
    static const Module* module(const Camera& cam);
};

}  // namespace kalviro
