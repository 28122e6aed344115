// The curve scale g of the scaled-curve family: a polynomial in the sensor's
// distance from its reference, e = dIT, with the camera's slope p = itSlope.
// Each is rounded to a float before the marks are multiplied.
#include "core/block.hpp"
#include "ladder/stage.hpp"

namespace kalviro::ladder {

float curveScale(const Branch& br, const Frame& f) {
    const uint8_t* block = f.c.block;
    const float ef = f.dIT;
    // Members with the switch take bg[14] in place of the slope when e <= 0.
    const float pf = br.scaleSwitch && ef <= 0.0f ? f.c.b[14] : get(block, field::itSlope);
    const float bias = get(block, field::curveBias);
    const double e = ef;
    const double p = pf;
    const double dg = f.driftGain;
    switch (br.scale) {
        case Scale::None: return 1.0f;
        case Scale::S0: return f.driftGain;
        case Scale::S1: return static_cast<float>(dg + e * 4.5e-05 * e + e * 0.013644 + (p / 100.0) * e);
        case Scale::S2: return static_cast<float>(dg + e * 3.5e-05 * e + e * 0.013047 + (p / 100.0) * e);
        case Scale::S3: return static_cast<float>(e * 0.007685 + e * -6e-06 * e + dg + (p / 100.0) * e);
        case Scale::S4: return static_cast<float>(dg + (e * 0.011893 + e * 2.2e-05 * e + (p / 1000.0) * e));
        case Scale::S5: return static_cast<float>(e * (p / 100.0) + dg + e * 2.2e-05 * e + e * 0.011469);
        case Scale::S6: return static_cast<float>(e * (p / 100.0) + dg + e * 2.2e-05 * e + e * 0.011847);
        case Scale::S7: return static_cast<float>(e * 0.007414 + e * -5e-06 * e + dg + (p / 100.0) * e);
        case Scale::S8: return static_cast<float>(dg + (e * 0.007686 + e * -1e-05 * e + (p / 100.0) * e));
        case Scale::S9:
        case Scale::S134: {
            const float g =
                static_cast<float>((e * -9.17494226601303e-07 * e * e - e * 3.81073742340525e-05 * e) +
                                   e * 0.00788933012156067 + dg);
            if (br.scale == Scale::S9) return g;
            // 134 leans the scale back once the sensor is above its reference.
            if (get(block, field::itRefTemp) < f.c.c5)
                return static_cast<float>(static_cast<double>(g) - (e * 0.01) / 35.0);
            return g;
        }
        case Scale::S10: return f.driftGain + pf * ef;
        case Scale::S11:
            return static_cast<float>(1.0 - (e * -4.6e-05 * e - e * 0.014246 + static_cast<double>(ef * pf) +
                                             static_cast<double>(bias)));
        case Scale::S12: return static_cast<float>(1.0 - static_cast<double>(ef * pf + bias));
        case Scale::S13:
            return static_cast<float>(
                1.0 - (e * (p / 100.0) + (e * -6e-06 * e - e * 0.009817) + static_cast<double>(bias)));
        case Scale::S14:
            return static_cast<float>(
                1.0 - (e * (p / 100.0) + (e * 9e-06 * e - e * 0.00883) + static_cast<double>(bias)));
        case Scale::S15: return static_cast<float>(1.0 - (e * (p / 100.0) + static_cast<double>(bias)));
        case Scale::S16: return static_cast<float>(dg + static_cast<double>(ef * pf) / 5.0);
    }
    return 1.0f;
}

}  // namespace kalviro::ladder
