#include "core/body_bins.hpp"

#include "core/block.hpp"

namespace kalviro {

float bins25(const FrameCtx& c, UpperGain k) {
    const float m = c.m;
    const float* s = c.slope;
    const float* g = c.g;
    const float* b = c.b;
    if (m < -10.0f) return ((0.0f - m) * s[0] - g[1]) * b[0];
    if (m < 0.0f) return ((0.0f - m) * s[0] - g[1]) * b[1];
    if (m < 15.0f) return ((15.0f - m) * s[1] - g[2]) * b[2];
    if (m < 25.0f) return (25.0f - m) * s[2] * b[3];
    if (m < 30.0f) return (25.0f - m) * s[3];
    const float dg = get(c.block, field::driftGain);
    if (k == UpperGain::Steps101) {
        const double d = dg;
        if (m < 35.0f) return dg * ((25.0f - m) * s[3]);
        if (m < 50.0f) return static_cast<float>((d + 0.08) * static_cast<double>((35.0f - m) * s[4] - g[3]));
        return static_cast<float>((d + 0.1) * static_cast<double>((50.0f - m) * s[5] - g[4]));
    }
    const double G = static_cast<double>(dg) * 0.2 + 0.8;
    if (m < 35.0f) return static_cast<float>(G * static_cast<double>((25.0f - m) * s[3]));
    if (m < 50.0f) return static_cast<float>(G * static_cast<double>((35.0f - m) * s[4] - g[3]));
    return static_cast<float>(G * static_cast<double>((50.0f - m) * s[5] - g[4]));
}

}  // namespace kalviro
