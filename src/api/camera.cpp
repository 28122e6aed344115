#include <cstring>
#include <new>
#include <type_traits>

#include "api/frame.hpp"
#include "api/module.hpp"
#include "api/stored_plan.hpp"
#include "core/get_it.hpp"
#include "kalviro.hpp"

namespace kalviro {

static_assert(sizeof(CalState) <= Camera::kStateSize, "the statics outgrow the camera's room");
static_assert(alignof(CalState) <= Camera::kStateAlign, "the statics need more alignment");
static_assert(std::is_trivially_copyable<CalState>::value, "a camera is copied byte for byte");
static_assert(sizeof(StoredPlan) <= Camera::kPlanSize, "the stored plan outgrows the camera's room");
static_assert(alignof(StoredPlan) <= Camera::kStateAlign, "the stored plan needs more alignment");
static_assert(std::is_trivially_copyable<StoredPlan>::value, "a camera is copied byte for byte");

CalState& CameraAccess::state(Camera& cam) { return *std::launder(reinterpret_cast<CalState*>(cam.state_)); }

const CalState& CameraAccess::state(const Camera& cam) {
    return *std::launder(reinterpret_cast<const CalState*>(cam.state_));
}

StoredPlan& CameraAccess::plan(Camera& cam) {
    return *std::launder(reinterpret_cast<StoredPlan*>(cam.plan_));
}

const StoredPlan& CameraAccess::plan(const Camera& cam) {
    return *std::launder(reinterpret_cast<const StoredPlan*>(cam.plan_));
}

const Module* CameraAccess::module(const Camera& cam) { return static_cast<const Module*>(cam.module_); }

Camera::Camera(int32_t calType) noexcept
    : calType_(calType), module_(findModule(calType)), state_{}, plan_{} {
    new (state_) CalState(initialState(calType));
    dropPlan(*new (plan_) StoredPlan);
}

float Camera::init(int32_t gray, TempFrameInfo* block, float emissivity, float distance) noexcept {
    const Module* m = CameraAccess::module(*this);
    return m ? convertInit(*m, CameraAccess::state(*this), CameraAccess::plan(*this), block, gray, emissivity,
                           distance)
             : 0.0f;
}

float Camera::real(int32_t gray, const TempFrameInfo* block, float emissivity,
                   float distance) const noexcept {
    const Module* m = CameraAccess::module(*this);
    return m ? convertReal(*m, CameraAccess::state(*this), CameraAccess::plan(*this), block, gray, emissivity,
                           distance)
             : 0.0f;
}

float Camera::once(int32_t gray, TempFrameInfo* block, float emissivity, float distance) noexcept {
    const Module* m = CameraAccess::module(*this);
    return m ? convertOnce(*m, CameraAccess::state(*this), CameraAccess::plan(*this), block, gray, emissivity,
                           distance)
             : 0.0f;
}

double Camera::getIT(const TempFrameInfo* block) const noexcept {
    return module_ && block ? getit::getITValue(calType_, bytes(block)) : 0.0;
}

int32_t Camera::getTempPara(const TempFrameInfo* block, TempPara* para) const noexcept {
    const Module* m = CameraAccess::module(*this);
    if (!m || !block || !para) return 0;
    *para = TempPara{};
    tempParaGet(m->longLayout, bytes(block), para);
    return 1;
}

int32_t Camera::temp2gray(const TempFrameInfo* block, int32_t tempMin, int32_t tempMax, int32_t grayMin,
                          int32_t grayMax, int32_t target, float emissivity) const noexcept {
    const Module* m = CameraAccess::module(*this);
    if (m == nullptr) return grayMin;
    return searchGray(*m, CameraAccess::state(*this), block, tempMin, tempMax, grayMin, grayMax, target,
                      emissivity);
}

void Camera::realFrame(const uint16_t* pixels, uint64_t count, const TempFrameInfo* block, float emissivity,
                       float distance, float* out, KalviroFrameTable& table, int32_t threads) const noexcept {
    const Module* m = CameraAccess::module(*this);
    if (m == nullptr || !frameArgumentsUsable(block, pixels, count, out)) return;
    convertFrame(*m, CameraAccess::state(*this), block, pixels, count, emissivity, distance, out, table,
                 threads);
}

// The statics travel as they lie in memory: a change of CalState must change
// this text, so bytes of another layout are refused by whoever checks it.
static_assert(sizeof(CalState) == 372, "the statics changed: raise the revision in stateLayout()");
static_assert(Camera::kStateSize == KALVIRO_CAMERA_STATE_SIZE, "the saved state is the camera's room");

void Camera::saveState(unsigned char* out) const noexcept { std::memcpy(out, state_, kStateSize); }

// CalState is trivially copyable: its bytes may be written over it.
// The plan was built from the statics replaced.
void Camera::loadState(const unsigned char* in) noexcept {
    std::memcpy(state_, in, kStateSize);
    dropPlan(CameraAccess::plan(*this));
}

const char* Camera::stateLayout() noexcept {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    return "statics r1 big-endian 372";
#else
    return "statics r1 little-endian 372";
#endif
}

}  // namespace kalviro
