// The lookup value x of a per-frame stage: the normalised gray value gf
// less the body drift const_b, moved by grayOffset (const_R) and the drift
// counts const_d, in the precision each CalType was written in. Both
// families take their join from this one list.
#pragma once

#include <cstdint>

#include "core/state.hpp"

namespace kalviro {

enum class Join : uint8_t {
    Float,     // (float)(int)(const_d + (float)(int)(const_R + (gf - const_b)))
    FloatAdd,  // Float with const_b added
    Int,       // (float)((int)const_d + (int)(const_R + (gf - const_b)))
    IntAdd,    // Int with const_b added
    OffsetP2,  // 130, 131: the offset polynomial P2 of dIT in place of const_b
    OffsetP3,  // 130, 131: P3 of dIT besides const_b
    // The two untruncated joins associate differently and so differ in the
    // last bit: each is the one its CalTypes were defined with. Do not merge.
    ExactGrayFirst,   // ((gf - const_b) + const_R) + const_d (Direct)
    ExactDriftFirst,  // (const_d + (gf - const_b)) + const_R (ladder)
    ExactIntDrift,    // ((gf - const_b) + const_R) + (float)(int)const_d
    BothInt,          // (float)(int)((gf - const_b) + const_R) + (float)(int)const_d
};

// x from the statics const_b, const_R and const_d; dIT (c5 - itRefTemp) is
// read by the offset polynomials alone.
float lookupValue(Join join, float gIn, const CalState& st, float dIT);

}  // namespace kalviro
