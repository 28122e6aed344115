// Ziv's strategy: evaluate with an error bound, and take the result when the
// whole error interval rounds to one double; otherwise evaluate again, more
// precisely. exp tries doubles alone (about 60 bits), then the unevaluated
// sum of two doubles (about 100 bits, products made exact by Veltkamp's split
// and Dekker's product, no fused multiply-adds); powers start at the second.
// The last road computes in integers: powers exactly, exp in fixed point with
// 288 fraction bits; either is then rounded once, subnormals included.
#include "core/rounded_math.hpp"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "core/exp2_table.hpp"
#include "core/numeric.hpp"

namespace kalviro {
namespace {

using rounded::TwoDouble;

constexpr double kInf = std::numeric_limits<double>::infinity();

uint64_t bitsOf(double x) {
    uint64_t b;
    std::memcpy(&b, &x, sizeof b);
    return b;
}

double fromBits(uint64_t b) {
    double x;
    std::memcpy(&x, &b, sizeof x);
    return x;
}

// 2^k for a normal exponent, -1022 <= k <= 1023.
double twoTo(int k) { return fromBits(static_cast<uint64_t>(k + 1023) << 52); }

// ---- Sums and products of two doubles -------------------------------------

// a + b = s.hi + s.lo exactly, for any a, b.
TwoDouble twoSum(double a, double b) {
    const double s = a + b;
    const double bb = s - a;
    return {s, (a - (s - bb)) + (b - bb)};
}

// The same when |a| >= |b| (or a == 0).
TwoDouble fastTwoSum(double a, double b) {
    const double s = a + b;
    return {s, b - (s - a)};
}

// a = hi + lo with hi of 26 significant bits and lo of 27: their products
// with another split are exact. |a| must stay below 2^996.
void split(double a, double& hi, double& lo) {
    const double c = 134217729.0 * a;  // 2^27 + 1
    hi = c - (c - a);
    lo = a - hi;
}

// a * b = p.hi + p.lo exactly, unless the product nears underflow.
TwoDouble twoProduct(double a, double b) {
    double ah, al, bh, bl;
    split(a, ah, al);
    split(b, bh, bl);
    const double p = a * b;
    return {p, ((ah * bh - p) + ah * bl + al * bh) + al * bl};
}

// (a.hi + a.lo) * (b.hi + b.lo), relative error below 2^-100 when both are
// normalised (|lo| <= ulp(hi) / 2).
TwoDouble multiply(TwoDouble a, TwoDouble b) {
    const TwoDouble p = twoProduct(a.hi, b.hi);
    return fastTwoSum(p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi));
}

// The double nearest every value within err of hi + lo, if they share one.
// err must exceed the true error by a factor of two or more: lo - err and
// lo + err are themselves rounded. Rounding to nearest is monotonic, so the
// two ends agreeing settles every value between them.
bool roundsSurely(double hi, double lo, double err, double& out) {
    const double a = hi + (lo - err);
    const double b = hi + (lo + err);
    if (a != b) return false;
    out = a;
    return true;
}

// ---- Integers of 32-bit limbs, least significant first ---------------------

// The double nearest a * 2^e2, ties to even (a has n limbs, not all zero).
double nearestDouble(const uint32_t* a, int n, int64_t e2) {
    int top = n - 1;
    while (a[top] == 0) --top;
    int t = 31;
    while (!((a[top] >> t) & 1u)) --t;
    const int64_t topBit = int64_t{top} * 32 + t;  // a in [2^topBit, 2^(topBit+1))
    const int64_t e = topBit + e2;                 // the value in [2^e, 2^(e+1))
    if (e > 1023) return kInf;
    const int64_t p = e >= -1022 ? 53 : e + 1075;  // significant bits kept
    if (p < 0) return 0.0;
    const auto bit = [&](int64_t i) { return i >= 0 && ((a[i / 32] >> (i % 32)) & 1u) != 0; };
    uint64_t m = 0;
    for (int64_t i = topBit; i > topBit - p; --i) m = (m << 1) | (bit(i) ? 1u : 0u);
    const int64_t roundBit = topBit - p;
    bool sticky = false;
    for (int64_t i = roundBit - 1; i >= 0 && !sticky; --i) sticky = bit(i);
    if (bit(roundBit) && (sticky || (m & 1u))) ++m;
    if (e < -1022) return fromBits(m);  // m * 2^-1074; a carry to 2^52 is the smallest normal
    if (m == (uint64_t{1} << 53)) {
        m >>= 1;
        if (e + 1 > 1023) return kInf;
        return fromBits((static_cast<uint64_t>(e + 1 + 1023) << 52) | (m & ((uint64_t{1} << 52) - 1)));
    }
    return fromBits((static_cast<uint64_t>(e + 1023) << 52) | (m & ((uint64_t{1} << 52) - 1)));
}

// out = a * b, out holding na + nb limbs.
void multiplyLimbs(const uint32_t* a, int na, const uint32_t* b, int nb, uint32_t* out) {
    for (int i = 0; i < na + nb; ++i) out[i] = 0;
    for (int i = 0; i < na; ++i) {
        uint64_t carry = 0;
        for (int j = 0; j < nb; ++j) {
            const uint64_t t = uint64_t{a[i]} * b[j] + out[i + j] + carry;
            out[i + j] = static_cast<uint32_t>(t);
            carry = t >> 32;
        }
        out[i + nb] = static_cast<uint32_t>(carry);
    }
}

// |x| = m * 2^e with m an integer below 2^53 (x finite, not zero).
void decompose(double x, uint64_t& m, int& e) {
    const uint64_t b = bitsOf(x);
    const int field = static_cast<int>((b >> 52) & 0x7ff);
    m = b & ((uint64_t{1} << 52) - 1);
    if (field == 0) {
        e = -1074;
    } else {
        m |= uint64_t{1} << 52;
        e = field - 1075;
    }
}

// ---- Powers ----------------------------------------------------------------

// a * b = p.hi + p.lo exactly when b has at most 26 significant bits (a float
// widened, say): b needs no split.
TwoDouble shortProduct(double a, double b) {
    double ah, al;
    split(a, ah, al);
    const double p = a * b;
    return {p, (ah * b - p) + al * b};
}

// x^n for 2 <= n <= 7 and x of at most 24 significant bits with |x| in
// [2^-100, 2^100]: x^2 is exact, x^3 and x^4 are exact products rounded once,
// so they need no check; x^5 to x^7 come from x^3 = p3 + e3 and x^4 = p4 + e4,
// both exact, with errors below 2^-103 of the value (the products of the
// small parts rounded or dropped, their sums rounded), tested at 2^-100.
bool powShort(double x, int n, double& out) {
    const double d2 = x * x;
    if (n == 2) {
        out = d2;
        return true;
    }
    if (n == 3 || n == 4) {
        out = n == 3 ? d2 * x : d2 * d2;
        return true;
    }
    const TwoDouble x3 = shortProduct(d2, x);
    const TwoDouble x4 = twoProduct(d2, d2);
    TwoDouble y;
    if (n == 5) {
        const TwoDouble p = shortProduct(x4.hi, x);
        y = {p.hi, p.lo + x4.lo * x};
    } else if (n == 6) {
        const TwoDouble p = twoProduct(x3.hi, x3.hi);
        y = {p.hi, p.lo + 2.0 * (x3.hi * x3.lo)};
    } else {
        const TwoDouble p = twoProduct(x4.hi, x3.hi);
        y = {p.hi, p.lo + (x4.hi * x3.lo + x4.lo * x3.hi)};
    }
    return roundsSurely(y.hi, y.lo, (y.hi < 0 ? -y.hi : y.hi) * 0x1p-100, out);
}

// Exactly, in integers: x^n = m^n * 2^(n e), m^n of at most 53 n bits.
double powExact(double x, int n) {
    uint64_t m;
    int e;
    decompose(x, m, e);
    constexpr int kLimbs = (53 * kMaxRoundedPow + 31) / 32 + 2;
    uint32_t acc[kLimbs] = {1};
    uint32_t next[kLimbs + 2];
    const uint32_t base[2] = {static_cast<uint32_t>(m), static_cast<uint32_t>(m >> 32)};
    int used = 1;
    for (int i = 0; i < n; ++i) {
        multiplyLimbs(acc, used, base, 2, next);
        used += 2;
        while (used > 1 && next[used - 1] == 0) --used;
        for (int j = 0; j < used; ++j) acc[j] = next[j];
    }
    const double r = nearestDouble(acc, used, int64_t{n} * e);
    return x < 0 && (n & 1) ? -r : r;
}

// ---- exp, slow road: fixed point, 288 fraction bits ------------------------

constexpr int kFixLimbs = 10;  // 9 limbs of fraction, 1 of integer part
constexpr int kFixFraction = 288;
using Fixed = uint32_t[kFixLimbs];

// ln 2, truncated after its 288th fractional bit.
constexpr uint32_t kLn2Fixed[kFixLimbs] = {0xe7b87620u, 0x8baafa2bu, 0x8a0d175bu, 0x7298b62du, 0x40f34326u,
                                           0x03f2f6afu, 0xc9e3b398u, 0xd1cf79abu, 0xb17217f7u, 0x00000000u};

bool fixedLess(const uint32_t* a, const uint32_t* b) {
    for (int i = kFixLimbs - 1; i >= 0; --i) {
        if (a[i] != b[i]) return a[i] < b[i];
    }
    return false;
}

void fixedAdd(uint32_t* a, const uint32_t* b) {
    uint64_t carry = 0;
    for (int i = 0; i < kFixLimbs; ++i) {
        const uint64_t t = uint64_t{a[i]} + b[i] + carry;
        a[i] = static_cast<uint32_t>(t);
        carry = t >> 32;
    }
}

// a -= b, a >= b.
void fixedSub(uint32_t* a, const uint32_t* b) {
    uint64_t borrow = 0;
    for (int i = 0; i < kFixLimbs; ++i) {
        const uint64_t t = uint64_t{a[i]} - b[i] - borrow;
        a[i] = static_cast<uint32_t>(t);
        borrow = (t >> 32) & 1u;
    }
}

void fixedMulSmall(uint32_t* a, uint32_t k) {
    uint64_t carry = 0;
    for (int i = 0; i < kFixLimbs; ++i) {
        const uint64_t t = uint64_t{a[i]} * k + carry;
        a[i] = static_cast<uint32_t>(t);
        carry = t >> 32;
    }
}

// a /= k, truncated.
void fixedDivSmall(uint32_t* a, uint32_t k) {
    uint64_t rest = 0;
    for (int i = kFixLimbs - 1; i >= 0; --i) {
        const uint64_t t = (rest << 32) | a[i];
        a[i] = static_cast<uint32_t>(t / k);
        rest = t % k;
    }
}

// a *= b, truncated to the fixed point.
void fixedMul(uint32_t* a, const uint32_t* b) {
    uint32_t wide[2 * kFixLimbs];
    multiplyLimbs(a, kFixLimbs, b, kFixLimbs, wide);
    for (int i = 0; i < kFixLimbs; ++i) a[i] = wide[i + kFixFraction / 32];
}

bool fixedZero(const uint32_t* a) {
    for (int i = 0; i < kFixLimbs; ++i) {
        if (a[i] != 0) return false;
    }
    return true;
}

// e^x for 2^-54 <= |x| < 746: x = k ln2 + r with 0 <= r < ln2 (exactly, but
// for ln 2's truncation, below 2^-277), e^r by its Taylor series, each of
// its ~60 terms truncated once or twice at 2^-288. The error, below 2^-279,
// is far under the closest approach of e^x to a rounding boundary; the
// exhaustive comparison with MPFR confirms it for every float argument.
double expSlow(double x) {
    uint64_t m;
    int e;
    decompose(x, m, e);  // e >= -106: x is exact at 288 fraction bits
    Fixed ax = {};
    ax[0] = static_cast<uint32_t>(m);
    ax[1] = static_cast<uint32_t>(m >> 32);
    const int shift = e + kFixFraction;  // ax = m * 2^shift
    for (int s = 0; s < shift; s += 16) fixedMulSmall(ax, 1u << (shift - s < 16 ? shift - s : 16));

    // k = floor(x / ln2), corrected below where the double estimate misses.
    int32_t k = toInt(std::floor(x * 1.4426950408889634));
    Fixed kl;
    const auto setKLn2 = [&] {
        std::memcpy(kl, kLn2Fixed, sizeof kl);
        fixedMulSmall(kl, static_cast<uint32_t>(k < 0 ? -k : k));
    };
    Fixed r;
    for (;;) {
        setKLn2();
        // r = x - k ln2 from |x| and |k| ln2, whose signs agree (or k is 0).
        if (x >= 0) {
            if (fixedLess(ax, kl)) {
                --k;
                continue;
            }
            std::memcpy(r, ax, sizeof r);
            fixedSub(r, kl);
        } else {
            if (k == 0 || fixedLess(kl, ax)) {  // r would be negative
                --k;
                continue;
            }
            std::memcpy(r, kl, sizeof r);
            fixedSub(r, ax);
        }
        if (fixedLess(r, kLn2Fixed)) break;
        ++k;
    }

    Fixed sum = {};
    sum[kFixLimbs - 1] = 1;
    Fixed term = {};
    term[kFixLimbs - 1] = 1;
    for (uint32_t n = 1; n < 200; ++n) {
        fixedMul(term, r);
        fixedDivSmall(term, n);
        if (fixedZero(term)) break;
        fixedAdd(sum, term);
    }
    return nearestDouble(sum, kFixLimbs, int64_t{k} - kFixFraction);
}

// ---- exp, quick and careful roads ------------------------------------------

// ln2 / 256 as hi + mid + lo, hi and mid of 34 significant bits so that their
// products with |k| < 2^19 are exact; midLo is mid + lo rounded, for the
// quick road.
constexpr double kLn2By256Hi = 0x1.62e42fef8p-9;
constexpr double kLn2By256Mid = 0x1.1cf79abc8p-44;
constexpr double kLn2By256Lo = 0x1.e3b39803f2f6bp-80;
constexpr double kLn2By256MidLo = 0x1.1cf79abc9e3b4p-44;
constexpr double k256ByLn2 = 0x1.71547652b82fep+8;
constexpr double kRoundShift = 0x1.8p52;  // adding it rounds |t| < 2^51 to an integer

// x = (256 k + j) ln2/256 + r, |r| <= ln2/512 and a hair.
struct Reduced {
    double kd;  // 256 k + j
    double r1;  // x - kd hi, exact (Sterbenz)
    int32_t j;
    int32_t k;
};

Reduced reduce(double x) {
    Reduced a;
    a.kd = (x * k256ByLn2 + kRoundShift) - kRoundShift;
    const int32_t ki = toInt(a.kd);
    a.j = static_cast<int32_t>(static_cast<uint32_t>(ki) & 255u);
    a.k = (ki - a.j) / 256;
    a.r1 = x - a.kd * kLn2By256Hi;
    return a;
}

// Doubles only, for |x| in [2^-54, 746): |r| <= 2^-9.5. Error bounds, in
// units of the result (at least 1 before scaling): r rounded once, 2^-62.4
// with mid + lo rounded and kd lo's rounding; e^r - 1 = r + r^2 (1/2 + ...)
// to r^5 (the rest below 2^-66), the sum rounded once: 2^-62.5; Th (e^r - 1)
// and its sum with Tl rounded: 2^-61.5 each. In all below 2^-59.5, doubled
// by Th < 2 where it multiplies: the test allows 2^-58.
bool expQuick(const Reduced& a, double& out) {
    const double r = a.r1 - a.kd * kLn2By256MidLo;
    const double q = (r * r) * (0.5 + r * (1.0 / 6 + r * (1.0 / 24 + r * (1.0 / 120))));
    const double p = r + q;
    const TwoDouble& t = rounded::kExp2Table[a.j];
    const double lo = t.lo + t.hi * p;
    return roundsSurely(t.hi, lo, t.hi * 0x1p-58, out);
}

// About 100 bits, as sums of two doubles: r = rh + rl within 2^-108, e^r as
// 1 + rh + rh^2/2 exactly split, the rest of the series (to r^8, remainder
// below 2^-86) in doubles with errors below 2^-80, times the table's entry
// within 2^-100. Error below 2^-78; the test allows 2^-72.
bool expCareful(const Reduced& a, double& out) {
    const TwoDouble s = twoSum(a.r1, -(a.kd * kLn2By256Mid));
    const TwoDouble r = fastTwoSum(s.hi, s.lo - a.kd * kLn2By256Lo);
    const double rh = r.hi;
    double q = 1.0 / 40320;
    q = q * rh + 1.0 / 5040;
    q = q * rh + 1.0 / 720;
    q = q * rh + 1.0 / 120;
    q = q * rh + 1.0 / 24;
    q = q * rh + 1.0 / 6;
    q = q * (rh * rh * rh);
    const TwoDouble sq = twoProduct(rh, rh);
    const TwoDouble b1 = fastTwoSum(1.0, rh);
    const TwoDouble b2 = twoSum(b1.hi, 0.5 * sq.hi);
    const double small = b1.lo + b2.lo + r.lo + (0.5 * sq.lo + rh * r.lo) + q;
    const TwoDouble er = fastTwoSum(b2.hi, small);
    const TwoDouble y = multiply(rounded::kExp2Table[a.j], er);
    return roundsSurely(y.hi, y.lo, y.hi * 0x1p-72, out);
}

}  // namespace

