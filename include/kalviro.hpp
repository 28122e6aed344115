// C++ interface: a Camera owns its own set of CalType statics, so two cameras
// on one CalType need not take turns as they must through the C entries.
#pragma once

#include <cstdint>

#include "kalviro.h"

namespace kalviro {

// CalType 22 remembers one warm-up peak per lens type.
struct PeakSet {
    float dCH5;  // peak of c5 - c1
    int32_t dT;  // upTime at the peak
    float xd;    // amplitude at the peak
};

// Every static a CalType module keeps. Members a CalType does not use stay at
// their initial values.
struct CalState {
    TempSegment tempdata[14]{};
    float const_A3 = 0.0f;
    float const_B3 = 0.0f;
    float const_R = 0.0f;
    float const_b = 0.0f;
    float const_d = 0.0f;
    float const_CH1 = 0.0f;
    float const_CH2 = 0.0f;
    float const_U = 0.0f;
    float wCH5 = 0.0f;
    float xd = 0.0f;
    float w1 = 0.0f;
    float w2 = 0.0f;
    float dT = 0.0f;
    float dCH5 = 0.0f;
    float ch = 0.0f;
    int32_t flag = 1;
    int32_t init_flag = 0;
    PeakSet lens[2]{{0.0f, 0, 0.0f}, {0.0f, 0, 0.0f}};
};

// The statics as loaded: all zero but flag, and CalType 22's peaks at 8.0
// (lens 1) and 6.5 (lens 2).
constexpr CalState initialState(int32_t calType) {
    CalState s{};
    if (calType == 22) {
        s.lens[0].dCH5 = 8.0f;
        s.lens[1].dCH5 = 6.5f;
    }
    return s;
}

struct Module;

class KALVIRO_API Camera {
public:
    // A CalType that does not convert gives a camera whose calls return the
    // failure values of the C entries.
    explicit Camera(int32_t calType) noexcept;

    bool valid() const noexcept { return module_ != nullptr; }
    int32_t calType() const noexcept { return calType_; }
    const CalState& state() const noexcept { return state_; }

    float init(int32_t gray, TempFrameInfo* block, float emissivity, float distance) noexcept;
    float real(int32_t gray, const TempFrameInfo* block, float emissivity, float distance) const noexcept;
    float once(int32_t gray, TempFrameInfo* block, float emissivity, float distance) noexcept;
    double getIT(const TempFrameInfo* block) const noexcept;
    int32_t getTempPara(const TempFrameInfo* block, TempPara* para) const noexcept;
    // KALVIRO_Temp2Gray on this camera's per-pixel call.
    int32_t temp2gray(const TempFrameInfo* block, int32_t tempMin, int32_t tempMax, int32_t grayMin,
                      int32_t grayMax, int32_t target, float emissivity) const noexcept;

    // The per-pixel call on a whole frame, each distinct gray value converted
    // once through the caller's table; bit for bit what real() gives.
    void realFrame(const uint16_t* pixels, uint64_t count, const TempFrameInfo* block, float emissivity,
                   float distance, float* out, KalviroFrameTable& table) const noexcept;

private:
    int32_t calType_;
    const Module* module_;
    CalState state_;
};

}  // namespace kalviro
