// The atmospheric forms of the ladder's per-pixel pipeline. atmPlain is the
// per-pixel form every family shares. The others correct a base value V0 by
// a linear term of the distance, chosen by tempRange (and lensType), or take
// an exponent of their own for short distances.
#include <cmath>

#include "core/atmosphere.hpp"
#include "core/block.hpp"
#include "core/lanes.hpp"
#include "core/rounded_math.hpp"
#include "kalviro.h"
#include "ladder/pixel.hpp"
#include "ladder/pixel_kernel.hpp"

namespace kalviro::ladder {
namespace {

using Rule = AirPlan::Rule;

// A row of a distance table: the rule, its distance anchor a and divisor b.
// A near row's rate is -3 (in single precision) or -2.5 (in double).
struct Row {
    Rule rule;
    double a;
    double b;
    double rate;
};

constexpr Row base{Rule::Base, 0, 0, 0};
constexpr Row lin(double a, double b) { return {Rule::Lin, a, b, 0}; }
constexpr Row up(double a, double b) { return {Rule::Up, a, b, 0}; }
constexpr Row down(double a, double b) { return {Rule::Down, a, b, 0}; }
constexpr Row add(double a) { return {Rule::Add, a, 0, 0}; }
constexpr Row near(double rate, double a) { return {Rule::Near, a, 0, rate}; }

// atmLensTable. D is compared in single precision against 1.5, 3, 4 and 10,
// and in double against 1.2; lensType other than 1, 2, 3 takes the last rows.
Row lensTableRow(int32_t range, int32_t lens, float D) {
    const bool below12 = static_cast<double>(D) < 1.2;
    switch (range) {
        case 2:
            switch (lens) {
                case 1: return D < 1.5f ? base : D < 10.0f ? lin(1.5, 300) : lin(1.5, 380);
                case 2: return below12 ? near(-3, 3) : D < 3.0f ? down(3, 250) : up(3, 500);
                // The one row that looks at the temperature: V0 against 50.
                case 3: return D < 1.5f ? base : Row{Rule::LinByV0, 1.5, 500, 200};
                default: return D < 1.5f ? near(-3, 4) : D < 4.0f ? down(4, 250) : up(4, 500);
            }
        case 3:
            switch (lens) {
                case 1: return D < 1.5f ? base : D < 10.0f ? lin(1.5, 245) : lin(1.5, 290);
                case 2: return below12 ? near(-2.5, 3) : D < 3.0f ? add(3) : up(3, 400);
                // Measured from 1.0 m although the threshold is 1.5.
                case 3: return D < 1.5f ? base : D < 10.0f ? lin(1.0, 210) : lin(1.0, 150);
                default: return D < 1.5f ? near(-2.5, 4) : D < 4.0f ? add(4) : up(4, 400);
            }
        case 4:
            switch (lens) {
                case 1: return D < 1.5f ? base : lin(1.5, 1000);
                case 2: return below12 ? base : D < 3.0f ? add(3) : up(3, 1000);
                case 3: return D < 1.5f ? base : lin(1.0, 1000);
                default: return D < 1.5f ? base : D < 4.0f ? add(4) : up(4, 1000);
            }
        default: return base;
    }
}

// atmRangeLinear: lensType is not read.
Row rangeLinearRow(int32_t range, float D) {
    switch (range) {
        case 2: return D < 1.5f ? base : D < 10.0f ? lin(1.5, 300) : lin(1.5, 380);
        case 3: return D < 1.5f ? base : D < 10.0f ? lin(1.5, 245) : lin(1.5, 290);
        case 4: return D < 1.5f ? base : lin(1.5, 1000);
        default: return base;
    }
}

// atmNoLens, tempRange 2 to 4; other ranges have an exponent of their own.
Row noLensRow(int32_t range, float D) {
    const bool below12 = static_cast<double>(D) < 1.2;
    if (range == 4) return below12 ? near(-2.5, 3) : D < 3.0f ? add(3) : up(3, 400);
    return below12 ? near(-3, 3) : D < 3.0f ? down(3, 250) : up(3, 500);
}

}  // namespace

AirPlan airPlan(Atmosphere form, const CalState& st, const uint8_t* block, float airBase, float distance) {
    AirPlan p{};
    p.air = airBase;
    p.A3 = st.const_A3;
    p.rule = Rule::Base;
    if (form == Atmosphere::Plain) {
        p.expK0 = pixelAirExp(block, distance, st.const_B3);
        return p;
    }

    const int32_t range = get(block, field::tempRange);
    const float blockD = static_cast<float>(static_cast<double>(get(block, field::distance)) / 100.0);
    const double Hd =
        (static_cast<double>(static_cast<float>(get(block, field::humidity))) - 60.0) * 0.0008 + 1.0;
    const double K0 = -static_cast<double>(static_cast<float>(Hd * static_cast<double>(st.const_B3)));

    Row row = base;
    switch (form) {
        case Atmosphere::LensTable: {
            const double d = distance;
            p.D = d > 1e-6 || d < -1e-6 ? distance : blockD;
            row = lensTableRow(range, get(block, field::lensType), p.D);
            break;
        }
        case Atmosphere::RangeLinear:
            p.D = blockD;
            row = rangeLinearRow(range, p.D);
            break;
        case Atmosphere::NoLens:
            p.D = blockD;
            if (range >= 2 && range <= 4) {
                row = noLensRow(range, p.D);
            } else {
                // The distance argument itself, near zero or not.
                const float hf = (static_cast<float>(get(block, field::humidity)) - 60.0f) * 0.0008f + 1.0f;
                row = near(0, 0);
                p.expNear = roundedExp(-static_cast<double>(hf * st.const_B3 * (distance - 1.5f)));
            }
            break;
        case Atmosphere::Plain: break;
    }
    // A near row takes its own exponential and not also that of V0. Ranges
    // without a grid take myexp in the range-linear form, and no correction.
    const bool noGrid = range < 2 || range > 4;
    if (row.rule != Rule::Near)
        p.expK0 = form == Atmosphere::RangeLinear && noGrid ? myexp(K0) : roundedExp(K0);
    p.rule = row.rule;
    p.a = row.a;
    p.b = row.b;
    if (row.rule == Rule::LinByV0) p.b2 = row.rate;
    if (row.rule == Rule::Near && row.rate != 0) {
        // The scaled rate: -3 in single precision, -2.5 in double.
        const double s = row.rate == -3 ? static_cast<double>(-3.0f * st.const_B3)
                                        : -2.5 * static_cast<double>(st.const_B3);
        p.expNear = roundedExp(
            -static_cast<double>(static_cast<float>((Hd * s) * (static_cast<double>(p.D) - row.a))));
    }
    return p;
}

float airApply(const AirPlan& p, float rawTemp) { return airApply<Scalar>(p, rawTemp); }

}  // namespace kalviro::ladder
