// CalType 22, tempRange 2: the oddities no row of the catalogue can say.
// Body drift with fixed gains that depends on the gray value for hot pixels,
// a warm-up shift from a peak detector per lens type, and a drift gain that
// follows the clock, w and the gray value.
#include "core/block.hpp"
#include "core/numeric.hpp"
#include "direct/stage.hpp"

namespace kalviro::direct {
namespace {

float divisor(const FrameCtx& c) { return get(c.block, field::warmDivisor); }

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
    const int32_t k = wrapSub(1800, wrapSub(up, P.peakUpTime));
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
        P.xd = w > 2.0f
                   ? static_cast<float>(static_cast<double>(g3) * (1.0 - static_cast<double>(w - 2.0f) / 5.5))
                   : g3;
        s = (P.xd / div) * f;
        P.dCH5 = w;
        P.peakUpTime = up;
        newW = h;
    } else if (w <= 10.0f || x <= 2.0f) {  // B
        s = 0.0f;
        newW = h;
    } else if (P.dCH5 < w) {  // C: restart at a new high
        P.xd = w < 14.0f
                   ? static_cast<float>(((static_cast<double>(w) - 10.0) * static_cast<double>(-g3)) * 0.25)
                   : -g3;
        s = (P.xd / div) * f;
        P.dCH5 = w;
        P.peakUpTime = up;
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
        s = static_cast<float>(static_cast<double>(s) * (1.0 - (static_cast<double>(fb - g[5]) * 0.8) /
                                                                   static_cast<double>(g[9] - g[5])));
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
    const int32_t k = wrapSub(3000, wrapSub(c.upTime, P.peakUpTime));
    const float decay = k >= 0 ? (static_cast<float>(k) * (P.xd / div)) / 3000.0f : 0.0f;
    if (w < 6.0f && P.dCH5 <= w) return decay;
    if (w < 6.0f && w < P.dCH5) {
        P.xd = w > 2.0f ? g3 * (1.0f - (w - 2.0f) * 0.25f) : g3;
        P.dCH5 = w;
        P.peakUpTime = c.upTime;
        return P.xd / div;
    }
    if (6.0f <= w && w <= 7.0f) return 0.0f;
    if (w > 7.0f && P.dCH5 < w) {
        P.xd = w < 11.0f ? (g3 * (w - 7.0f)) * 0.25f : g3;
        P.dCH5 = w;
        P.peakUpTime = c.upTime;
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

}  // namespace

// CalType 22 reads none of the block's gains: 0.44 and 0.54 stand for them.
// Hot pixels on a cold body take less of the drift, so const_b depends on the
// gray value of the call.
float bodyDrift22(const FrameCtx& c) {
    const float mb = c.mb;
    const float* s = c.slope;
    const float* g = c.g;
    float cb;
    if (mb < 0.0f) {
        cb = static_cast<float>(static_cast<double>((0.0f - mb) * s[0] - g[1]) * 0.44);
    } else if (mb < 15.0f) {
        cb = static_cast<float>(static_cast<double>((15.0f - mb) * s[1] - g[2]) * 0.54);
    } else if (mb < 25.0f) {
        cb = (25.0f - mb) * s[2];
    } else if (mb < 35.0f) {
        cb = static_cast<float>(driftGainG(c) * static_cast<double>((25.0f - mb) * s[3]));
    } else if (mb < 50.0f) {
        cb = static_cast<float>(driftGainG(c) * static_cast<double>((35.0f - mb) * s[4] - g[3]));
    } else {
        cb = static_cast<float>(driftGainG(c) * static_cast<double>((50.0f - mb) * s[5] - g[4]));
    }
    if (mb < 25.0f && c.gf > g[5]) {
        cb = static_cast<float>(static_cast<double>(cb) * (1.0 - (static_cast<double>(c.gf - g[5]) * 0.7) /
                                                                     static_cast<double>(g[9] - g[5])));
    }
    return cb;
}

float warmShift22(const FrameCtx& c, CalState& st) {
    float h = st.wCH5;
    if (h >= -0.000001f && h <= 0.000001f) h = get(c.block, field::itRefTemp);
    const int32_t lens = get(c.block, field::lensType);
    if (lens == 1) return lens22Type1(h, c, st);
    st.wCH5 = h;
    if (lens == 2) return lens22Type2(c, st);
    if (lens == 4) return lens22Type4(c, st);
    return 0.0f;
}

float driftGain22(int32_t drift, const FrameCtx& c) {
    const float fd = static_cast<float>(drift);
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
        k = static_cast<float>(static_cast<double>(k) * (1.0 - (static_cast<double>(fb - g[5]) * 2.5) /
                                                                   static_cast<double>(g[9] - g[5])));
    }
    return k * fd;
}

}  // namespace kalviro::direct
