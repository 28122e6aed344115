// Warm-up shift: how far the curve moves while the camera warms up, and the
// drift counts that join the gray value. Each form returns the shift s the
// rule computes; warmHold is applied by the stage.
#include "core/block.hpp"
#include "core/numeric.hpp"
#include "direct/recipe.hpp"

namespace kalviro::direct {
namespace {

float low(const FrameCtx& c) { return get(c.block, field::warmDiffLow); }
float high(const FrameCtx& c) { return get(c.block, field::warmDiffHigh); }
float divisor(const FrameCtx& c) { return get(c.block, field::warmDivisor); }

// Full size below warmDiffLow, nothing above warmDiffHigh, linear between.
float fadeG3(const FrameCtx& c, CalState& st) {
    const float L = low(c);
    const float H = high(c);
    if (c.w < L) {
        st.xd = c.g[3];
    } else if (c.w > H) {
        st.xd = 0.0f;
    } else {
        st.xd = (1.0f - (c.w - L) / (H - L)) * c.g[3];
    }
    return st.xd / divisor(c);
}

// Tested from the top, so equal limits with w on them give the full A.
float fadeThird(int k, const FrameCtx& c, CalState& st) {
    const float A = c.g[k] / 3.0f;
    const float L = low(c);
    const float H = high(c);
    if (c.w > H) {
        st.xd = 0.0f;
    } else if (c.w > L) {
        st.xd = A * (1.0f - (c.w - L) / (H - L));
    } else {
        st.xd = A;
    }
    return st.xd / divisor(c);
}

// The ramp of the first 1200 counts of the warm-up clock.
float clockRamp(const FrameCtx& c) {
    if (c.upTime >= 1200) return 0.0f;
    return (static_cast<float>(wrapSub(1200, c.upTime)) * (((c.g[1] - c.g[0]) * 0.5f) / divisor(c))) /
           1200.0f;
}

// CalType 56: the shift doubles and triples in the first half hour.
float clockFactor56(int32_t upTime) {
    if (upTime < 900) return static_cast<float>(upTime / 450 + 1);
    if (upTime < 1800) return static_cast<float>(3 - (upTime - 900) / 450);
    return 1.0f;
}

float clock3000(const FrameCtx& c) {
    float s0 = 0.0f;
    if (c.upTime < 3000 && c.c2 - c.c1 < low(c)) {
        s0 = static_cast<float>(toInt((static_cast<float>(wrapSub(3000, c.upTime)) * c.g[3]) / 3000.0f));
    }
    return s0 / divisor(c);
}

float degree11(const FrameCtx& c) {
    float s0 = 0.0f;
    if (c.upTime < 1800) {
        const float L = low(c);
        const float H = high(c);
        if (c.w < L) {
            s0 = static_cast<float>(toInt(c.slope[0]));
        } else if (c.w > H) {
            s0 = 0.0f;
        } else {
            s0 = static_cast<float>(toInt((1.0f - (c.w - L) / (H - L)) * c.slope[0]));
        }
    }
    return s0 / divisor(c);
}

// CalType 50: the limits latch at the first frame, the lower one truncated.
float lensShort(const FrameCtx& c, CalState& st) {
    if (get(c.block, field::lensType) != 1) return 0.0f;
    if (st.init_flag == 0) {
        st.dT = static_cast<float>(toInt(low(c)));
        st.dCH5 = high(c);
    }
    if (c.upTime > 1799) return 0.0f;
    const float t = st.dT;
    const float A = c.g[6] / 3.0f;
    if (c.w > st.dCH5) {
        st.xd = 0.0f;
    } else if (c.w > t) {
        st.xd = (1.0f - (c.w - t) / (st.dCH5 - t)) * A;
    } else {
        st.xd = A;
    }
    return st.xd / divisor(c);
}

// LensRule: limits latched at the very first frame; reversed limits fade the
// other way, with a three-quarter start in the first 120 counts.
float lensRule(float A, float L, float H, const FrameCtx& c, CalState& st) {
    if (get(c.block, field::lensType) != 1) return 0.0f;
    if (st.init_flag == 0) {
        st.dCH5 = H;
        st.dT = L;
    }
    if (c.upTime > 1799) return 0.0f;
    const float w = c.w;
    if (!(st.dT > st.dCH5)) {
        if (w > st.dCH5) {
            st.xd = 0.0f;
        } else if (w <= st.dT) {
            st.xd = A;
        } else {
            st.xd = A * (1.0f - (w - st.dT) / (st.dCH5 - st.dT));
        }
    } else if (c.upTime <= 119 && w > (st.dT + st.dCH5) * 0.5f) {
        st.xd = A * 0.75f;
    } else if (w > st.dT) {
        st.xd = A;
    } else if (w >= st.dCH5) {
        st.xd = A * (1.0f - (w - st.dT) / (st.dCH5 - st.dT));
    } else {
        st.xd = 0.0f;
    }
    return st.xd / divisor(c);
}

}  // namespace

float warmShift(Shift form, const FrameCtx& c, CalState& st) {
    switch (form) {
        case Shift::FadeG3: return fadeG3(c, st);
        case Shift::FadeThird4: return fadeThird(4, c, st);
        case Shift::Clock56: {
            const float M = clockFactor56(c.upTime);
            return M * fadeThird(6, c, st);
        }
        case Shift::ClockPlain: return clockRamp(c);
        case Shift::ClockLow: return c.w < low(c) ? clockRamp(c) : 0.0f;
        case Shift::ClockHigh: return c.w < high(c) ? clockRamp(c) : 0.0f;
        case Shift::Clock3000: return clock3000(c);
        case Shift::Degree11: return degree11(c);
        case Shift::LensShort: return lensShort(c, st);
        case Shift::Lens6: return lensRule(c.g[6] / 3.0f, low(c), high(c), c, st);
        case Shift::Lens6Ext: return lensRule(c.g[6] / 3.0f, c.e[0], c.e[1], c, st);
        case Shift::Lens4: return lensRule(c.g[4] / 3.0f, low(c), high(c), c, st);
        case Shift::Lens22: return warmShift22(c, st);
    }
    return 0.0f;
}

float driftCounts(Drift form, int32_t drift, const FrameCtx& c) {
    const float fd = static_cast<float>(drift);
    switch (form) {
        case Drift::Plain: return fd;
        case Drift::TimesB4: return fd * c.b[4];
        case Drift::TimesB4To5000: return c.upTime < 5000 ? fd * c.b[4] : 0.0f;
        case Drift::Quad: return quadDrift(drift);
        case Drift::QuadLongRun:
            if (c.upTime > 3000) {
                const int32_t scale = get(c.block, field::driftScale) / 100;
                return (c.m - (c.c2 + c.c3) * 0.5f) * static_cast<float>(scale);
            }
            return quadDrift(drift);
        case Drift::GrayFactor56: {
            // Hot pixels take up to half as much drift again.
            const float fb = static_cast<float>(c.base);
            const float* g = c.g;
            const float k =
                !(fb > g[6])
                    ? 1.0f
                    : static_cast<float>(
                          (static_cast<double>(c.gf - g[6]) * 0.5) / static_cast<double>(g[11] - g[6]) + 1.0);
            return k * fd;
        }
        case Drift::Gain22: return driftGain22(drift, c);
    }
    return fd;
}

}  // namespace kalviro::direct
