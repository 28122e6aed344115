// exp and integer powers rounded to the nearest double, the same bits on
// every host: the conversions are defined with these two functions, and
// mathematics libraries differ in the last bit (glibc by processor, MinGW's
// pow multiplies repeatedly, its exp runs on the x87).
//
// Special values follow the C library's exp and pow: NaN gives NaN, exp(+inf)
// is +inf, exp(-inf) is +0, results beyond the largest double are +inf,
// results below half the smallest subnormal are +0, subnormal results are
// rounded once, to the subnormal grid. errno is never set.
#pragma once

namespace kalviro {

// e^x rounded to nearest, ties impossible (e^x is irrational for x != 0).
double roundedExp(double x);

// x^n rounded to nearest, ties to even, for 0 <= n <= kMaxRoundedPow; as
// pow(x, n): x^0 is 1 even for NaN, (-0)^n and (-inf)^n keep the sign for odd
// n. Any other n gives NaN.
constexpr int kMaxRoundedPow = 16;
double roundedPow(double x, int n);

}  // namespace kalviro
