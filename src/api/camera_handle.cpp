// kalviro_camera: a kalviro::Camera behind a C handle, on the heap or in the
// caller's memory.
#include <cstdint>
#include <cstdlib>
#include <new>
#include <type_traits>

#include "api/frame.hpp"
#include "kalviro.h"
#include "kalviro.hpp"

struct kalviro_camera {
    kalviro::Camera cam;
};

// The header promises C callers a plain value: no teardown, copied with
// memcpy, and a size known at compile time.
static_assert(std::is_trivially_copyable<kalviro_camera>::value, "a camera is copied byte for byte");
static_assert(std::is_trivially_destructible<kalviro_camera>::value, "a camera needs no teardown");
static_assert(sizeof(kalviro_camera) <= KALVIRO_CAMERA_SIZE_MAX, "KALVIRO_CAMERA_SIZE_MAX is too small");
static_assert(alignof(kalviro_camera) == 8, "the header states an alignment of 8");

namespace {

bool known(int32_t calType) { return kalviro::findCalType(calType) != nullptr; }

// A camera switched on, in memory the caller has checked.
kalviro_camera* build(void* memory, int32_t calType) {
    return memory ? new (memory) kalviro_camera{kalviro::Camera(calType)} : nullptr;
}

}  // namespace

extern "C" {

kalviro_camera* kalviro_camera_create(int32_t calType) {
    // malloc's alignment covers the camera's 8; std::free in destroy.
    return known(calType) ? build(std::malloc(sizeof(kalviro_camera)), calType) : nullptr;
}

void kalviro_camera_destroy(kalviro_camera* cam) { std::free(cam); }

size_t kalviro_camera_size(void) { return sizeof(kalviro_camera); }

size_t kalviro_camera_align(void) { return alignof(kalviro_camera); }

kalviro_camera* kalviro_camera_init(void* memory, size_t size, int32_t calType) {
    // Refused before anything is written.
    if (!known(calType) || size < sizeof(kalviro_camera) ||
        reinterpret_cast<uintptr_t>(memory) % alignof(kalviro_camera) != 0) {
        return nullptr;
    }
    return build(memory, calType);
}

int32_t kalviro_camera_caltype(const kalviro_camera* cam) { return cam ? cam->cam.calType() : 0; }

float kalviro_camera_gray2temp_init(kalviro_camera* cam, int32_t gray, TempFrameInfo* block, float emissivity,
                                    float distance) {
    return cam ? cam->cam.init(gray, block, emissivity, distance) : 0.0f;
}

float kalviro_camera_gray2temp_real(const kalviro_camera* cam, int32_t gray, const TempFrameInfo* block,
                                    float emissivity, float distance) {
    return cam ? cam->cam.real(gray, block, emissivity, distance) : 0.0f;
}

float kalviro_camera_gray2temp_once(kalviro_camera* cam, int32_t gray, TempFrameInfo* block, float emissivity,
                                    float distance) {
    return cam ? cam->cam.once(gray, block, emissivity, distance) : 0.0f;
}

double kalviro_camera_getit(const kalviro_camera* cam, const TempFrameInfo* block) {
    return cam ? cam->cam.getIT(block) : 0.0;
}

int32_t kalviro_camera_temppara(const kalviro_camera* cam, const TempFrameInfo* block, TempPara* para) {
    return cam ? cam->cam.getTempPara(block, para) : 0;
}

int32_t kalviro_camera_temp2gray(const kalviro_camera* cam, const TempFrameInfo* block, int32_t tempMin,
                                 int32_t tempMax, int32_t grayMin, int32_t grayMax, int32_t target,
                                 float emissivity) {
    return cam ? cam->cam.temp2gray(block, tempMin, tempMax, grayMin, grayMax, target, emissivity) : grayMin;
}

int32_t kalviro_camera_convert_frame(const kalviro_camera* cam, const TempFrameInfo* block,
                                     const uint16_t* pixels, uint64_t count, float emissivity, float distance,
                                     float* out, KalviroFrameTable* table, int32_t threads) {
    if (cam == nullptr || table == nullptr || !kalviro::frameArgumentsUsable(block, pixels, count, out))
        return -1;
    cam->cam.realFrame(pixels, count, block, emissivity, distance, out, *table, threads);
    return 0;
}

const char* kalviro_camera_state_layout(void) { return kalviro::Camera::stateLayout(); }

int32_t kalviro_camera_save(const kalviro_camera* cam, uint8_t* state) {
    if (cam == nullptr || state == nullptr) return -1;
    cam->cam.saveState(state);
    return 0;
}

int32_t kalviro_camera_load(kalviro_camera* cam, const uint8_t* state) {
    if (cam == nullptr || state == nullptr) return -1;
    cam->cam.loadState(state);
    return 0;
}

}  // extern "C"
