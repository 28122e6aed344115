// CalTypes 12 and 60: the older frame with four ranges. The atmosphere comes
// from the block, the body temperature is a whole-degree field, nothing is
// written back, and both stages end alike: the per-frame stage keeps Tc
// unrounded and the per-pixel stage corrects for a window. 12 scales with
// Esp_Table about the air temperature, 60 with the polynomial about 20.
#include "core/atmosphere.hpp"
#include "core/block.hpp"
#include "core/four_range.hpp"
#include "core/frame.hpp"
#include "core/numeric.hpp"
#include "core/segment_table.hpp"
#include "direct/pixel.hpp"
#include "direct/stage.hpp"

namespace kalviro::direct {

int32_t early12(const Recipe& r, CalState& st, uint8_t* block, int32_t gray, float emissivity,
                float distance) {
    const FourRangeLookup look = fourRangeFrame(st, block, gray, FourRangeMath::Single);
    float T = look.raw;
    // At very low emissivities row ip stands in for the search, whatever it
    // holds, in every range but 5.
    const int32_t ip = clampedPercent(emissivity);
    if (get(block, field::tempRange) != 5 && ip <= 9)
        T = segmentTemp(st.tempdata[ip], static_cast<float>(look.v));

    const float c1 = st.const_CH2;
    const float Tc = atmospherePixel(T, block, c1, distance, st.const_A3, st.const_B3);
    return toInt(scalePixel(Tc, emissFactor(r.emissivity, emissivity), c1, block));
}

int32_t realtime12(const Recipe& r, const CalState& st, const uint8_t* block, int32_t gray, float emissivity,
                   float distance) {
    // Whole hundredths already; still through toInt, like every float to int.
    return toInt(pixelHundredths(pixelPlan(r, st, block, emissivity, distance), gray));
}

}  // namespace kalviro::direct
