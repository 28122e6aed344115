// Warm-up shift of the ladder stages: how far the curve moves while the
// camera warms up, by the sensor difference w and the warm-up clock.
#include "core/block.hpp"
#include "core/numeric.hpp"
#include "ladder/stage.hpp"

namespace kalviro::ladder {
namespace {

// The half step of the curve's first segment per warmDivisor, in double.
double halfStep(const Frame& f) {
    return (static_cast<double>(f.gc[1] - f.gc[0]) * 0.5) / static_cast<double>(f.divisor);
}

// The same on the scaled curve: ((mark[0] - gc[0] * g) * 0.5) / warmDivisor.
double halfStepScaled(const Frame& f) {
    return (static_cast<double>(f.curve.point[1] - f.curve.point[0]) * 0.5) / static_cast<double>(f.divisor);
}

// h of the latched w2: bg[2] below 20, 1.0 up to 35, bg[3] above.
double hOf(const Frame& f, const CalState& st) {
    if (st.w2 < 20.0f) return f.c.b[2];
    return st.w2 <= 35.0f ? 1.0 : static_cast<double>(f.c.b[3]);
}

// h of 134 from w2, with d = bg[11] - bg[10] in quarters.
double h134(const Frame& f, const CalState& st) {
    const float w = st.w2;
    const float* bg = f.c.b;
    const float d = bg[11] - bg[10];
    if (w < 30.0f) return 1.0;
    if (w < 35.0f) return bg[10];
    if (w < 40.0f) return static_cast<double>(d) * 0.25 + static_cast<double>(bg[10]);
    if (w < 45.0f) return static_cast<double>(2.0f * d) * 0.25 + static_cast<double>(bg[10]);
    if (w < 50.0f) return static_cast<double>(3.0f * d) * 0.25 + static_cast<double>(bg[10]);
    if (w < 55.0f) return static_cast<double>(4.0f * d) * 0.25 + static_cast<double>(bg[10]);
    if (w < 60.0f) return static_cast<double>(d) * 0.25 + static_cast<double>(bg[11]);
    if (w < 65.0f) return static_cast<double>(2.0f * d) * 0.25 + static_cast<double>(bg[11]);
    return static_cast<double>(bg[11]) + static_cast<double>(3.0f * d) * 0.25;
}

// Band W1: nothing above warmDiffHigh, M ramped inside the band, M below.
// W2 moves both limits by the latched w2 first.
struct Band {
    float low, high;
};

Band bandW2(const Frame& f, const CalState& st) {
    const double by = static_cast<double>(st.w2 - 25.0f);
    if (f.dIT >= 0.0f) {
        return {static_cast<float>(static_cast<double>(f.low) - by * 0.02),
                static_cast<float>(static_cast<double>(f.high) - by * 0.02)};
    }
    return {static_cast<float>(static_cast<double>(f.low) + by * 0.028),
            static_cast<float>(static_cast<double>(f.high) + by * 0.028)};
}

float rampIn(const Frame& f, Band b) {
    return static_cast<float>(1.0 - static_cast<double>((f.rampW - b.low) / (b.high - b.low)));
}

float bandW1(double M, const Frame& f, Band b) {
    if (f.c.w > b.high) return 0.0f;
    if (f.c.w > b.low) return static_cast<float>(static_cast<double>(rampIn(f, b)) * M);
    return static_cast<float>(M);
}

// Band W3: A below warmDiffLow, ramped up to warmDiffHigh, nothing from it.
float bandW3(double A, const Frame& f) {
    if (f.c.w < f.low) return static_cast<float>(A);
    if (f.c.w < f.high) return static_cast<float>(A * static_cast<double>(ramp(f)));
    return 0.0f;
}

// 111 and 121: the limits dT and dCH5 latched from the first frame, on the
// third of gc[4]; limits the wrong way round give three quarters early on.
float lensLatch(const Frame& f, CalState& st) {
    const uint8_t* block = f.c.block;
    const bool lens1 = get(block, field::lensType) == 1;
    if (lens1 && st.init_flag == 0) {
        st.dCH5 = f.high;
        st.dT = f.low;
    }
    if (!lens1 || f.c.upTime >= 1800) return 0.0f;
    const double M = static_cast<double>(f.gc[4]) / 3.0;
    const float w = f.c.w;
    const auto ramped = [&] {
        return static_cast<float>(M * (1.0 - static_cast<double>((w - st.dT) / (st.dCH5 - st.dT))));
    };
    if (!(st.dT > st.dCH5)) {
        if (w > st.dCH5) {
            st.xd = 0.0f;
        } else if (w <= st.dT) {
            st.xd = static_cast<float>(M);
        } else {
            st.xd = ramped();
        }
    } else if (f.c.upTime < 120 && static_cast<double>(w) > static_cast<double>(st.dT + st.dCH5) * 0.5) {
        st.xd = static_cast<float>(M * 0.75);
    } else if (w > st.dT) {
        st.xd = static_cast<float>(M);
    } else if (w >= st.dCH5) {
        st.xd = ramped();
    } else {
        st.xd = 0.0f;
    }
    return st.xd / f.divisor;
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

float warmShift(Shift form, const Frame& f, CalState& st) {
    const float dW = f.c.w;
    const float* gc = f.gc;
    const float* mark = f.curve.point + 1;  // mark[r], the grayHigh of row r
    const Band limits{f.low, f.high};
    switch (form) {
        case Shift::None: return 0.0f;
        case Shift::FadeG3:
            if (dW < f.low) {
                st.xd = gc[3];
            } else if (dW > f.high) {
                st.xd = 0.0f;
            } else {
                st.xd = ramp(f) * gc[3];
            }
            return st.xd / f.divisor;
        case Shift::FadeThird4: {
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
        case Shift::Clock1200: return f.c.upTime < 1200 && dW < f.low ? clockRamp(1200, f) : 0.0f;
        case Shift::Clock3000: return f.c.upTime < 3000 && dW < f.low ? clockRamp(3000, f) : 0.0f;
        case Shift::Band83:
            // Inside the band no shift, above it the ramp turns negative.
            if (dW < f.low) return static_cast<float>(halfStep(f));
            if (dW > f.high) return static_cast<float>(halfStep(f) * static_cast<double>(ramp(f)));
            return 0.0f;
        case Shift::Ramp1800:
            return f.c.upTime < 1800 && dW < f.high
                       ? static_cast<float>(halfStep(f) * static_cast<double>(ramp(f)))
                       : 0.0f;
        case Shift::Half102:
            st.xd = static_cast<float>(0.5 * static_cast<double>(gc[1] - gc[0]));
            if (dW > f.high) {
                st.xd = 0.0f;
            } else if (dW >= f.low) {
                st.xd = st.xd * ramp(f);
            }
            return st.xd / f.divisor;
        case Shift::W1Mark6: st.xd = bandW1(mark[6], f, limits); return st.xd / f.divisor;
        case Shift::W1Mark4: st.xd = bandW1(mark[4], f, limits); return st.xd / f.divisor;
        case Shift::W2Mark6: st.xd = bandW1(mark[6], f, bandW2(f, st)); return st.xd / f.divisor;
        case Shift::W1Half: return bandW1(halfStep(f), f, limits);
        case Shift::W1HalfScaled: return bandW1(halfStepScaled(f), f, limits);
        case Shift::W1HalfH: return bandW1(halfStepScaled(f) * hOf(f, st), f, limits);
        case Shift::W2HalfH: return bandW1(halfStepScaled(f) * hOf(f, st), f, bandW2(f, st));
        case Shift::W3Gc4: return bandW3(gc[4] / f.divisor, f);
        case Shift::W3Mark4: return bandW3(mark[4] / f.divisor, f);
        case Shift::W3Step: return bandW3((mark[0] - f.curve.point[0]) / f.divisor, f);
        case Shift::W3Raw: return bandW3((gc[1] - gc[0]) / f.divisor, f);
        case Shift::W3Mark4H134: return bandW3(static_cast<double>(mark[4] / f.divisor) * h134(f, st), f);
        case Shift::LensLatch: return lensLatch(f, st);
        case Shift::ClockAlways: return f.c.upTime < 1200 ? clockRamp(1200, f) : 0.0f;
    }
    return 0.0f;
}

}  // namespace kalviro::ladder
