// The per-frame stage of a ladder CalType, in the order of its steps:
// opening, shutter drift, the branch of the tempRange (seed of wCH5, slopes,
// body drift, warm-up shift, drift counts, rows, lookup), and warmShift.
#include "ladder/stage.hpp"

#include "core/block.hpp"
#include "core/grids.hpp"
#include "core/numeric.hpp"
#include "core/segment_table.hpp"

namespace kalviro::ladder {
namespace {

// const_d, and D where the drift rule has the say over the warm-up shift:
// the warm rule holds in the first clock period only.
float driftCounts(const Branch& br, int32_t N, const Frame& f, const CalState& st, float& D) {
    const auto quad = [](int32_t n) { return static_cast<float>(n > 0 ? wrapShl(n, 2) : n); };
    switch (br.drift) {
        case Drift::Plain: return static_cast<float>(N);
        case Drift::Quad: return quad(N);
        case Drift::TimesB4To5000: return f.c.upTime < 5000 ? static_cast<float>(N) * f.c.b[4] : 0.0f;
        case Drift::LA:
        case Drift::LB:
        case Drift::LC:
        case Drift::LD:
        case Drift::LE:
        case Drift::LF:
        case Drift::LG:
        case Drift::LH:
        case Drift::LI:
        case Drift::L134: return ladderDrift(br.drift, N, f, st);
        case Drift::Periods: {
            if (f.c.upTime < br.periods.first) return quad(N);
            D = 0.0f;
            if (f.c.upTime <= br.periods.last) return quad(N);
            // The long-run drift: the shutter mean against the present one.
            const int32_t scale = get(f.c.block, field::driftScale) / 100;
            return static_cast<float>(
                (static_cast<double>(f.c.m) - static_cast<double>(f.c.c2 + f.c.c3) * 0.5) *
                static_cast<double>(static_cast<float>(scale)));
        }
    }
    return static_cast<float>(N);
}

// x, the lookup value of the stage.
float lookupValue(const Branch& br, const Frame& f, const CalState& st) {
    const float gIn = f.c.gf;
    const float offset = st.const_R;
    const float b = st.const_b;
    const int32_t d = toInt(st.const_d);
    const double e = f.dIT;
    switch (br.join) {
        case Join::Float:
            return static_cast<float>(toInt(st.const_d + static_cast<float>(toInt(offset + (gIn - b)))));
        case Join::FloatAdd:
            return static_cast<float>(toInt(st.const_d + static_cast<float>(toInt(offset + (gIn + b)))));
        case Join::Int: return static_cast<float>(wrapAdd(d, toInt(offset + (gIn - b))));
        case Join::IntAdd: return static_cast<float>(wrapAdd(d, toInt(offset + (gIn + b))));
        case Join::OffsetP2: {
            // const_b is stored for the per-pixel call but not subtracted.
            const double P2 = -0.00150561786065162 * e * e * e - 0.0287875890602743 * e * e -
                              e * 1.03123824100138 - 286.815327857864;
            return static_cast<float>(
                wrapAdd(d, toInt(static_cast<float>(P2 + static_cast<double>(offset)) + gIn)));
        }
        case Join::OffsetP3: {
            const double P3 = 0.0968845687545642 * e * e + (-0.000268427914821979) * e * e * e -
                              e * 2.6023451749582 - 116.915283761753;
            return static_cast<float>(
                wrapAdd(d, toInt(static_cast<float>(P3 + static_cast<double>(offset)) + (gIn - b))));
        }
        case Join::Exact: return (st.const_d + (gIn - b)) + offset;
        case Join::ExactIntDrift: return ((gIn - b) + offset) + static_cast<float>(d);
        case Join::BothInt: return static_cast<float>(toInt((gIn - b) + offset)) + static_cast<float>(d);
    }
    return 0.0f;
}

RowTest rowTest(Join join) {
    switch (join) {
        case Join::Float:
        case Join::FloatAdd:
        case Join::Exact: return RowTest::ClosedOpen;
        default: return RowTest::OpenClosed;
    }
}

// The first frame that reaches a latching branch fixes its static to T1;
// one flag serves both statics, so only that frame's static ever latches.
void latch(Latch which, const Frame& f, CalState& st) {
    if (which == Latch::None || st.flag != 1) return;
    st.flag = 0;
    switch (which) {
        case Latch::W1: st.w1 = f.c.c1; break;
        case Latch::W2: st.w2 = f.c.c1; break;
        case Latch::Ch: st.ch = f.c.c1; break;
        case Latch::None: break;
    }
}

}  // namespace

float stage(const Member& m, CalState& st, uint8_t* block, int32_t gray) {
    // Opening: the atmosphere constants, written back so the block tells what
    // was used.
    set(block, field::atmA, 4);
    set(block, field::atmB, 167);
    st.const_A3 = 0.04f;
    st.const_B3 = 0.167f;
    st.const_R = get(block, field::grayOffset);

    Frame f{};
    f.c = frameCtx(block, static_cast<float>(normalisedGray(block, gray)));
    for (int k = 0; k < 12; ++k) f.gc[k] = f.c.g[k];
    // The long layout keeps tempCH1 only from a branch that runs.
    const bool longForm = m.stage == StageForm::Long;
    if (m.channel == Channel::CH2) {
        st.const_CH2 = f.c.c2;
    } else if (!longForm) {
        st.const_CH1 = f.c.c1;
    }
    f.dIT = f.c.c5 - get(block, field::itRefTemp);
    f.low = get(block, field::warmDiffLow);
    f.high = get(block, field::warmDiffHigh);
    f.divisor = get(block, field::warmDivisor);
    f.driftGain = get(block, field::driftGain);
    f.rampW = f.c.c5 - (m.channel == Channel::CH1 && !longForm ? st.const_CH1 : f.c.c1);
    f.sh2 = get(block, field::shutterCH2);
    f.sh3 = get(block, field::shutterCH3);

    int32_t N = 0;
    if (m.drift == DriftForm::Read) {
        N = get(block, field::shutterDrift);
    } else {
        N = shutterDriftCounts(block, m.drift == DriftForm::NE ? DriftSensor::CH2 : DriftSensor::CH5);
        set(block, field::shutterDrift, N);
    }

    const bool hold = get(block, field::warmHold) != 0;
    float raw = 0.0f;
    float published = 0.0f;
    if (const Branch* br = branchFor(m, get(block, field::tempRange))) {
        if (br->seedWCH5 && static_cast<double>(st.wCH5) >= -1e-06 && static_cast<double>(st.wCH5) <= 1e-06) {
            st.wCH5 = get(block, field::itRefTemp);
        }
        // The scale multiplies the marks as float products; c.g then holds
        // the curve as the grid reads it.
        f.scale = curveScale(*br, f);
        if (br->scale == Scale::None) {
            f.curve = gridCurve(br->grid, block);
        } else {
            f.curve = gridCurve(br->grid, block, f.scale, br->scaleFrom);
            for (int k = br->scaleFrom; k < 12; ++k) f.c.g[k] = f.gc[k] * f.scale;
        }
        gridSlopes(f.curve, f.c.slope);
        st.const_b = bodyDrift(br->body, f);
        latch(br->latch, f, st);
        float D = warmShift(br->warm, f, st);
        st.const_d = driftCounts(*br, N, f, st, D);
        if (hold) D = get(block, field::warmShift);

        segmentBuild(f.curve, br->kD, StepMath::WholeFloat, D, st.tempdata);
        raw = segmentLookup(st.tempdata, gridRows(br->grid), lookupValue(*br, f, st), rowTest(br->join));
        published = br->publish == Publish::Shift ? D : 0.0f;
        if (longForm) st.const_CH1 = f.c.c1;
    }
    if (!hold) set(block, field::warmShift, published);
    return raw;
}

}  // namespace kalviro::ladder
