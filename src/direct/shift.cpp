// Warm-up shift: how far the curve moves while the camera warms up, and the
// drift counts that join the gray value. Each form returns the shift s the
// rule computes; warmHold is applied by the engine.
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
    return (static_cast<float>(wrapSub(1200, c.upTime)) * (((c.g[1] - c.g[0]) * 0.5f) / divisor(c))) / 1200.0f;
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

// CalType 22, lensType 1: a detector of the lowest (cooling) and highest
// (heating) w, whose shift decays over 1800 counts from the restart.
float lens22Type1(float h, const FrameCtx& c, CalState& st) {
    PeakSet& P = st.lens[0];
    const int32_t up = c.upTime;
    const float w = c.w;
    const float x = h - c.c5;
    const float g3 = c.g[3];
    const float div = divisor(c);
    float f;
    if (up < 251) {
        f = static_cast<float>((static_cast<double>(wrapSub(up, 70)) * 0.4) / 180.0 + 0.9);
    } else if (up < 801) {
        f = static_cast<float>(1.3 - (static_cast<double>(wrapSub(up, 200)) * 0.8) / 600.0);
    } else {
        f = 0.4f;
    }
    const int32_t k = wrapSub(1800, wrapSub(up, P.dT));
    const bool lowRegime = (w < 7.5f && x < -2.0f) || up < 1000;
    float newW = c.c5;
    float s;
    if (lowRegime && P.dCH5 <= w) {  // A1: decay
        if (k < 0) {
            s = 0.0f;
            newW = h;
        } else {
            s = (((P.xd / div) * f) * static_cast<float>(k)) / 1800.0f;
            if (x <= -2.2f) newW = h;
        }
    } else if (lowRegime && w < P.dCH5) {  // A2: restart at a new low
        P.xd = w > 2.0f ? static_cast<float>(static_cast<double>(g3) * (1.0 - static_cast<double>(w - 2.0f) / 5.5))
                        : g3;
        s = (P.xd / div) * f;
        P.dCH5 = w;
        P.dT = up;
        newW = h;
    } else if (w <= 10.0f || x <= 2.0f) {  // B
        s = 0.0f;
        newW = h;
    } else if (P.dCH5 < w) {  // C: restart at a new high
        P.xd = w < 14.0f ? static_cast<float>(((static_cast<double>(w) - 10.0) * static_cast<double>(-g3)) * 0.25)
                         : -g3;
        s = (P.xd / div) * f;
        P.dCH5 = w;
        P.dT = up;
        newW = h;
    } else {  // D: decay, ten times as steep
        if (k < 0) {
            s = 0.0f;
            newW = h;
        } else {
            s = ((static_cast<float>(k) * (P.xd / div)) * f) / 180.0f;
            if (x >= 2.2f) newW = h;
        }
    }
    st.wCH5 = newW;

    const float fb = static_cast<float>(c.base);
    const float* g = c.g;
    if (fb > g[5]) {
        s = static_cast<float>(static_cast<double>(s) *
                               (1.0 - (static_cast<double>(fb - g[5]) * 0.8) / static_cast<double>(g[9] - g[5])));
    } else if (g[9] < fb) {
        s = static_cast<float>(static_cast<double>(s) * 0.2);
    }
    return s;
}

// CalType 22, lensType 2: the same detector with a 3000-count decay.
float lens22Type2(const FrameCtx& c, CalState& st) {
    PeakSet& P = st.lens[1];
    const float w = c.w;
    const float g3 = c.g[3];
    const float div = divisor(c);
    const int32_t k = wrapSub(3000, wrapSub(c.upTime, P.dT));
    const float decay = k >= 0 ? (static_cast<float>(k) * (P.xd / div)) / 3000.0f : 0.0f;
    if (w < 6.0f && P.dCH5 <= w) return decay;
    if (w < 6.0f && w < P.dCH5) {
        P.xd = w > 2.0f ? g3 * (1.0f - (w - 2.0f) * 0.25f) : g3;
        P.dCH5 = w;
        P.dT = c.upTime;
        return P.xd / div;
    }
    if (6.0f <= w && w <= 7.0f) return 0.0f;
    if (w > 7.0f && P.dCH5 < w) {
        P.xd = w < 11.0f ? (g3 * (w - 7.0f)) * 0.25f : g3;
        P.dCH5 = w;
        P.dT = c.upTime;
        return P.xd / div;
    }
    if (w > 7.0f && w <= P.dCH5) return decay;
    return 0.0f;
}

