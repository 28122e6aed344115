// The atmospheric forms of the ladder's per-pixel pipeline. atmPlain is the
// per-pixel form every family shares; atmLensTable corrects its base value by
// a linear term of the distance chosen by tempRange and lensType, or takes an
// exponent of its own for short distances.
#include <cmath>

#include "core/atmosphere.hpp"
#include "core/block.hpp"
#include "ladder/pipeline.hpp"

namespace kalviro::ladder {
namespace {

using Rule = AirPlan::Rule;

struct LensRow {
    Rule rule;
    double a, b;
};

// The row of atmLensTable for a tempRange, lensType and distance D. The
// comparisons are single precision but the one against 1.2.
LensRow lensRow(int32_t range, int32_t lens, float D) {
    const bool below12 = static_cast<double>(D) < 1.2;
    if (range == 2) {
        switch (lens) {
            case 1:
                if (D < 1.5f) return {Rule::Base, 0, 0};
                return D < 10.0f ? LensRow{Rule::Lin, 1.5, 300} : LensRow{Rule::Lin, 1.5, 380};
            case 2:
                if (below12) return {Rule::Near, -3, 3};
                return D < 3.0f ? LensRow{Rule::Down, 3, 250} : LensRow{Rule::Up, 3, 500};
            case 3:
                // The only row that looks at the temperature: V0 against 50.
                return D < 1.5f ? LensRow{Rule::Base, 0, 0} : LensRow{Rule::LinByV0, 1.5, 500};
            default:
                if (D < 1.5f) return {Rule::Near, -3, 4};
                return D < 4.0f ? LensRow{Rule::Down, 4, 250} : LensRow{Rule::Up, 4, 500};
        }
    }
    if (range == 3) {
        switch (lens) {
            case 1:
                if (D < 1.5f) return {Rule::Base, 0, 0};
                return D < 10.0f ? LensRow{Rule::Lin, 1.5, 245} : LensRow{Rule::Lin, 1.5, 290};
            case 2:
                if (below12) return {Rule::Near, -2.5, 3};
                return D < 3.0f ? LensRow{Rule::Add, 3, 0} : LensRow{Rule::Up, 3, 400};
            case 3:
                // Measured from 1.0 m although the threshold is 1.5.
                if (D < 1.5f) return {Rule::Base, 0, 0};
                return D < 10.0f ? LensRow{Rule::Lin, 1.0, 210} : LensRow{Rule::Lin, 1.0, 150};
            default:
                if (D < 1.5f) return {Rule::Near, -2.5, 4};
                return D < 4.0f ? LensRow{Rule::Add, 4, 0} : LensRow{Rule::Up, 4, 400};
        }
    }
    if (range == 4) {
        switch (lens) {
            case 1: return D < 1.5f ? LensRow{Rule::Base, 0, 0} : LensRow{Rule::Lin, 1.5, 1000};
            case 2:
                if (below12) return {Rule::Base, 0, 0};
                return D < 3.0f ? LensRow{Rule::Add, 3, 0} : LensRow{Rule::Up, 3, 1000};
            case 3: return D < 1.5f ? LensRow{Rule::Base, 0, 0} : LensRow{Rule::Lin, 1.0, 1000};
            default:
                if (D < 1.5f) return {Rule::Base, 0, 0};
                return D < 4.0f ? LensRow{Rule::Add, 4, 0} : LensRow{Rule::Up, 4, 1000};
        }
    }
    return {Rule::Base, 0, 0};
}

// airTerm V(x) with exp(x) given: the apparent temperature about the air.
float airTerm(double expX, const AirPlan& p, float rawTemp) {
    return static_cast<float>(
        ((1.0 - expX * static_cast<double>(p.A3)) * static_cast<double>(rawTemp - p.air)) /
            static_cast<double>(1.0f - p.A3) +
        static_cast<double>(p.air));
}

}  // namespace

AirPlan airPlan(Atmosphere form, const CalState& st, const uint8_t* block, float airBase, float distance) {
    AirPlan p{};
    p.air = airBase;
    p.A3 = st.const_A3;
    if (form == Atmosphere::Plain) {
        p.rule = Rule::Base;
        p.expK0 = pixelAirExp(block, distance, st.const_B3);
        return p;
    }

    const double Hd =
        (static_cast<double>(static_cast<float>(get(block, field::humidity))) - 60.0) * 0.0008 + 1.0;
    const double K0 = -static_cast<double>(static_cast<float>(Hd * static_cast<double>(st.const_B3)));
    p.expK0 = std::exp(K0);
    const double d = distance;
    const bool taken = d > 1e-6 || d < -1e-6;
    p.D = taken ? distance : static_cast<float>(static_cast<double>(get(block, field::distance)) / 100.0);

    const LensRow row = lensRow(get(block, field::tempRange), get(block, field::lensType), p.D);
    p.rule = row.rule;
    p.a = row.a;
    p.b = row.b;
    if (row.rule == Rule::LinByV0) p.b2 = 200;
    if (row.rule == Rule::Near) {
        // The scaled rate: -3 in single precision, -2.5 in double.
        const double s = row.a == -3 ? static_cast<double>(static_cast<float>(-3.0f * st.const_B3))
                                     : -2.5 * static_cast<double>(st.const_B3);
        const double a = row.b;
        p.expNear =
            std::exp(-static_cast<double>(static_cast<float>((Hd * s) * (static_cast<double>(p.D) - a))));
    }
    return p;
}

float airApply(const AirPlan& p, float rawTemp) {
    if (p.rule == Rule::Near) return airTerm(p.expNear, p, rawTemp);
    const float V0 = airTerm(p.expK0, p, rawTemp);
    const double D = p.D;
    const double v = V0;
    switch (p.rule) {
        case Rule::Base:
        case Rule::Near: return V0;
        case Rule::Lin: return static_cast<float>(((D - p.a) * v) / p.b + v);
        case Rule::LinByV0: return static_cast<float>(((D - p.a) * v) / (V0 < 50.0f ? p.b : p.b2) + v);
        case Rule::Up:
            return static_cast<float>(static_cast<double>((p.D - static_cast<float>(p.a)) * V0) / p.b + v);
        case Rule::Down:
            return static_cast<float>(static_cast<double>((static_cast<float>(p.a) - p.D) * V0) / p.b + v);
        case Rule::Add: return (static_cast<float>(p.a) - p.D) + V0;
    }
    return V0;
}

}  // namespace kalviro::ladder
