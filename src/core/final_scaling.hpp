// Final scaling: gain, emissivity factor, base temperature and offset, into
// hundredths of a degree. The polynomial family scales about 20 degrees, the
// table family about the air temperature.
#pragma once

#include <cstdint>

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

}  // namespace kalviro
