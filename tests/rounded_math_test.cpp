// roundedExp and roundedPow on every host: the C library's special values,
// and arguments whose results MPFR gave (rounded to nearest, subnormals
// rounded once): those that pass every road down to the exact one, ties of
// exact powers, the edges of overflow and underflow.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "core/rounded_math.hpp"

namespace {

using kalviro::roundedExp;
using kalviro::roundedPow;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

uint64_t bitsOf(double x) {
    uint64_t b;
    std::memcpy(&b, &x, sizeof b);
    return b;
}

// Same value and sign, or both NaN.
::testing::AssertionResult same(double got, double want) {
    if (std::isnan(want) ? std::isnan(got) : bitsOf(got) == bitsOf(want))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << std::hexfloat << got << ", want " << want;
}

struct ExpRow {
    double x;
    double want;
};

const ExpRow kExpRows[] = {
    // Floats whose e^x lies so near a midpoint that the two-double road
    // cannot decide.
    {-0x1.028728p+3, 0x1.4509f924a7842p-12},
    {-0x1.0f2aecp+3, 0x1.b5f2d05d84abbp-13},
    {-0x1.59ce0cp+4, 0x1.c3baaa9c43c15p-32},
    {-0x1.72e944p+3, 0x1.3659eb3aa5caap-17},
    {-0x1.700bf4p+4, 0x1.c201d0b4e8dafp-34},
    {-0x1.181dep+1, 0x1.cb23c15d21961p-4},
    {-0x1.209164p+4, 0x1.f90c8ed084af8p-27},
    {-0x1.38249ap+4, 0x1.cee63f180e39cp-29},
    {-0x1.b32f34p+4, 0x1.b1908003717c8p-40},
    // Ordinary values, and those of the atmosphere's range.
    {1.0, 0x1.5bf0a8b145769p+1},
    {-1.0, 0x1.78b56362cef38p-2},
    {-2.5, 0x1.50385c094f425p-4},
    {-0x1.5604193333333p-3, 0x1.b141132f5e523p-1},
    {0x1.62e42fefa39ecp-1, 0x1.ffffffffffffdp+0},
    {100.0, 0x1.3494a9b171bf5p+144},
    {-100.0, 0x1.a8c1f14e2af5dp-145},
    // Near zero: 1 below 2^-54, its neighbours from 2^-53.
    {0x1p-54, 1.0},
    {-0x1p-54, 1.0},
    {0x1p-53, 0x1.0000000000001p+0},
    {-0x1p-53, 0x1.fffffffffffffp-1},
    {1e-300, 1.0},
    {0.0, 1.0},
    {-0.0, 1.0},
    // Overflow: the last argument below it, the first at it.
    {0x1.62e3d70a3d70ap+9, 0x1.fe9ce5c4c52b4p+1023},
    {0x1.62e42fefa39efp+9, 0x1.fffffffffff2ap+1023},
    {0x1.62e42fefa39f0p+9, kInf},
    {1000.0, kInf},
    // Subnormal results, rounded once; the last argument above +0.
    {-0x1.6226666666666p+9, 0x1.19e98b83de7a3p-1022},
    {-0x1.624p+9, 0x0.e6cf6d08897acp-1022},
    {-0x1.682p+9, 0x0.000077564144fp-1022},
    {-0x1.743851eb851ecp+9, 0x0.0000000000001p-1022},
    {-0x1.74385446d71c4p+9, 0x0.0000000000001p-1022},
    {-0x1.74910d52d3051p+9, 0x0.0000000000001p-1022},
    {-0x1.74910d52d3052p+9, 0.0},
    {-1000.0, 0.0},
    // The C library's special values.
    {kInf, kInf},
    {-kInf, 0.0},
    {kNaN, kNaN},
    {-kNaN, kNaN},
};

TEST(RoundedMath, ExpTable) {
    for (const ExpRow& row : kExpRows)
        EXPECT_TRUE(same(roundedExp(row.x), row.want)) << std::hexfloat << row.x;
}

struct PowRow {
    double x;
    int n;
    double want;
};

const PowRow kPowRows[] = {
    // Exact powers halfway between two doubles (odd integers of 54 bits):
    // ties to even.
    {1553.0, 5, 0x1.00bf8c99ca428p+53},
    {1555.0, 5, 0x1.0267deca2e322p+53},
    {457.0, 6, 0x1.02e8bdec0fd38p+53},
    {459.0, 6, 0x1.09c84ef59c9d4p+53},
    {193.0, 7, 0x1.1b7fb70e7eaap+53},
    {195.0, 7, 0x1.30b6cbc24b5e6p+53},
    {94906267.0, 2, 0x1.0000007c84becp+53},
    {94906265.0, 2, 0x1.ffffff8eff971p+52},
    // Emissivities whose powers common libraries miss by an ulp.
    {0x1.9aa18p-1, 3, 0x1.0820d409d56eep-1},
    {0x1.b94856p-2, 5, 0x1.e7017106bf5d3p-7},
    {-0.75, 7, -0x1.116p-3},
    {0x1.000002p+0, 7, 0x1.00000e000054p+0},
    // Doubles of more than a float's bits, exponents up to the largest.
    {3.0, 16, 0x1.486ba08p+25},
    {-3.0, 15, -0x1.b5e4d6p+23},
    {0x1.0000000000001p+0, 16, 0x1.000000000001p+0},
    {0x1.fffffffffffffp-1, 16, 0x1.ffffffffffffp-1},
    // The float range's ends, subnormal results rounded once, underflow to
    // zero, overflow.
    {0x1p-100, 7, 0x1p-700},
    {0x1.8p-140, 7, 0x1.116p-976},
    {0x1p-149, 7, 0x0.000008p-1022},
    {-0x1p-149, 7, -0x0.000008p-1022},
    {0x1.4p-149, 7, 0x0.00002625ap-1022},
    {0x0.0000000000001p-1022, 1, 0x0.0000000000001p-1022},
    {0x0.0000000000001p-1022, 2, 0.0},
    {-0x0.0000000000001p-1022, 3, -0.0},
    {0x1.fffffep+127, 7, 0x1.fffff200002ap+895},
    {-0x1.fffffep+127, 7, -0x1.fffff200002ap+895},
    {1e300, 4, kInf},
    {-1e300, 5, -kInf},
    // The C library's special values: x^0 is 1 even for NaN; zeros and
    // infinities keep their sign for odd n.
    {kNaN, 0, 1.0},
    {kInf, 0, 1.0},
    {kNaN, 3, kNaN},
    {0.0, 3, 0.0},
    {-0.0, 3, -0.0},
    {-0.0, 4, 0.0},
    {kInf, 3, kInf},
    {-kInf, 3, -kInf},
    {-kInf, 4, kInf},
    {-2.0, 1, -2.0},
    // Exponents outside 0..16.
    {2.0, -1, kNaN},
    {2.0, 17, kNaN},
};

TEST(RoundedMath, PowTable) {
    for (const PowRow& row : kPowRows) {
        EXPECT_TRUE(same(roundedPow(row.x, row.n), row.want)) << std::hexfloat << row.x << " ^ " << row.n;
    }
}

}  // namespace
