// Warm-up shift of the ladder stages: how far the curve moves while the
// camera warms up, by the sensor difference dW and the warm-up clock.
#include "core/block.hpp"
#include "core/numeric.hpp"
#include "ladder/stage.hpp"

namespace kalviro::ladder {
namespace {

// The half step of the curve's first segment per warmDivisor, in double.
double halfStep(const Frame& f) {
    return (static_cast<double>(f.c.g[1] - f.c.g[0]) * 0.5) / static_cast<double>(f.divisor);
}

// The half step ramped out linearly by the time the clock reaches `limit`.
float clockRamp(int32_t limit, const Frame& f) {
    return static_cast<float>(
        (static_cast<double>(static_cast<float>(wrapSub(limit, f.c.upTime))) * halfStep(f)) /
        static_cast<double>(limit));
}

}  // namespace

float ramp(const Frame& f) {
    return static_cast<float>(1.0 - static_cast<double>((f.rampW - f.low) / (f.high - f.low)));
}

float warmShift(Warm form, const Frame& f, CalState& st) {
    const float dW = f.c.w;
    const float* gc = f.c.g;
    switch (form) {
        case Warm::None: return 0.0f;
        case Warm::FadeG3:
            if (dW < f.low) {
                st.xd = gc[3];
            } else if (dW > f.high) {
                st.xd = 0.0f;
            } else {
                st.xd = ramp(f) * gc[3];
            }
            return st.xd / f.divisor;
        case Warm::FadeThird4: {
            // Tested from below: limits the wrong way round give the full
            // third up to warmDiffLow.
            const double third = static_cast<double>(gc[4]) / 3.0;
            if (dW <= f.low) {
                st.xd = static_cast<float>(third);
            } else if (dW <= f.high) {
                st.xd = static_cast<float>(static_cast<double>(ramp(f)) * third);
            } else {
                st.xd = 0.0f;
            }
            return st.xd / f.divisor;
        }
        case Warm::Clock1200: return f.c.upTime < 1200 && dW < f.low ? clockRamp(1200, f) : 0.0f;
        case Warm::Clock3000: return f.c.upTime < 3000 && dW < f.low ? clockRamp(3000, f) : 0.0f;
        case Warm::Band83:
            // Inside the band no shift, above it the ramp turns negative.
            if (dW < f.low) return static_cast<float>(halfStep(f));
            if (dW > f.high) return static_cast<float>(halfStep(f) * static_cast<double>(ramp(f)));
            return 0.0f;
        case Warm::Ramp1800:
            return f.c.upTime < 1800 && dW < f.high
                       ? static_cast<float>(halfStep(f) * static_cast<double>(ramp(f)))
                       : 0.0f;
        case Warm::Half102:
            st.xd = static_cast<float>(0.5 * static_cast<double>(gc[1] - gc[0]));
            if (dW > f.high) {
                st.xd = 0.0f;
            } else if (dW >= f.low) {
                st.xd = st.xd * ramp(f);
            }
            return st.xd / f.divisor;
    }
    return 0.0f;
}

}  // namespace kalviro::ladder
