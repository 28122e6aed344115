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
float driftCounts(const Branch& br, int32_t N, const Frame& f, float& D) {
    const auto quad = [](int32_t n) { return static_cast<float>(n > 0 ? wrapShl(n, 2) : n); };
    switch (br.drift) {
        case Drift::Plain: return static_cast<float>(N);
        case Drift::Quad: return quad(N);
        case Drift::TimesB4To5000: return f.c.upTime < 5000 ? static_cast<float>(N) * f.c.b[4] : 0.0f;
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
    }
    return 0.0f;
}

RowTest rowTest(Join join) {
    return join == Join::Float || join == Join::FloatAdd ? RowTest::ClosedOpen : RowTest::OpenClosed;
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
    if (m.channel == Channel::CH1) {
        st.const_CH1 = f.c.c1;
    } else {
        st.const_CH2 = f.c.c2;
    }
    f.dIT = f.c.c5 - get(block, field::itRefTemp);
    f.low = get(block, field::warmDiffLow);
    f.high = get(block, field::warmDiffHigh);
    f.divisor = get(block, field::warmDivisor);
    f.driftGain = get(block, field::driftGain);
    f.rampW = f.c.c5 - (m.channel == Channel::CH1 ? st.const_CH1 : f.c.c1);

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
        const Curve curve = gridCurve(br->grid, block);
        gridSlopes(curve, f.c.slope);
        st.const_b = bodyDrift(br->body, f);
        float D = warmShift(br->warm, f, st);
        st.const_d = driftCounts(*br, N, f, D);
        if (hold) D = get(block, field::warmShift);

        segmentBuild(curve, br->kD, StepMath::WholeFloat, D, st.tempdata);
        raw = segmentLookup(st.tempdata, gridRows(br->grid), lookupValue(*br, f, st), rowTest(br->join));
        published = br->publish == Publish::Shift ? D : 0.0f;
    }
    if (!hold) set(block, field::warmShift, published);
    return raw;
}

}  // namespace kalviro::ladder
