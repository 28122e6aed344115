// The per-CalType exports and kalviro_table, generated from the one list.
#include "api/module.hpp"
#include "api/stored_plan.hpp"
#include "core/get_it.hpp"
#include "direct/family.hpp"
#include "kalviro.h"

namespace {

template <int32_t NN>
struct Exported {
    static constexpr int index = kalviro::listIndex(NN);
    static_assert(index >= 0, "CalType not in the list");

    static float init(int32_t gray, TempFrameInfo* block, float emissivity, float distance) {
        return kalviro::convertInit(kalviro::moduleAt(index), kalviro::processState(index),
                                    kalviro::processPlan(index), block, gray, emissivity, distance);
    }
    static float real(int32_t gray, TempFrameInfo* block, float emissivity, float distance) {
        return kalviro::convertReal(kalviro::moduleAt(index), kalviro::processState(index),
                                    kalviro::processPlan(index), block, gray, emissivity, distance);
    }
    static float once(int32_t gray, TempFrameInfo* block, float emissivity, float distance) {
        return kalviro::convertOnce(kalviro::moduleAt(index), kalviro::processState(index),
                                    kalviro::processPlan(index), block, gray, emissivity, distance);
    }
    static void tempPara(TempFrameInfo* block, TempPara* para) {
        if (block == nullptr || para == nullptr) return;
        kalviro::tempParaGet(kalviro::moduleAt(index).longLayout, kalviro::bytes(block), para);
    }
    static double getIT(TempFrameInfo* block) {
        return block ? kalviro::getit::getITValue(NN, kalviro::bytes(block)) : 0.0;
    }
};

}  // namespace

extern "C" {

#define KALVIRO_DEFINE_CONVERT(nn)                                                                    \
    float Gray2Temp_Init_##nn(int32_t gray, TempFrameInfo* block, float emissivity, float distance) { \
        return Exported<nn>::init(gray, block, emissivity, distance);                                 \
    }                                                                                                 \
    float Gray2Temp_Real_##nn(int32_t gray, TempFrameInfo* block, float emissivity, float distance) { \
        return Exported<nn>::real(gray, block, emissivity, distance);                                 \
    }                                                                                                 \
    float Gray2Temp_Once_##nn(int32_t gray, TempFrameInfo* block, float emissivity, float distance) { \
        return Exported<nn>::once(gray, block, emissivity, distance);                                 \
    }
#define KALVIRO_DEFINE_GETIT(nn) \
    double GetITValue_##nn(TempFrameInfo* block) { return Exported<nn>::getIT(block); }
#define KALVIRO_DEFINE(nn, layout, hasIT, family, last)                                                   \
    void TempPara_get_##nn(TempFrameInfo* block, TempPara* para) { Exported<nn>::tempPara(block, para); } \
    void GetTempPara_##nn(TempFrameInfo* block, TempPara* para) { TempPara_get_##nn(block, para); }       \
    KALVIRO_IF(hasIT, KALVIRO_DEFINE_GETIT(nn))                                                           \
    KALVIRO_DEFINE_CONVERT(nn)
KALVIRO_CALTYPES(KALVIRO_DEFINE)
#undef KALVIRO_DEFINE

#define KALVIRO_GETIT_SLOT_1(nn) GetITValue_##nn
#define KALVIRO_GETIT_SLOT_0(nn) nullptr
#define KALVIRO_GETIT_SLOT(hasIT, nn) KALVIRO_GETIT_SLOT_##hasIT(nn)
#define KALVIRO_ROW(nn, layout, hasIT, family, last) \
    {nn,                                             \
     Gray2Temp_Init_##nn,                            \
     Gray2Temp_Real_##nn,                            \
     Gray2Temp_Once_##nn,                            \
     KALVIRO_GETIT_SLOT(hasIT, nn),                  \
     GetTempPara_##nn},
// In the order of the list: listIndex finds a row here too.
const CalTypeEntry kalviro_table[] = {KALVIRO_CALTYPES(KALVIRO_ROW)};
#undef KALVIRO_ROW
const int32_t kalviro_table_size = static_cast<int32_t>(sizeof kalviro_table / sizeof kalviro_table[0]);

}  // extern "C"

// The stages of 12 and 60 are exported on their own, in hundredths.
namespace {
template <int32_t NN>
int32_t oldEarly(int32_t gray, TempFrameInfo* block, float emissivity, float distance) {
    constexpr int index = kalviro::listIndex(NN);
    if (block == nullptr) return 0;
    // The stage writes the statics without storing a plan for them.
    kalviro::dropPlan(kalviro::processPlan(index));
    return kalviro::direct::early12(kalviro::familyRow<kalviro::direct::Trait>(kalviro::moduleAt(index)),
                                    kalviro::processState(index), kalviro::bytes(block), gray, emissivity,
                                    distance);
}
template <int32_t NN>
int32_t oldRealtime(int32_t gray, TempFrameInfo* block, float emissivity, float distance) {
    constexpr int index = kalviro::listIndex(NN);
    if (block == nullptr) return 0;
    return kalviro::direct::realtime12(kalviro::familyRow<kalviro::direct::Trait>(kalviro::moduleAt(index)),
                                       kalviro::processState(index), kalviro::bytes(block), gray, emissivity,
                                       distance);
}
}  // namespace
extern "C" {
int32_t Gray2TempEx12_early_init(int32_t gray, TempFrameInfo* block, float emissivity, float distance) {
    return oldEarly<12>(gray, block, emissivity, distance);
}
int32_t Gray2TempEx12_realtime(int32_t gray, TempFrameInfo* block, float emissivity, float distance) {
    return oldRealtime<12>(gray, block, emissivity, distance);
}
int32_t Gray2TempEx60_early_init(int32_t gray, TempFrameInfo* block, float emissivity, float distance) {
    return oldEarly<60>(gray, block, emissivity, distance);
}
int32_t Gray2TempEx60_realtime(int32_t gray, TempFrameInfo* block, float emissivity, float distance) {
    return oldRealtime<60>(gray, block, emissivity, distance);
}
}
