#include "api/frame_table.hpp"
#include "api/module.hpp"
#include "api/temp2gray.hpp"
#include "kalviro.hpp"

namespace kalviro {

Camera::Camera(int32_t calType) noexcept
    : calType_(calType), module_(findModule(calType)), state_(initialState(calType)) {}

float Camera::init(int32_t gray, TempFrameInfo* block, float emissivity, float distance) noexcept {
    return module_ ? convertInit(*module_, state_, block, gray, emissivity, distance) : 0.0f;
}

float Camera::real(int32_t gray, const TempFrameInfo* block, float emissivity,
                   float distance) const noexcept {
    return module_ ? convertReal(*module_, state_, block, gray, emissivity, distance) : 0.0f;
}

float Camera::once(int32_t gray, TempFrameInfo* block, float emissivity, float distance) noexcept {
    return module_ ? convertOnce(*module_, state_, block, gray, emissivity, distance) : 0.0f;
}

double Camera::getIT(const TempFrameInfo* block) const noexcept {
    return module_ && block ? getITValue(calType_, bytes(block)) : 0.0;
}

int32_t Camera::getTempPara(const TempFrameInfo* block, TempPara* para) const noexcept {
    if (!module_ || !block || !para) return 0;
    *para = TempPara{};
    tempParaGet(module_->longLayout, bytes(block), para);
    return 1;
}

int32_t Camera::temp2gray(const TempFrameInfo* block, int32_t tempMin, int32_t tempMax, int32_t grayMin,
                          int32_t grayMax, int32_t target, float emissivity) const noexcept {
    return kalviro::temp2gray([&](int32_t g) { return real(g, block, emissivity, 0.0f); }, tempMin, tempMax,
                              grayMin, grayMax, target);
}

}  // namespace kalviro

namespace kalviro {

void Camera::realFrame(const uint16_t* pixels, uint64_t count, const TempFrameInfo* block, float emissivity,
                       float distance, float* out, KalviroFrameTable& table) const noexcept {
    convertFrame([&](int32_t g) { return real(g, block, emissivity, distance); }, pixels, count, out, table);
}

}  // namespace kalviro
