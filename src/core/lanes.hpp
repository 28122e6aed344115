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
//
// Which of two NaN operands an operation returns depends on their order,
// which the compiler picks freely for each kernel it builds: a result that
// can be NaN goes through oneNaN, the one quiet NaN (positive, no payload),
// so every width and the per-pixel call give the same bits.
#pragma once

#include <cstdint>
#include <cstring>
#include <utility>

#include "core/numeric.hpp"

// Vectors are passed between the kernel's inline functions only, never
// across the library's interface: their calling convention does not matter.
// The warning is off for this header's definitions alone.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wpsabi"
#elif defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpsabi"
#endif

namespace kalviro {

// One lane: the plain types, a branch for a select.
struct Scalar {
    static constexpr int N = 1;
    using F = float;
    using D = double;
    using I = int32_t;
    using M = bool;  // mask of a comparison

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
    static M both(M a, M b) { return a && b; }
    static M either(M a, M b) { return a || b; }
    static M no(M a) { return !a; }

    static void store(float* out, F x, int count) {
        if (count > 0) *out = x;
    }

    // The smallest and largest lane that is no NaN (+inf, -inf if none).
    static void extent(F x, float& lo, float& hi) {
        lo = x == x ? x : __builtin_inff();
        hi = x == x ? x : -__builtin_inff();
    }
    static bool anyNaN(F x) { return x != x; }
    static F oneNaN(F x) { return x != x ? __builtin_nanf("") : x; }

    // One lane reads a table by index at no cost.
    static constexpr bool kLookup = true;
    static F lookup(const float* table, I idx) { return table[idx]; }
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
KALVIRO_VECTOR_TYPES(2)
KALVIRO_VECTOR_TYPES(4)
KALVIRO_VECTOR_TYPES(8)
KALVIRO_VECTOR_TYPES(16)
#undef KALVIRO_VECTOR_TYPES

// W floats fill one of the processor's registers; their doubles fill two,
// and GCC takes a vector wider than a register apart lane by lane in
// comparisons and broadcasts. So doubles are a pair of halves, each an
// ordinary vector of W / 2. Tag as in Vector.
template <int W, typename Tag>
struct DoublePair {
    using H = typename VectorTypes<W / 2>::D;
    H lo, hi;

#define KALVIRO_PAIR_OPERATOR(op)                                                                      \
    friend DoublePair operator op(DoublePair a, DoublePair b) { return {a.lo op b.lo, a.hi op b.hi}; } \
    friend DoublePair operator op(DoublePair a, double b) { return {a.lo op b, a.hi op b}; }           \
    friend DoublePair operator op(double a, DoublePair b) { return {a op b.lo, a op b.hi}; }
    KALVIRO_PAIR_OPERATOR(+)
    KALVIRO_PAIR_OPERATOR(-)
    KALVIRO_PAIR_OPERATOR(*)
    KALVIRO_PAIR_OPERATOR(/)
#undef KALVIRO_PAIR_OPERATOR
};

// W lanes. Tag keeps the instantiations of each instruction set apart, so
// that none compiled for a wider set stands in for another at link time.
template <int W, typename Tag>
struct Vector {
    static constexpr int N = W;
    using Lanes = std::make_index_sequence<W>;
    using Halves = std::make_index_sequence<W / 2>;
    using F = typename VectorTypes<W>::F;
    using I = typename VectorTypes<W>::I;
    using U = typename VectorTypes<W>::U;
    using M = decltype(F{} < F{});
    using D = DoublePair<W, Tag>;
    using H = typename D::H;
    using HM = decltype(H{} < H{});
    struct MD {
        HM lo, hi;
    };