float lens22Type4(const FrameCtx& c, CalState& st) {
    const int32_t up = c.upTime;
    float f;
    if (up < 601) {
        f = 1.5f;
    } else if (up < 2501) {
        f = 1.5f - (static_cast<float>(wrapSub(up, 600)) * 0.3f) / 1900.0f;
    } else if (up < 4000) {
        f = 1.2f;
    } else {
        return 0.0f;
    }
    const float w = c.w;
    const float g3 = c.g[3];
    if (w <= 2.0f) {
        st.xd = g3;
    } else if (w > 6.5f) {
        st.xd = 0.0f;
    } else {
        st.xd = static_cast<float>(static_cast<double>(g3) * (1.0 - static_cast<double>(w - 2.0f) / 4.5));
    }
    return (st.xd / divisor(c)) * f;
}

float lens22(const FrameCtx& c, CalState& st) {
    float h = st.wCH5;
    if (h >= -0.000001f && h <= 0.000001f) h = get(c.block, field::itRefTemp);
    const int32_t lens = get(c.block, field::lensType);
    if (lens == 1) return lens22Type1(h, c, st);
    st.wCH5 = h;
    if (lens == 2) return lens22Type2(c, st);
    if (lens == 4) return lens22Type4(c, st);
    return 0.0f;
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
        case Shift::Lens22: return lens22(c, st);
    }
    return 0.0f;
}

float driftCounts(Drift form, int32_t drift, const FrameCtx& c) {
    const float fd = static_cast<float>(drift);
    switch (form) {
        case Drift::Plain: return fd;
        case Drift::TimesB4: return fd * c.b[4];
        case Drift::TimesB4To5000: return c.upTime < 5000 ? fd * c.b[4] : 0.0f;
        case Drift::Quad4: return drift > 0 ? static_cast<float>(wrapMul(drift, 4)) : fd;
        case Drift::Quad4LongRun:
            if (c.upTime > 3000) {
                const int32_t scale = get(c.block, field::driftScale) / 100;
                return (c.m - (c.c2 + c.c3) * 0.5f) * static_cast<float>(scale);
            }
            return drift > 0 ? static_cast<float>(wrapMul(drift, 4)) : fd;
        case Drift::GrayFactor56: {
            // Hot pixels take up to half as much drift again.
            const float fb = static_cast<float>(c.base);
            const float* g = c.g;
            const float k = !(fb > g[6]) ? 1.0f
                                         : static_cast<float>((static_cast<double>(c.gf - g[6]) * 0.5) /
                                                                  static_cast<double>(g[11] - g[6]) +
                                                              1.0);
            return k * fd;
        }
        case Drift::Gain22: {
            const int32_t up = c.upTime;
            const float w = c.w;
            float k;
            if (up <= 550) {
                k = static_cast<float>(1.2 - (static_cast<double>(wrapSub(up, 70)) * 0.2) / 480.0);
            } else if (w < -5.0f) {
                k = static_cast<float>((static_cast<double>(w + 5.0f) + static_cast<double>(w + 5.0f)) / 6.0 + 1.0);
            } else if (w < 3.5f) {
                k = 1.5f;
            } else if (w <= 10.0f) {
                k = 1.0f;
            } else if (w <= 15.0f) {
                k = static_cast<float>(static_cast<double>(w - 10.0f) / 10.0 + 1.0);
            } else {
                k = 0.0f;
            }
            // The drift turns its sign at hot pixels.
            const float fb = static_cast<float>(c.base);
            const float* g = c.g;
            if (!(fb > g[5])) {
            } else if (fb >= g[10]) {
                k = k * -1.5f;
            } else {
                k = static_cast<float>(static_cast<double>(k) *
                                       (1.0 - (static_cast<double>(fb - g[5]) * 2.5) / static_cast<double>(g[9] - g[5])));
            }
            return k * fd;
        }
    }
    return fd;
}

}  // namespace kalviro::direct
