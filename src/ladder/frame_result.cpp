// The per-frame result of a ladder CalType: the frame's raw temperature
// through fixed atmospheric constants, the frame's own tempCH1 as the air, the
// apparent temperature cut to hundredths, the ladder, and tempOffset added
// after the last truncation.
#include <cmath>

#include "core/atmosphere.hpp"
#include "core/block.hpp"
#include "core/numeric.hpp"
#include "core/rounded_math.hpp"
#include "kalviro.h"
#include "ladder/pixel.hpp"

namespace kalviro::ladder {

int32_t frameResult(const Recipe& r, float rawTemp, const uint8_t* block, float emissivity) {
    const float baseTemp = degrees(block, field::tempCH1);
    const double rate = frameAirRate(block);
    const float q = r.exponent == Exponent::Distance ? static_cast<float>((blockDistance(block) - 1.5) * rate)
                                                     : static_cast<float>(rate);
    const double y = r.exp == Exp::My ? myexp(-static_cast<double>(q)) : roundedExp(-static_cast<double>(q));
    const float a = frameAirCorrection(rawTemp, baseTemp, y);

    // The apparent temperature is cut to hundredths towards zero here.
    const int32_t n = toInt(a * 100.0f);
    const double x = static_cast<double>(n) / 100.0;
    const float g = ladderFactor(emissivity, x, baseTemp);
    const float scaled = static_cast<float>(
        ((static_cast<double>(get(block, field::tempGain)) * (x - static_cast<double>(baseTemp))) / 100.0) *
        static_cast<double>(g));
    return wrapAdd(toInt(scaled * 100.0f + baseTemp * 100.0f), get(block, field::tempOffset));
}

// 61 and 62: the atmosphere's constants from the block, the humidity term in
// single precision, no cut of the apparent temperature, and tempOffset inside
// the truncation as in the per-pixel call.
int32_t frameResultFourRange(const Recipe& r, float rawTemp, const uint8_t* block, float emissivity) {
    const float baseTemp = degrees(block, field::tempCH1);
    const float Af = static_cast<float>(static_cast<double>(get(block, field::atmA)) / 100.0);
    const float Bf = static_cast<float>(static_cast<double>(get(block, field::atmB)) / 1000.0);
    const float hf = (static_cast<float>(get(block, field::humidity)) - 60.0f) * 0.0008f + 1.0f;
    float q;
    if (r.exponent == Exponent::Distance) {
        q = static_cast<float>((static_cast<double>(get(block, field::distance)) / 100.0 - 1.5) *
                               static_cast<double>(hf * Bf));
    } else {
        q = hf * Bf;
    }
    const double y = myexp(-static_cast<double>(q));
    const float a =
        static_cast<float>(((1.0 - y * static_cast<double>(Af)) * static_cast<double>(rawTemp - baseTemp)) /
                               static_cast<double>(1.0f - Af) +
                           static_cast<double>(baseTemp));

    const float g = ladderFactor(emissivity, static_cast<double>(a * 100.0f) / 100.0, baseTemp);
    const float af = (a * 100.0f) / 100.0f;
    const float p =
        (((static_cast<float>(get(block, field::tempGain)) * (af - baseTemp)) / 100.0f) * g) * 100.0f;
    return toInt((baseTemp * 100.0f + p) + static_cast<float>(get(block, field::tempOffset)));
}

}  // namespace kalviro::ladder
