// Conversions and integer arithmetic with defined results on every host.
//
// A float-to-int cast of NaN or of a value outside int32 is undefined in C++
// and gives different answers on x86 and Arm; the camera's arithmetic was
// defined on x86, whose truncating conversion yields INT32_MIN there. Every
// (int) of a formula goes through toInt. Integer sums that the block can
// push past int32 wrap, as on the camera, through unsigned arithmetic.
#pragma once

#include <cfloat>
#include <cstdint>

static_assert(FLT_EVAL_METHOD == 0, "float arithmetic must round to float at every step (SSE2)");

namespace kalviro {

constexpr int32_t toInt(float x) {
    // -2^31 is a float; the next float below it is already out of range.
    return (x >= -2147483648.0f && x < 2147483648.0f) ? static_cast<int32_t>(x) : INT32_MIN;
}

constexpr int32_t toInt(double x) {
    return (x > -2147483649.0 && x < 2147483648.0) ? static_cast<int32_t>(x) : INT32_MIN;
}

constexpr int32_t wrapAdd(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

constexpr int32_t wrapSub(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

constexpr int32_t wrapMul(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

constexpr int32_t wrapShl(int32_t a, int n) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) << (n & 31));
}

// Truncating division; INT32_MIN / -1 wraps to INT32_MIN as the camera's
// 32-bit arithmetic would, instead of trapping. b must not be 0.
constexpr int32_t wrapDiv(int32_t a, int32_t b) { return b == -1 ? wrapSub(0, a) : a / b; }

}  // namespace kalviro
