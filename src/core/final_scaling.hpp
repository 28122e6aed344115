// Final scaling: gain, emissivity factor, base temperature and offset, into
// hundredths of a degree. The polynomial family scales about 20 degrees, the
// table family about the air temperature.
#pragma once

#include <cstdint>

#include "core/lanes.hpp"

namespace kalviro {

enum class Emissivity : uint8_t { Polynomial, Table };

// The factor of one call: E as a float, or K in thousandths.
struct EmissFactor {
    Emissivity form;
    float E;
    int32_t K;
};

EmissFactor emissFactor(Emissivity form, float emissivity);

// Per-frame: Tc truncated to hundredths first, tempOffset added as an
// integer after the last truncation. air is the base of the table form.
int32_t scaleFrame(float Tc, const EmissFactor& f, float air, const uint8_t* block);

// Per-pixel: no integer step; returns F, hundredths as a float with
// tempOffset already in it. The second form takes tempGain and tempOffset
// (as a float) read once for a frame.
float scalePixel(float Tc, const EmissFactor& f, float air, const uint8_t* block);
float scalePixel(float Tc, const EmissFactor& f, float air, int32_t gain, float offset);

// On lanes (core/lanes.hpp): the scalar form above is this on one lane.
// Final scaling of the per-pixel call: hundredths as a float, tempOffset in.
template <class L>
typename L::F scalePixel(typename L::F Tc, const EmissFactor& f, float air, int32_t gain, float offset) {
    const auto t = (Tc * 100.0f) / 100.0f;
    if (f.form == Emissivity::Polynomial) {
        const auto H = (static_cast<double>(gain) * (L::widen(t) - 20.0)) / 100.0;
        return L::narrow(H * static_cast<double>(f.E)) * 100.0f + 2000.0f + offset;
    }
    const auto u = (((t - air) * static_cast<float>(gain)) / 100.0f * static_cast<float>(f.K)) / 1000.0f;
    return (air * 100.0f + u * 100.0f) + offset;
}

// The distance rise: from 8 m in tempRange 2, from 4 m in 3, none else.
template <class L>
typename L::F distanceRiseAt(typename L::F F, int32_t range, double D) {
    const auto P = L::widen(F / 100.0f);
    if (range == 2 && D >= 8.0)
        return L::narrow(L::widen(F) + 100.0 * ((((D - 8.0) * 0.25) * P) / 100.0 * 0.6));
    if (range == 3 && D >= 4.0) return L::narrow(L::widen(F) + 100.0 * ((((D - 4.0) * 0.25) * P) / 110.0));
    return F;
}

}  // namespace kalviro
