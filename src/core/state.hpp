// The statics of one CalType module. The C entries keep one set per CalType
// for the whole process; a kalviro::Camera keeps its own set.
#pragma once

#include <cstdint>

#include "kalviro.h"

namespace kalviro {

// CalType 22 remembers one warm-up peak per lens type.
struct PeakSet {
    float dCH5;          // peak of c5 - c1
    int32_t peakUpTime;  // upTime at the peak, seconds
    float xd;            // amplitude at the peak
};

// Every static a CalType module keeps, one bag for both families; members a
// CalType does not use stay at their initial values. Written by the
// per-frame stage (frame_stage.hpp and the family's steps), read by the
// per-pixel plan unless said otherwise.
struct CalState {
    TempSegment tempdata[14]{};  // the segments; every family's build
    float const_A3 = 0.0f;       // atmosphere amplitude: the opening, or 61 and 62 from the block
    float const_B3 = 0.0f;       // atmosphere rate: likewise
    float const_R = 0.0f;        // grayOffset: the opening
    float const_b = 0.0f;        // body drift
    float const_d = 0.0f;        // drift counts
    float const_CH1 = 0.0f;      // per-pixel air c1 (Direct Air, ladder Channel)
    float const_CH2 = 0.0f;      // per-pixel air c2; 12 and 60 keep c1 here
    float const_U = 0.0f;        // driftGain of 12, 60, 61, 62 (four_range.cpp)
    float wCH5 = 0.0f;           // the wCH5 seed; CalType 22's warm rule reads and writes it
    float xd = 0.0f;             // warm-up shift before division; per frame, read only by its own stage
    float w1 = 0.0f;             // ladder latch of c1 (Latch::W1); read by multiplier tables LD, LE, bands W1
    float w2 = 0.0f;             // ladder latch of c1 (Latch::W2); multipliers LA-LC, LF, LG, band W2
    float dT = 0.0f;             // lower warm-up limit latched on the first frame (Direct 50-55, 110, 120;
                                 // ladder 111, 121), degrees
    float dCH5 = 0.0f;           // upper limit latched with it
    float ch = 0.0f;             // ladder latch of c1 (Latch::Ch); multiplier table LH
    int32_t flag = 1;            // 1 until the ladder latches w1, w2 or ch
    int32_t init_flag = 0;       // 1 once dT and dCH5 are latched
    PeakSet lens[2]{{0.0f, 0, 0.0f}, {0.0f, 0, 0.0f}};  // CalType 22 alone, per lensType 1 and 2
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