double roundedExp(double x) {
    if (x != x) return x + x;
    if (x > 709.79) return kInf;  // e^709.79 > the largest double; +inf too
    if (x < -745.14) return 0.0;  // below half the smallest subnormal; -inf too
    if (x > -0x1p-54 && x < 0x1p-54) return 1.0;

    // Both roads round in [0.99, 2]; scaling by 2^k is then exact, or
    // overflows exactly when the rounded value reaches 2^1024. Results that
    // would be subnormal take the exact road, which rounds once.
    const Reduced a = reduce(x);
    double out;
    if (a.k >= -1021 && a.k <= 1023 && (expQuick(a, out) || expCareful(a, out))) return out * twoTo(a.k);
    return expSlow(x);
}

double roundedPow(double x, int n) {
    if (n < 0 || n > kMaxRoundedPow) return std::numeric_limits<double>::quiet_NaN();
    if (n == 0) return 1.0;
    if (x != x) return x + x;
    if (n == 1) return x;
    const bool odd = (n & 1) != 0;
    if (x == 0.0) return odd ? x : 0.0;
    if (x == kInf || x == -kInf) return odd ? x : kInf;

    const int ex = static_cast<int>((bitsOf(x) >> 52) & 0x7ff) - 1023;
    double out;
    if (n <= 7 && ex >= -100 && ex < 100 && (bitsOf(x) & ((uint64_t{1} << 29) - 1)) == 0 &&
        powShort(x, n, out)) {
        return out;
    }

    // Square and multiply: |x| in [2^ex, 2^(ex+1)) with n |ex| and n (ex + 1) at most
    // 960 keeps every product of the square-and-multiply chain within
    // [2^-960, 2^960], clear of underflow and of the split's limit.
    if (n * (ex < 0 ? -ex : ex + 1) <= 960) {
        const TwoDouble base{x, 0.0};
        TwoDouble y = base;
        int bit = 4;
        while (!((n >> bit) & 1)) --bit;
        for (--bit; bit >= 0; --bit) {
            y = multiply(y, y);
            if ((n >> bit) & 1) y = multiply(y, base);
        }
        // At most 8 products, each within 2^-100, doubled by each squaring
        // after it: below 2^-94.
        const double mag = y.hi < 0 ? -y.hi : y.hi;
        if (roundsSurely(y.hi, y.lo, mag * 0x1p-90, out)) return out;
    }
    return powExact(x, n);
}

}  // namespace kalviro
