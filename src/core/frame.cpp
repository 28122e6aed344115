#include "core/frame.hpp"

#include "core/block.hpp"
#include "core/numeric.hpp"

namespace kalviro {

int32_t normalisedGray(const uint8_t* block, int32_t gray) {
    return wrapAdd(wrapSub(gray, get(block, field::grayRef)), get(block, field::grayBias));
}

FrameCtx frameCtx(const uint8_t* block, float gf) {
    FrameCtx c{};
    c.block = block;
    for (int k = 0; k < 12; ++k) c.g[k] = get(block, field::grayCurve(k));
    for (int k = 0; k < 2; ++k) c.e[k] = get(block, field::grayCurveExt(k));
    for (int k = 0; k < 15; ++k) c.b[k] = get(block, field::tempBinGain(k));
    c.c1 = degrees(block, field::tempCH1);
    c.c2 = degrees(block, field::tempCH2);
    c.c3 = degrees(block, field::tempCH3);
    c.c5 = degrees(block, field::tempCH5);
    c.m = (get(block, field::shutterCH2) + get(block, field::shutterCH3)) * 0.5f;
    c.mb = c.m + 20.0f;
    c.w = c.c5 - c.c1;
    c.gf = gf;
    c.upTime = get(block, field::upTime);
    return c;
}

int32_t shutterDriftCounts(const uint8_t* block, DriftSensor sensor) {
    const bool ch5 = sensor == DriftSensor::CH5;
    const float at = get(block, ch5 ? field::shutterCH5 : field::shutterCH2);
    const int32_t a = toInt(at * 100.0f);
    const float d = static_cast<float>(wrapSub(get(block, ch5 ? field::tempCH5 : field::tempCH2), a));
    const float quad = get(block, field::shutterQuad) * d * d;
    const float lin = d * get(block, field::shutterLin);
    return toInt(static_cast<double>(quad) / 10000.0 + static_cast<double>(lin) / 100.0);
}

}  // namespace kalviro
