// The camera's own exponential. Its base is 2.718281, truncated, and its
// series stops at the ninth power; results differ from exp in the seventh
// digit, which can reach the final hundredth, so the two never mix.
#include <cmath>

#include "core/numeric.hpp"
#include "kalviro.h"

extern "C" double myexp(double x) {
    const int32_t n = kalviro::toInt(x);
    const double f = x - n;

    double p = 1.0;
    const uint32_t steps = n < 0 ? 0u - static_cast<uint32_t>(n) : static_cast<uint32_t>(n);
    for (uint32_t i = 0; i < steps; ++i) {
        p *= 2.718281;
        if (std::isinf(p)) break;  // stays infinite: no need to spin 2^31 times
    }
    if (n < 0) p = 1.0 / p;

    const double f2 = f * f;
    const double f3 = f2 * f;
    const double f4 = f3 * f;
    const double f5 = f4 * f;
    const double f6 = f5 * f;
    const double f7 = f6 * f;
    const double f8 = f7 * f;
    const double f9 = f8 * f;
    double sum = 1.0 + f;
    sum = sum + 0.5 * f2;
    sum = sum + f3 / 6;
    sum = sum + f4 / 24;
    sum = sum + f5 / 120;
    sum = sum + f6 / 720;
    sum = sum + f7 / 5040;
    sum = sum + f8 / 40320;
    sum = sum + f9 / 362880;
    return sum * p;
}