    template <typename V, typename T, size_t... K>
    static V spread(T x, std::index_sequence<K...>) {
        return V{((void)K, x)...};
    }
    template <size_t... K>
    static I counting(std::index_sequence<K...>) {
        return I{static_cast<int32_t>(K)...};
    }
    // The low and high half of a vector of W lanes, and two halves joined.
    template <typename V, size_t... K>
    static auto low(V x, std::index_sequence<K...>) {
        return __builtin_shufflevector(x, x, K...);
    }
    template <typename V, size_t... K>
    static auto high(V x, std::index_sequence<K...>) {
        return __builtin_shufflevector(x, x, (K + W / 2)...);
    }
    template <typename V, size_t... K>
    static auto join(V lo, V hi, std::index_sequence<K...>) {
        return __builtin_shufflevector(lo, hi, K...);
    }

    static F splat(float x) { return spread<F>(x, Lanes{}); }
    static D splat(double x) { return {spread<H>(x, Halves{}), spread<H>(x, Halves{})}; }
    static I splat(int32_t x) { return spread<I>(x, Lanes{}); }
    static M none() { return M{}; }
    static I iota(int32_t first) { return add(splat(first), counting(Lanes{})); }

    static D widen(F x) {
        return {__builtin_convertvector(low(x, Halves{}), H), __builtin_convertvector(high(x, Halves{}), H)};
    }
    static F narrow(D x) {
        using HF = typename VectorTypes<W / 2>::F;
        return join(__builtin_convertvector(x.lo, HF), __builtin_convertvector(x.hi, HF), Lanes{});
    }
    static F toFloat(I x) { return __builtin_convertvector(x, F); }
    // toInt of every lane: out of range and NaN give INT32_MIN.
    static I toInt(F x) {
        const M ok = (x >= -2147483648.0f) & (x < 2147483648.0f);
        const I t = __builtin_convertvector(select(ok, x, F{}), I);
        return select(ok, t, splat(INT32_MIN));
    }
    static I toInt(D x) {
        using HI = typename VectorTypes<W / 2>::I;
        const MD ok{(x.lo > -2147483649.0) & (x.lo < 2147483648.0),
                    (x.hi > -2147483649.0) & (x.hi < 2147483648.0)};
        const D safe = selectWide(ok, x, splat(0.0));
        const I t = join(__builtin_convertvector(safe.lo, HI), __builtin_convertvector(safe.hi, HI), Lanes{});
        return select(narrowMask(ok), t, splat(INT32_MIN));
    }
    static I add(I a, I b) { return reinterpret_cast<I>(reinterpret_cast<U>(a) + reinterpret_cast<U>(b)); }
    static I sub(I a, I b) { return reinterpret_cast<I>(reinterpret_cast<U>(a) - reinterpret_cast<U>(b)); }

    // Selects are bitwise, on masks of all ones or all zeros per lane.
    static I select(M m, I a, I b) { return (a & m) | (b & ~m); }
    static F select(M m, F a, F b) {
        return reinterpret_cast<F>(select(m, reinterpret_cast<I>(a), reinterpret_cast<I>(b)));
    }
    static D select(M m, D a, D b) { return selectWide(wideMask(m), a, b); }
    static H selectHalf(HM m, H a, H b) {
        return reinterpret_cast<H>((reinterpret_cast<HM>(a) & m) | (reinterpret_cast<HM>(b) & ~m));
    }
    static D selectWide(MD m, D a, D b) {
        return {selectHalf(m.lo, a.lo, b.lo), selectHalf(m.hi, a.hi, b.hi)};
    }
    static M both(M a, M b) { return a & b; }
    static M either(M a, M b) { return a | b; }
    static M no(M a) { return ~a; }
    static M narrowMask(MD m) {
        using HI = typename VectorTypes<W / 2>::I;
        return join(__builtin_convertvector(m.lo, HI), __builtin_convertvector(m.hi, HI), Lanes{});
    }
    static MD wideMask(M m) {
        return {__builtin_convertvector(low(m, Halves{}), HM),
                __builtin_convertvector(high(m, Halves{}), HM)};
    }

