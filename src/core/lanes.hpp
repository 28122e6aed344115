// Lanes: the arithmetic of the per-pixel kernels, on one gray value or on a
// vector of them. A kernel is written once over a lane type L and compiles
// to Scalar for the per-pixel call and to Vector<W, Tag> for a frame's table.
// Every operation is the IEEE operation of the scalar code, lane by lane, in
// the same order (no contraction: the library is built with
// -ffp-contract=off), so every lane gives the scalar bits.
//
// Branches on a gray value become selects: both sides are computed and the
// mask picks one. That is exact as long as a side has no effect but its
// value: float division by zero and NaN stay in the lanes that are dropped,
// and the conversions to int clamp before they convert.
#pragma once

#include <cstdint>
#include <cstring>

#include "core/numeric.hpp"

// Vectors are passed between the kernel's inline functions only, never
// across the library's interface: their calling convention does not matter.
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wpsabi"
#elif defined(__GNUC__)
#pragma GCC diagnostic ignored "-Wpsabi"
#endif

namespace kalviro {

// One lane: the plain types, a branch for a select.
struct Scalar {
    static constexpr int N = 1;
    using F = float;
    using D = double;
    using I = int32_t;
    using M = bool;   // mask of a float or int comparison
    using MD = bool;  // mask of a double comparison

    static F splat(float x) { return x; }
    static D splat(double x) { return x; }
    static I splat(int32_t x) { return x; }
    static I iota(int32_t first) { return first; }
    static M none() { return false; }

    static D widen(F x) { return static_cast<double>(x); }
    static F narrow(D x) { return static_cast<float>(x); }
    static F toFloat(I x) { return static_cast<float>(x); }
    static I toInt(F x) { return kalviro::toInt(x); }
    static I toInt(D x) { return kalviro::toInt(x); }
    static I add(I a, I b) { return wrapAdd(a, b); }
    static I sub(I a, I b) { return wrapSub(a, b); }

    static F select(M m, F a, F b) { return m ? a : b; }
    static D select(M m, D a, D b) { return m ? a : b; }
    static I select(M m, I a, I b) { return m ? a : b; }
    static D selectWide(MD m, D a, D b) { return m ? a : b; }
    static M both(M a, M b) { return a && b; }
    static M either(M a, M b) { return a || b; }
    static M no(M a) { return !a; }
    static M narrowMask(MD m) { return m; }
    static MD wideMask(M m) { return m; }

    static void store(float* out, F x, int count) {
        if (count > 0) *out = x;
    }
};

// The vector types of W lanes (GCC's and clang's vector extensions), spelt
// out per width: GCC drops a vector_size that depends on a template argument.
template <int W>
struct VectorTypes;
#define KALVIRO_VECTOR_TYPES(W)                                 \
    template <>                                                 \
    struct VectorTypes<W> {                                     \
        typedef float F __attribute__((vector_size(4 * W)));    \
        typedef double D __attribute__((vector_size(8 * W)));   \
        typedef int32_t I __attribute__((vector_size(4 * W)));  \
        typedef uint32_t U __attribute__((vector_size(4 * W))); \
    };
KALVIRO_VECTOR_TYPES(4)
KALVIRO_VECTOR_TYPES(8)
KALVIRO_VECTOR_TYPES(16)
#undef KALVIRO_VECTOR_TYPES

// W lanes. Tag keeps the instantiations of each instruction set apart, so
// that none compiled for a wider set stands in for another at link time.
template <int W, typename Tag>
struct Vector {
    static constexpr int N = W;
    using F = typename VectorTypes<W>::F;
    using D = typename VectorTypes<W>::D;
    using I = typename VectorTypes<W>::I;
    using U = typename VectorTypes<W>::U;
    using M = decltype(F{} < F{});
    using MD = decltype(D{} < D{});

    static F splat(float x) {
        F v;
        for (int k = 0; k < W; ++k) v[k] = x;
        return v;
    }
    static D splat(double x) {
        D v;
        for (int k = 0; k < W; ++k) v[k] = x;
        return v;
    }
    static I splat(int32_t x) {
        I v;
        for (int k = 0; k < W; ++k) v[k] = x;
        return v;
    }
    static M none() { return M{}; }
    static I iota(int32_t first) {
        I v;
        for (int k = 0; k < W; ++k) v[k] = first + k;
        return v;
    }

    static D widen(F x) { return __builtin_convertvector(x, D); }
    static F narrow(D x) { return __builtin_convertvector(x, F); }
    static F toFloat(I x) { return __builtin_convertvector(x, F); }
    // toInt of every lane: out of range and NaN give INT32_MIN.
    static I toInt(F x) {
        const M ok = (x >= -2147483648.0f) & (x < 2147483648.0f);
        const I t = __builtin_convertvector(ok ? x : F{}, I);
        return ok ? t : splat(INT32_MIN);
    }
    static I toInt(D x) {
        const MD ok = (x > -2147483649.0) & (x < 2147483648.0);
        const I t = __builtin_convertvector(ok ? x : D{}, I);
        return narrowMask(ok) ? t : splat(INT32_MIN);
    }
    static I add(I a, I b) { return reinterpret_cast<I>(reinterpret_cast<U>(a) + reinterpret_cast<U>(b)); }
    static I sub(I a, I b) { return reinterpret_cast<I>(reinterpret_cast<U>(a) - reinterpret_cast<U>(b)); }

    static F select(M m, F a, F b) { return m ? a : b; }
    static D select(M m, D a, D b) { return wideMask(m) ? a : b; }
    static I select(M m, I a, I b) { return m ? a : b; }
    static D selectWide(MD m, D a, D b) { return m ? a : b; }
    static M both(M a, M b) { return a & b; }
    static M either(M a, M b) { return a | b; }
    static M no(M a) { return ~a; }
    static M narrowMask(MD m) { return __builtin_convertvector(m, M); }
    static MD wideMask(M m) { return __builtin_convertvector(m, MD); }

    // The first count lanes (all when count >= W).
    static void store(float* out, F x, int count) {
        if (count >= W) {
            std::memcpy(out, &x, sizeof x);
            return;
        }
        for (int k = 0; k < count; ++k) out[k] = x[k];
    }
};

}  // namespace kalviro
