// The two stages of a Direct CalType, walked in the order a gray value goes
// through them: the per-frame stage's steps (the skeleton runs them), then
// atmosphere, emissivity and final scaling.
#include "core/atmosphere.hpp"
#include "core/block.hpp"
#include "core/frame.hpp"
#include "core/frame_stage.hpp"
#include "core/numeric.hpp"
#include "direct/pixel.hpp"
#include "direct/recipe.hpp"

namespace kalviro::direct {
namespace {

// The shorthands of a Direct frame and its shutter drift counts.
struct Frame {
    FrameCtx c;
    Curve curve;
    int32_t drift;
};

// The Direct steps of the per-frame stage.
struct Steps {
    using Row = Recipe;
    using Branch = direct::Branch;
    using Frame = direct::Frame;

    static Frame frame(const Recipe& r, CalState& st, uint8_t* block, int32_t gray) {
        Frame f{};
        const float gf = static_cast<float>(normalisedGray(block, gray));
        if (r.computesDrift) {
            f.drift = shutterDriftCounts(block, DriftSensor::CH2);
            set(block, field::shutterDrift, f.drift);
        } else {
            f.drift = get(block, field::shutterDrift);
        }
        f.c = frameCtx(block, gf);
        if (pixelAirIsC2(r.air)) {
            st.const_CH2 = f.c.c2;
        } else {
            st.const_CH1 = f.c.c1;
        }
        return f;
    }
    static bool wCH5Unset(float wCH5) { return wCH5UnsetFloat(wCH5); }
    static Curve curve(const Branch& br, const Frame& f) { return gridCurve(br.grid, f.c.block); }
    // const_b, and base, the gray value it corrects as a whole count.
    static float bodyDrift(const Branch& br, Frame& f, const CalState& st) {
        const float b = direct::bodyDrift(br.body, f.c);
        f.c.base = toInt((f.c.gf - b) + st.const_R);
        return b;
    }
    static float warmShift(const Branch& br, const Frame& f, CalState& st) {
        return direct::warmShift(br.shift, f.c, st);
    }
    static float driftCounts(const Branch& br, const Frame& f, const CalState&, float&) {
        return direct::driftCounts(br.drift, f.drift, f.c);
    }
    static StepMath stepMath(const Branch& br) {
        return br.steps == kalviro::Steps::Ext45 ? StepMath::Double : StepMath::Float;
    }
    static float lookupValue(const Branch& br, const Frame& f, const CalState& st) {
        return kalviro::lookupValue(br.join, f.c.gf, st, 0.0f);
    }
    static RowTest rowTest(const Recipe& r, const Branch&, int32_t range) {
        return range == 2 ? r.test2 : RowTest::OpenClosed;
    }
    static void branchDone(const Recipe&, const Frame&, CalState&) {}
};

float frameAir(Air air, const FrameCtx& c) { return air == Air::C2 ? c.c2 : c.c1; }

}  // namespace

int32_t frameHundredths(const Recipe& r, CalState& st, uint8_t* block, int32_t gray, float emissivity,
                        float distance) {
    Frame f{};
    const float T = frameStage<Steps>(r, st, block, gray, f);
    const float air = frameAir(r.air, f.c);
    const float Tc =
        r.air == Air::NeutralC1 ? atmosphereFrameNeutral(T, air) : atmosphereFrame(T, block, air, distance);
    const int32_t out = scaleFrame(Tc, emissFactor(r.emissivity, emissivity), air, block);
    if (r.result != Result::Hundredths && st.init_flag == 0) st.init_flag = 1;
    return out;
}

float frameDegrees(const Recipe& r, CalState& st, uint8_t* block, int32_t gray, float emissivity,
                   float distance) {
    const int32_t h = frameHundredths(r, st, block, gray, emissivity, distance);
    return r.result == Result::Hundredths ? static_cast<float>(h) / 100.0f : static_cast<float>(h / 100);
}

}  // namespace kalviro::direct
