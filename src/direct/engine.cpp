// The two stages of a Direct CalType, walked in the order a gray value goes
// through them: opening, shutter drift, body drift, gray normalisation,
// warm-up shift, drift counts, segment build, segment lookup, atmosphere,
// emissivity and final scaling.
#include "core/atmosphere.hpp"
#include "core/block.hpp"
#include "core/frame.hpp"
#include "core/numeric.hpp"
#include "direct/pixel.hpp"
#include "direct/recipe.hpp"

namespace kalviro::direct {
namespace {

float lookupValue(Join join, float constD, const CalState& st, const FrameCtx& c) {
    switch (join) {
        case Join::Float: return static_cast<float>(toInt(constD + static_cast<float>(c.base)));
        case Join::Int: return static_cast<float>(wrapAdd(toInt(constD), c.base));
        case Join::Exact: return ((c.gf - st.const_b) + st.const_R) + constD;
        case Join::ExactIntDrift:
            return ((c.gf - st.const_b) + st.const_R) + static_cast<float>(toInt(constD));
        case Join::BothInt:
            return static_cast<float>(toInt((c.gf - st.const_b) + st.const_R)) +
                   static_cast<float>(toInt(constD));
    }
    return 0.0f;
}

float frameAir(Air air, const FrameCtx& c) { return air == Air::C2 ? c.c2 : c.c1; }

// The static that carries the per-pixel air temperature: const_CH2 holds c2.
bool pixelAirIsC2(Air air) { return air == Air::C1FrameC2 || air == Air::C2; }

}  // namespace

int32_t engineEarly(const Recipe& r, CalState& st, uint8_t* block, int32_t gray, float emissivity,
                    float distance) {
    // Opening: the atmosphere constants, written back so the block tells what
    // was used.
    set(block, field::atmA, 4);
    set(block, field::atmB, 167);
    st.const_A3 = 0.04f;
    st.const_B3 = 0.167f;
    st.const_R = get(block, field::grayOffset);

    const float gf = static_cast<float>(normalisedGray(block, gray));
    int32_t drift;
    if (r.computesDrift) {
        drift = shutterDriftCounts(block, DriftSensor::CH2);
        set(block, field::shutterDrift, drift);
    } else {
        drift = get(block, field::shutterDrift);
    }

    FrameCtx c = frameCtx(block, gf);
    if (pixelAirIsC2(r.air)) {
        st.const_CH2 = c.c2;
    } else {
        st.const_CH1 = c.c1;
    }

    float T = 0.0f;
    float published = 0.0f;
    const int32_t range = get(block, field::tempRange);
    if (const Branch* br = branchFor(r, range)) {
        if (br->latchWCH5 && st.wCH5 >= -0.000001f && st.wCH5 <= 0.000001f) {
            st.wCH5 = get(block, field::itRefTemp);
        }
        gridSlopes(br->grid, block, c.slope);
        st.const_b = bodyDrift(br->body, c);
        c.base = toInt((gf - st.const_b) + st.const_R);
        const float s = warmShift(br->shift, c, st);
        st.const_d = driftCounts(br->drift, drift, c);
        const float v = lookupValue(br->join, st.const_d, st, c);

        const bool hold = get(block, field::warmHold) != 0;
        segmentBuild(br->grid, br->steps, block, hold ? get(block, field::warmShift) : s, st.tempdata);
        const RowTest test = range == 2 ? r.test2 : RowTest::OpenClosed;
        T = segmentLookup(st.tempdata, gridRows(br->grid), v, test);
        published = br->store == Store::Shift ? s : 0.0f;
    }

    if (get(block, field::warmHold) == 0) set(block, field::warmShift, published);

    const float air = frameAir(r.air, c);
    const float Tc =
        r.air == Air::NeutralC1 ? atmosphereFrameNeutral(T, air) : atmosphereFrame(T, block, air, distance);
    const int32_t out = scaleFrame(Tc, emissFactor(r.emissivity, emissivity), air, block);
    if (r.result != Result::Hundredths && st.init_flag == 0) st.init_flag = 1;
    return out;
}

float frameDegrees(const Recipe& r, CalState& st, uint8_t* block, int32_t gray, float emissivity,
                   float distance) {
    const int32_t h = engineEarly(r, st, block, gray, emissivity, distance);
    return r.result == Result::Hundredths ? static_cast<float>(h) / 100.0f : static_cast<float>(h / 100);
}

}  // namespace kalviro::direct
