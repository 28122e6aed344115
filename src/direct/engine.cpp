// The two stages of a Direct CalType, walked in the order a gray value goes
// through them: opening, shutter drift, body drift, gray normalisation,
// warm-up shift, drift counts, segment build, segment lookup, atmosphere,
// emissivity and final scaling.
#include "core/atmosphere.hpp"
#include "core/block.hpp"
#include "core/numeric.hpp"
#include "direct/recipe.hpp"

namespace kalviro::direct {
namespace {

// Gray counts from the change of tempCH2 since the last shutter event.
int32_t shutterDriftCounts(const uint8_t* block) {
    const int32_t a = toInt(get(block, field::shutterCH2) * 100.0f);
    const float d = static_cast<float>(wrapSub(get(block, field::tempCH2), a));
    const float quad = get(block, field::shutterQuad) * d * d;
    const float lin = d * get(block, field::shutterLin);
    return toInt(static_cast<double>(quad) / 10000.0 + static_cast<double>(lin) / 100.0);
}

}  // namespace

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
        drift = shutterDriftCounts(block);
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

float engineRealtime(const Recipe& r, const CalState& st, const uint8_t* block, int32_t gray,
                     float emissivity, float distance) {
    const EmissFactor f = emissFactor(r.emissivity, emissivity);
    const float gf = static_cast<float>(normalisedGray(block, gray));

    float T = 0.0f;
    if (const Branch* br = branchFor(r, get(block, field::tempRange))) {
        const int32_t v = wrapAdd(toInt((gf - st.const_b) + st.const_R), toInt(st.const_d));
        T = segmentLookup(st.tempdata, gridRows(br->grid), static_cast<float>(v), RowTest::OpenClosed);
    }

    const float air = pixelAirIsC2(r.air) ? st.const_CH2 : st.const_CH1;
    const float Tc = atmospherePixel(T, block, air, distance, st.const_A3, st.const_B3);
    const float F = scalePixel(Tc, f, air, block);

    switch (r.result) {
        case Result::Hundredths: return static_cast<float>(r.boost ? distanceBoost(F, block) : toInt(F));
        case Result::LongPlain: return F;
        case Result::LongWindow: {
            const float W = static_cast<float>(get(block, field::windowTransLong)) / 100.0f;
            return F / W - (air * (1.0f - W)) * 100.0f;
        }
    }
    return 0.0f;
}

}  // namespace kalviro::direct
