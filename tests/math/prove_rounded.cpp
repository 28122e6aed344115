// Compares roundedExp and roundedPow with MPFR over float arguments widened
// to double, the only arguments the library passes them.
//
//   prove_rounded constants            prints roundedExp's constants from MPFR
//   prove_rounded exp                  every one of the 2^32 float bit patterns
//   prove_rounded pow                  every finite float, exponents 3 to 7
//   prove_rounded exp|pow --from A --to B   bit patterns A to B only (both
//                                      included, decimal or 0x hex), so a
//                                      run can be split and resumed
//   prove_rounded exp|pow --sample N [--seed S]   N random floats instead
//   prove_rounded ... --mpfr-all       MPFR for every argument
//
// An argument is settled without MPFR when an evaluation in x87 extended
// precision (64 bits), with a margin far above its error, lies strictly
// between the two midpoints around the library's result, or, for exp of
// an argument above 710, when the library gives +inf (below -746, +0).
// Only the rest go to MPFR (53 bits, the double's exponent range,
// subnormals rounded once), which is also the sample's sole judge with
// --mpfr-all. Exits 1 on any
// difference, printing the first few. Every run first checks roundedExp's
// constants against MPFR.
#include <mpfr.h>

#include <cerrno>
#include <cfloat>
#include <chrono>
#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "core/exp_constants.hpp"
#include "core/rounded_math.hpp"

