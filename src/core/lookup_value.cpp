#include "core/lookup_value.hpp"

#include "core/numeric.hpp"

namespace kalviro {

float lookupValue(Join join, float gf, const CalState& st, float dIT) {
    const float R = st.const_R;
    const float b = st.const_b;
    const int32_t d = toInt(st.const_d);
    const double e = dIT;
    switch (join) {
        case Join::Float:
            return static_cast<float>(toInt(st.const_d + static_cast<float>(toInt(R + (gf - b)))));
        case Join::FloatAdd:
            return static_cast<float>(toInt(st.const_d + static_cast<float>(toInt(R + (gf + b)))));
        case Join::Int: return static_cast<float>(wrapAdd(d, toInt(R + (gf - b))));
        case Join::IntAdd: return static_cast<float>(wrapAdd(d, toInt(R + (gf + b))));
        case Join::OffsetP2: {
            // const_b is stored for the per-pixel call but not subtracted.
            const double P2 = -0.00150561786065162 * e * e * e - 0.0287875890602743 * e * e -
                              e * 1.03123824100138 - 286.815327857864;
            return static_cast<float>(
                wrapAdd(d, toInt(static_cast<float>(P2 + static_cast<double>(R)) + gf)));
        }
        case Join::OffsetP3: {
            const double P3 = 0.0968845687545642 * e * e + (-0.000268427914821979) * e * e * e -
                              e * 2.6023451749582 - 116.915283761753;
            return static_cast<float>(
                wrapAdd(d, toInt(static_cast<float>(P3 + static_cast<double>(R)) + (gf - b))));
        }
        case Join::ExactGrayFirst: return ((gf - b) + R) + st.const_d;
        case Join::ExactDriftFirst: return (st.const_d + (gf - b)) + R;
        case Join::ExactIntDrift: return ((gf - b) + R) + static_cast<float>(d);
        case Join::BothInt: return static_cast<float>(toInt((gf - b) + R)) + static_cast<float>(d);
    }
    return 0.0f;
}

}  // namespace kalviro