    // The smallest and largest lane that is no NaN (+inf, -inf if none),
    // halving the vector: log2(W) steps, not W extractions.
    static void extent(F x, float& lo, float& hi) {
        const M bad = x != x;
        lo = fold<W, false>(select(bad, splat(__builtin_inff()), x), std::make_index_sequence<W / 2>{});
        hi = fold<W, true>(select(bad, splat(-__builtin_inff()), x), std::make_index_sequence<W / 2>{});
    }
    static F oneNaN(F x) { return select(x != x, splat(__builtin_nanf("")), x); }
    static bool anyNaN(F x) {
        return fold<W, true>(select(x != x, splat(1.0f), splat(0.0f)), std::make_index_sequence<W / 2>{}) >
               0.0f;
    }
    template <int K, bool Most, typename V, size_t... J>
    static float fold(V x, std::index_sequence<J...>) {
        if constexpr (K == 2) {
            return Most ? (x[1] > x[0] ? x[1] : x[0]) : (x[1] < x[0] ? x[1] : x[0]);
        } else {
            const auto a = __builtin_shufflevector(x, x, J...);
            const auto b = __builtin_shufflevector(x, x, (J + K / 2)...);
            return fold<K / 2, Most>(Most ? (b > a ? b : a) : (b < a ? b : a),
                                     std::make_index_sequence<K / 4>{});
        }
    }

    // The first count lanes (all when count >= W).
    static void store(float* out, F x, int count) {
        if (count >= W) {
            std::memcpy(out, &x, sizeof x);
            return;
        }
        for (int k = 0; k < count; ++k) out[k] = x[k];
    }

    // table[idx] in every lane, from a table of 2W entries: GCC turns a
    // shuffle by a mask of variables into the processor's permute (vpermps
    // and a blend on AVX2, one vpermt2ps on AVX-512). clang has no such
    // shuffle, and the base sets no such permute: there kernels select.
#if defined(__GNUC__) && !defined(__clang__)
    static constexpr bool kLookup = W >= 8;
    static F lookup(const float* table, I idx) {
        F a, b;
        std::memcpy(&a, table, sizeof a);
        std::memcpy(&b, table + W, sizeof b);
        return __builtin_shuffle(a, b, idx);
    }
#else
    static constexpr bool kLookup = false;
    static F lookup(const float* table, I idx) {
        F r = splat(table[2 * W - 1]);
        for (int k = 2 * W - 2; k >= 0; --k) r = select(idx == k, splat(table[k]), r);
        return r;
    }
#endif
};

// Where the lanes of x stop in `count` bounds that do not fall (bound(i)):
// for each lane the first bound x does not exceed lies between `first` and
// `last` (count where there is none). Lanes of neighbouring gray values
// nearly always share one; NaN lanes are left out.
template <class L, class Bound>
void laneBounds(int count, Bound bound, typename L::F x, int& first, int& last) {
    float lo, hi;
    L::extent(x, lo, hi);
    first = 0;
    while (first < count && !(lo <= bound(first))) ++first;
    last = first;
    while (last < count && !(hi <= bound(last))) ++last;
}

// How many entries of a table that does not fall, padded at the top with
// +inf to 2^levels entries, are not at least x: the index of the first entry
// x does not exceed, found by halving. A NaN x passes them all. Lanes that
// look entries up by index need levels lookups, not 2^levels selects.
template <class L>
typename L::I rank(const float* table, int levels, typename L::F x) {
    auto idx = L::splat(int32_t{0});
    for (int step = 1 << (levels - 1); step >= 1; step >>= 1) {
        const auto probe = L::add(idx, L::splat(step - 1));
        idx = L::select(L::no(x <= L::lookup(table, probe)), L::add(idx, L::splat(step)), idx);
    }
    return idx;
}

}  // namespace kalviro

#if defined(__clang__)
#pragma clang diagnostic pop
#elif defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