namespace {

using Quad = long double;
static_assert(LDBL_MANT_DIG == 64, "the quick check needs x87 extended precision");

struct Counts {
    uint64_t checked = 0;
    uint64_t quick = 0;  // settled by the extended-precision check
    uint64_t mpfr = 0;   // sent to MPFR
    uint64_t wrong = 0;
};

float floatOf(uint32_t bits) {
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

bool sameDouble(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Whether r is the double nearest the exact value, known to lie within
// margin of q: q with its margin must sit strictly between the midpoints to
// r's neighbours. false means undecided, not wrong.
bool nearestSurely(double r, Quad q, Quad margin) {
    constexpr double kMax = std::numeric_limits<double>::max();
    const Quad lo = q - margin;
    const Quad hi = q + margin;
    if (std::isinf(r)) {
        // Overflow: the exact value at or beyond 2^1024 - 2^970 (or its negative).
        const Quad edge = static_cast<Quad>(kMax) + static_cast<Quad>(std::ldexp(1.0, 970));
        return r > 0 ? lo > edge : hi < -edge;
    }
    const double below = std::nextafter(r, -std::numeric_limits<double>::infinity());
    const double above = std::nextafter(r, std::numeric_limits<double>::infinity());
    // Beside the largest double the missing neighbour is 2^1024.
    const Quad qb = std::isinf(below) ? -static_cast<Quad>(kMax) - static_cast<Quad>(std::ldexp(1.0, 971))
                                      : static_cast<Quad>(below);
    const Quad qa = std::isinf(above) ? static_cast<Quad>(kMax) + static_cast<Quad>(std::ldexp(1.0, 971))
                                      : static_cast<Quad>(above);
    const Quad rq = r;
    return lo > (rq + qb) / 2 && hi < (rq + qa) / 2;
}

// MPFR's value rounded as a double would be: 53 bits, the double's exponents.
struct Mpfr {
    mpfr_t x, y;
    Mpfr() {
        mpfr_init2(x, 53);
        mpfr_init2(y, 53);
    }
    ~Mpfr() {
        mpfr_clear(x);
        mpfr_clear(y);
    }
    template <class F>
    double eval(double arg, F f) {
        mpfr_set_emin(mpfr_get_emin_min());
        mpfr_set_emax(mpfr_get_emax_max());
        mpfr_set_d(x, arg, MPFR_RNDN);
        mpfr_set_emin(-1073);
        mpfr_set_emax(1024);
        int t = f(y, x);
        t = mpfr_check_range(y, t, MPFR_RNDN);
        mpfr_subnormalize(y, t, MPFR_RNDN);
        const double d = mpfr_get_d(y, MPFR_RNDN);
        mpfr_set_emin(mpfr_get_emin_min());
        mpfr_set_emax(mpfr_get_emax_max());
        return d;
    }
};

struct Prover {
    bool mpfrAll = false;
    Mpfr mp;
    Counts counts;

    void report(const char* what, double arg, int n, double ours, double ref) {
        ++counts.wrong;
        if (counts.wrong <= 20) {
            std::printf("DIFFERS %s x=%a n=%d ours=%a mpfr=%a\n", what, arg, n, ours, ref);
        }
    }

    void exp(float f) {
        const double x = f;
        const double ours = kalviro::roundedExp(x);
        ++counts.checked;
        if (!mpfrAll && x > 710.0 && std::isinf(ours) && ours > 0) {
            // 710 lies above 1024 ln 2 = 709.78..., so the exact value lies
            // above 2^1024 and rounds to +inf; extended precision itself
            // overflows from about 11357 on, which would send every larger
            // float to MPFR.
            ++counts.quick;
            return;
        }
        if (!mpfrAll && x < -746.0 && ours == 0.0 && !std::signbit(ours)) {
            // -746 lies below -1075 ln 2 = -745.13..., so the exact value lies
            // below half the smallest subnormal and rounds to +0; extended
            // precision would lose its own precision there (its subnormals)
            // and reach 0 from about -11400 on.
            ++counts.quick;
            return;
        }
        if (!mpfrAll && !std::isnan(x)) {
            const Quad q = std::exp(static_cast<Quad>(x));
            // glibc's expl is within a unit or two of the 64-bit last place;
            // the margin allows 2^-58 of the value, 32 such units.
            if (!std::isinf(x) && nearestSurely(ours, q, (q < 0 ? -q : q) * static_cast<Quad>(0x1p-58))) {
                ++counts.quick;
                return;
            }
        }
        ++counts.mpfr;
        const double ref = mp.eval(x, [](mpfr_t y, mpfr_t a) { return mpfr_exp(y, a, MPFR_RNDN); });
        if (!sameDouble(ours, ref)) report("exp", x, 0, ours, ref);
    }

    void pow(float f, int n) {
        const double x = f;
        const double ours = kalviro::roundedPow(x, n);
        ++counts.checked;
        if (!mpfrAll && std::isfinite(x) && x != 0.0) {
            // d^2 is exact in 64 bits; d^3, d^4 round once, d^5 twice, d^6
            // three times, d^7 four times: within 2^-62 of the value. The
            // margin allows 2^-60.
            const Quad d = x;
            const Quad d2 = d * d, d3 = d2 * d, d4 = d2 * d2;
            const Quad q = n == 3 ? d3 : n == 4 ? d4 : n == 5 ? d4 * d : n == 6 ? d3 * d3 : d3 * d3 * d;
            if (nearestSurely(ours, q, (q < 0 ? -q : q) * static_cast<Quad>(0x1p-60))) {
                ++counts.quick;
                return;
            }
        }
        ++counts.mpfr;
        const double ref = mp.eval(x, [n](mpfr_t y, mpfr_t a) {
            return mpfr_pow_ui(y, a, static_cast<unsigned long>(n), MPFR_RNDN);
        });
        if (!sameDouble(ours, ref)) report("pow", x, n, ours, ref);
    }

    void check(bool isExp, float f) {
        if (isExp) {
            exp(f);
        } else {
            for (int n = 3; n <= 7; ++n) pow(f, n);
        }
    }
};

// ---- roundedExp's constants ---------------------------------------------------

// v rounded to the given number of significant bits, as a double.
double roundedTo(mpfr_srcptr v, int bits) {
    mpfr_t t;
    mpfr_init2(t, bits);
    mpfr_set(t, v, MPFR_RNDN);
    const double d = mpfr_get_d(t, MPFR_RNDN);
    mpfr_clear(t);
    return d;
}

struct Constants {
    double hi, mid, lo, midLo, inverse;
    uint32_t ln2Fixed[kalviro::rounded::kLn2FixedLimbs];
    kalviro::rounded::TwoDouble table[1 << kalviro::rounded::kExp2TableBits];
};

Constants constantsFromMpfr() {
    Constants c{};
    mpfr_t ln2, v, rest;
    mpfr_inits2(600, ln2, v, rest, static_cast<mpfr_ptr>(nullptr));
    mpfr_const_log2(ln2, MPFR_RNDN);
    mpfr_div_ui(v, ln2, 256, MPFR_RNDN);
    c.hi = roundedTo(v, 34);
    mpfr_sub_d(rest, v, c.hi, MPFR_RNDN);
    c.midLo = roundedTo(rest, 53);
    c.mid = roundedTo(rest, 34);
    mpfr_sub_d(rest, rest, c.mid, MPFR_RNDN);
    c.lo = roundedTo(rest, 53);
    mpfr_ui_div(v, 256, ln2, MPFR_RNDN);
    c.inverse = roundedTo(v, 53);
    // ln 2 * 2^288, truncated, in 32-bit limbs.
    mpfr_mul_2ui(v, ln2, 288, MPFR_RNDN);
    mpfr_rint_trunc(v, v, MPFR_RNDZ);
    for (int i = 0; i < kalviro::rounded::kLn2FixedLimbs; ++i) {
        mpfr_set(rest, v, MPFR_RNDN);
        mpfr_fmod_ui(rest, rest, 1ul << 16, MPFR_RNDN);
        uint32_t low = static_cast<uint32_t>(mpfr_get_ui(rest, MPFR_RNDN));
        mpfr_div_2ui(v, v, 16, MPFR_RNDN);
        mpfr_rint_trunc(v, v, MPFR_RNDZ);
        mpfr_set(rest, v, MPFR_RNDN);
        mpfr_fmod_ui(rest, rest, 1ul << 16, MPFR_RNDN);
        low |= static_cast<uint32_t>(mpfr_get_ui(rest, MPFR_RNDN)) << 16;
        mpfr_div_2ui(v, v, 16, MPFR_RNDN);
        mpfr_rint_trunc(v, v, MPFR_RNDZ);
        c.ln2Fixed[i] = low;
    }
    for (int j = 0; j < (1 << kalviro::rounded::kExp2TableBits); ++j) {
        mpfr_set_si(rest, j, MPFR_RNDN);
        mpfr_div_2ui(rest, rest, kalviro::rounded::kExp2TableBits, MPFR_RNDN);
        mpfr_exp2(v, rest, MPFR_RNDN);
        c.table[j].hi = roundedTo(v, 53);
        mpfr_sub_d(v, v, c.table[j].hi, MPFR_RNDN);
        c.table[j].lo = roundedTo(v, 53);
    }
    mpfr_clears(ln2, v, rest, static_cast<mpfr_ptr>(nullptr));
    return c;
}

void printConstants(const Constants& c) {
    std::printf(
        "kLn2By256Hi = %a\nkLn2By256Mid = %a\nkLn2By256Lo = %a\nkLn2By256MidLo = %a\nk256ByLn2 = %a\n", c.hi,
        c.mid, c.lo, c.midLo, c.inverse);
    std::printf("kLn2Fixed =");
    for (uint32_t limb : c.ln2Fixed) std::printf(" 0x%08" PRIx32 "u,", limb);
    std::printf("\nkExp2Table =\n");
    for (const auto& t : c.table) std::printf("    {%a, %a},\n", t.hi, t.lo);
}

// The number of constants in the header that differ from MPFR's, each named.
int constantsDiffer(const Constants& c) {
    namespace r = kalviro::rounded;
    int bad = 0;
    const auto check = [&bad](const char* name, int index, double have, double want) {
        if (std::memcmp(&have, &want, sizeof have) != 0) {
            std::printf("CONSTANT %s[%d] is %a, MPFR gives %a\n", name, index, have, want);
            ++bad;
        }
    };
    check("kLn2By256Hi", 0, r::kLn2By256Hi, c.hi);
    check("kLn2By256Mid", 0, r::kLn2By256Mid, c.mid);
    check("kLn2By256Lo", 0, r::kLn2By256Lo, c.lo);
    check("kLn2By256MidLo", 0, r::kLn2By256MidLo, c.midLo);
    check("k256ByLn2", 0, r::k256ByLn2, c.inverse);
    for (int i = 0; i < r::kLn2FixedLimbs; ++i) {
        check("kLn2Fixed", i, static_cast<double>(r::kLn2Fixed[i]), static_cast<double>(c.ln2Fixed[i]));
    }
    for (int j = 0; j < (1 << r::kExp2TableBits); ++j) {
        check("kExp2Table.hi", j, r::kExp2Table[j].hi, c.table[j].hi);
        check("kExp2Table.lo", j, r::kExp2Table[j].lo, c.table[j].lo);
    }
    return bad;
}

}  // namespace

int main(int argc, char** argv) {
    const Constants constants = constantsFromMpfr();
    if (argc == 2 && std::strcmp(argv[1], "constants") == 0) {
        printConstants(constants);
        return 0;
    }
    if (argc < 2 || (std::strcmp(argv[1], "exp") != 0 && std::strcmp(argv[1], "pow") != 0)) {
        std::fprintf(stderr,
                     "usage: prove_rounded constants | exp|pow [--from A] [--to B] [--sample N] [--seed S] "
                     "[--mpfr-all]\n");
        return 2;
    }
    if (constantsDiffer(constants) != 0) return 1;
    const bool isExp = std::strcmp(argv[1], "exp") == 0;
    uint64_t sample = 0;
    uint64_t seed = 19;
    uint64_t first = 0;
    uint64_t last = 0xffffffffu;
    // A bit pattern: the whole argument a number of 32 bits, or nothing.
    const auto pattern = [](const char* text, uint64_t& out) {
        char* end = nullptr;
        errno = 0;
        const unsigned long long v = std::strtoull(text, &end, 0);
        if (errno != 0 || end == text || *end != '\0' || text[0] == '-' || v > 0xffffffffu) return false;
        out = v;
        return true;
    };
    Prover p;
    for (int i = 2; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--sample" && i + 1 < argc) {
            sample = std::strtoull(argv[++i], nullptr, 10);
        } else if (a == "--seed" && i + 1 < argc) {
            seed = std::strtoull(argv[++i], nullptr, 10);
        } else if ((a == "--from" || a == "--to") && i + 1 < argc) {
            if (!pattern(argv[++i], a == "--from" ? first : last)) {
                std::fprintf(stderr, "prove_rounded: %s needs a bit pattern from 0 to 0xffffffff, not %s\n",
                             a.c_str(), argv[i]);
                return 2;
            }
        } else if (a == "--mpfr-all") {
            p.mpfrAll = true;
        } else {
            std::fprintf(stderr, "prove_rounded: unknown argument %s\n", a.c_str());
            return 2;
        }
    }

    if (first > last) {
        std::fprintf(stderr, "prove_rounded: --from 0x%08" PRIx64 " lies beyond --to 0x%08" PRIx64 "\n",
                     first, last);
        return 2;
    }

    const auto start = std::chrono::steady_clock::now();
    char set[96];
    if (sample > 0) {
        // Half the draws uniform over bit patterns, half over the arguments
        // that matter most: emissivities in [0, 1.5], exponents in [-40, 10].
        std::mt19937_64 rng(seed);
        for (uint64_t i = 0; i < sample; ++i) {
            const uint32_t bits = static_cast<uint32_t>(rng());
            float f = floatOf(bits);
            if (i & 1) {
                const double u = static_cast<double>(rng() >> 11) * 0x1p-53;
                f = isExp ? static_cast<float>(-40.0 + 50.0 * u) : static_cast<float>(1.5 * u);
            }
            if (!isExp && !std::isfinite(f)) continue;
            p.check(isExp, f);
        }
        std::snprintf(set, sizeof set, "random floats");
    } else {
        for (uint64_t b = first; b <= last; ++b) {
            const float f = floatOf(static_cast<uint32_t>(b));
            if (!isExp && !std::isfinite(f)) continue;
            p.check(isExp, f);
            // Progress every 2^24 patterns: where to resume after an interruption.
            if ((b & 0x00ffffffu) == 0x00ffffffu || b == last) {
                std::fprintf(stderr,
                             "%s: bit patterns 0x%08" PRIx64 " to 0x%08" PRIx64 " done, %" PRIu64
                             " checked, %" PRIu64 " to MPFR, %" PRIu64 " differ, %.0f s\n",
                             argv[1], first, b, p.counts.checked, p.counts.mpfr, p.counts.wrong,
                             std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
            }
        }
        std::snprintf(set, sizeof set, "float bit patterns 0x%08" PRIx64 " to 0x%08" PRIx64 "%s", first, last,
                      isExp ? "" : " (finite ones), n = 3..7");
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("%s over %s: %" PRIu64 " checked, %" PRIu64 " settled without MPFR, %" PRIu64
                " by MPFR, %" PRIu64 " differ, %.1f s\n",
                isExp ? "roundedExp" : "roundedPow", set, p.counts.checked, p.counts.quick, p.counts.mpfr,
                p.counts.wrong, seconds);
    return p.counts.wrong == 0 ? 0 : 1;
}
