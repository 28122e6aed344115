// The statics of one CalType module. The C entries keep one set per CalType
// for the whole process; a kalviro::Camera keeps its own set.
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

}  // namespace kalviro
