// The per-frame stage of a ladder CalType, in the order of its steps:
// opening, shutter drift, the branch of the tempRange (seed of wCH5, slopes,
// body drift, warm-up shift, drift counts, rows, lookup), and warmShift; then
// the per-frame call in each result form.
#include "ladder/stage.hpp"

#include "core/block.hpp"
#include "core/four_range.hpp"
#include "core/frame_stage.hpp"
#include "core/grids.hpp"
#include "core/lookup_value.hpp"
#include "core/numeric.hpp"
#include "core/segment_table.hpp"
#include "ladder/family.hpp"

namespace kalviro::ladder {
namespace {

// const_d, and D where the drift rule has the say over the warm-up shift:
// the warm rule holds in the first clock period only.
float driftCounts(const Branch& br, int32_t N, const Frame& f, const CalState& st, float& D) {
    switch (br.drift) {
        case Drift::Plain: return static_cast<float>(N);
        case Drift::Quad: return quadDrift(N);
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
        case Drift::L134: return multipliedDrift(br.drift, N, f, st);
        case Drift::Periods: {
            if (f.c.upTime < br.periods.first) return quadDrift(N);
            D = 0.0f;
            if (f.c.upTime <= br.periods.last) return quadDrift(N);
            // The long-run drift: the shutter mean against the present one.
            const int32_t scale = get(f.c.block, field::driftScale) / 100;
            return static_cast<float>(
                (static_cast<double>(f.c.m) - static_cast<double>(f.c.c2 + f.c.c3) * 0.5) *
                static_cast<double>(static_cast<float>(scale)));
        }
    }
    return static_cast<float>(N);
}

RowTest rowTest(Join join) {
    switch (join) {
        case Join::Float:
        case Join::FloatAdd:
        case Join::ExactDriftFirst: return RowTest::ClosedOpen;
        default: return RowTest::OpenClosed;
    }
}

// The first frame that reaches a latching branch fixes its static to c1;
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

// The ladder steps of the per-frame stage.
struct Steps {
    using Row = Recipe;
    using Branch = ladder::Branch;
    using Frame = ladder::Frame;

    static Frame frame(const Recipe& r, CalState& st, uint8_t* block, int32_t gray) {
        Frame f{};
        f.c = frameCtx(block, static_cast<float>(normalisedGray(block, gray)));
        for (int k = 0; k < 12; ++k) f.gc[k] = f.c.g[k];
        // The long layout keeps tempCH1 only from a branch that runs.
        const bool longForm = r.stage == StageForm::Long;
        if (r.channel == Channel::CH2) {
            st.const_CH2 = f.c.c2;
        } else if (!longForm) {
            st.const_CH1 = f.c.c1;
        }
        f.dIT = f.c.c5 - get(block, field::itRefTemp);
        f.low = get(block, field::warmDiffLow);
        f.high = get(block, field::warmDiffHigh);
        f.divisor = get(block, field::warmDivisor);
        f.driftGain = get(block, field::driftGain);
        f.rampW = f.c.c5 - (r.channel == Channel::CH1 && !longForm ? st.const_CH1 : f.c.c1);
        f.sh2 = get(block, field::shutterCH2);
        f.sh3 = get(block, field::shutterCH3);
        if (r.drift == DriftForm::Read) {
            f.N = get(block, field::shutterDrift);
        } else {
            f.N = shutterDriftCounts(block, r.drift == DriftForm::NE ? DriftSensor::CH2 : DriftSensor::CH5);
            set(block, field::shutterDrift, f.N);
        }
        return f;
    }
    static bool wCH5Unset(float wCH5) { return wCH5UnsetDouble(wCH5); }
    // The scale multiplies the marks as float products; c.g then holds the
    // curve as the grid reads it.
    static Curve curve(const Branch& br, Frame& f) {
        f.scale = curveScale(br, f);
        if (br.scale == Scale::None) return gridCurve(br.grid, f.c.block);
        for (int k = br.scaleFrom; k < 12; ++k) f.c.g[k] = f.gc[k] * f.scale;
        return gridCurve(br.grid, f.c.block, f.scale, br.scaleFrom);
    }
    static float bodyDrift(const Branch& br, const Frame& f, const CalState&) {
        return ladder::bodyDrift(br.body, f);
    }
    static float warmShift(const Branch& br, const Frame& f, CalState& st) {
        latch(br.latch, f, st);
        return ladder::warmShift(br.shift, f, st);
    }
    static float driftCounts(const Branch& br, const Frame& f, const CalState& st, float& D) {
        return ladder::driftCounts(br, f.N, f, st, D);
    }
    static StepMath stepMath(const Branch&) { return StepMath::WholeFloat; }
    static float lookupValue(const Branch& br, const Frame& f, const CalState& st) {
        return kalviro::lookupValue(br.join, f.c.gf, st, f.dIT);
    }
    static RowTest rowTest(const Recipe&, const Branch& br, int32_t) { return ladder::rowTest(br.join); }
    static void branchDone(const Recipe& r, const Frame& f, CalState& st) {
        if (r.stage == StageForm::Long) st.const_CH1 = f.c.c1;
    }
};

}  // namespace

float stage(const Recipe& r, CalState& st, uint8_t* block, int32_t gray) {
    Frame f{};
    return frameStage<Steps>(r, st, block, gray, f);
}

float frameDegrees(const Recipe& r, CalState& st, uint8_t* block, int32_t gray, float emissivity,
                   float distance) {
    (void)distance;  // the per-frame result takes the block's distance only
    switch (r.stage) {
        case StageForm::Skeleton: {
            const float raw = stage(r, st, block, gray);
            return static_cast<float>(frameResult(r, raw, block, emissivity)) / 100.0f;
        }
        case StageForm::Long: {
            const float raw = stage(r, st, block, gray);
            const int32_t hundredths = frameResult(r, raw, block, emissivity);
            // The first frame's limits are kept from here on.
            if (st.init_flag == 0) st.init_flag = 1;
            return static_cast<float>(hundredths / 100);
        }
        case StageForm::FourRange: {
            const FourRangeLookup look = fourRangeFrame(st, block, gray, FourRangeMath::Ladder);
            if (r.channel == Channel::CH1) st.const_CH1 = st.const_CH2;
            return static_cast<float>(frameResultFourRange(r, look.raw, block, emissivity)) / 100.0f;
        }
    }
    return 0.0f;
}

}  // namespace kalviro::ladder
