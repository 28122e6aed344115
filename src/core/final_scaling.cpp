#include "core/final_scaling.hpp"

#include "core/block.hpp"
#include "core/emissivity.hpp"
#include "core/lanes.hpp"
#include "core/numeric.hpp"
#include "core/pixel_stages.hpp"

namespace kalviro {

EmissFactor emissFactor(Emissivity form, float emissivity) {
    if (form == Emissivity::Polynomial) return {form, emissivityPolynomial(emissivity), 0};
    return {form, 0.0f, espFactor(emissivity)};
}

int32_t scaleFrame(float Tc, const EmissFactor& f, float air, const uint8_t* block) {
    const int32_t q = toInt(Tc * 100.0f);
    const double gain = static_cast<double>(get(block, field::tempGain));
    const int32_t offset = get(block, field::tempOffset);
    if (f.form == Emissivity::Polynomial) {
        const double G = ((static_cast<double>(q) / 100.0 - 20.0) * gain) / 100.0;
        const float F = static_cast<float>(static_cast<double>(f.E) * G);
        return wrapAdd(toInt(F * 100.0f + 2000.0f), offset);
    }
    const double G = (((static_cast<double>(q) / 100.0 - static_cast<double>(air)) * gain) / 100.0 *
                      static_cast<double>(f.K)) /
                     1000.0;
    const float F = static_cast<float>(G);
    return wrapAdd(toInt(F * 100.0f + air * 100.0f), offset);
}

float scalePixel(float Tc, const EmissFactor& f, float air, const uint8_t* block) {
    return scalePixel(Tc, f, air, get(block, field::tempGain),
                      static_cast<float>(get(block, field::tempOffset)));
}

float scalePixel(float Tc, const EmissFactor& f, float air, int32_t gain, float offset) {
    return scalePixel<Scalar>(Tc, f, air, gain, offset);
}

}  // namespace kalviro
