// State that the Direct CalTypes carry from frame to frame: CalType 22's
// peak detectors and the warm-up limits that 50 and the 51 family latch.
// Each case is a run of per-frame calls on one camera.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "block_builder.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;
using test::stateOf;

// CalType 22 on Grid25, shutter mean 5 (mb 25): const_b = 0.
struct PeakFrame {
    int32_t lensType, upTime, w;
    float shift, dCH5;  // of the lens's own peak set
    int32_t dT;
};

struct PeakRun {
    const char* name;
    float itRefTemp;
    std::vector<PeakFrame> frames;
};

float f22(int32_t upTime) {
    return static_cast<float>((static_cast<double>(upTime - 70) * 0.4) / 180.0 + 0.9);
}
const float kXdAt5 = static_cast<float>(400.0 * (1.0 - static_cast<double>(5.0f - 2.0f) / 5.5));

class Peaks22 : public ::testing::TestWithParam<PeakRun> {};

TEST_P(Peaks22, ShiftAndPeakByFrame) {
    Camera cam(22);
    int n = 0;
    for (const PeakFrame& f : GetParam().frames) {
        Block b = test::quietBlock();
        b.curve({-1600, -1000, -400, 400, 1100, 2100, 3100, 4700, 6300, 7900, 9500, 11700});
        b.with(field::lensType, f.lensType).with(field::upTime, f.upTime).with(field::tempCH2, 600);
        b.with(field::itRefTemp, GetParam().itRefTemp);
        test::atWarm(test::atMean(b, 5.0f), f.w);
        cam.init(0, b.info(), 1.0f, 0.0f);
        const PeakSet& set = stateOf(cam).lens[f.lensType == 2 ? 1 : 0];
        EXPECT_EQ(b.read(field::warmShift), f.shift) << "frame " << ++n;
        EXPECT_EQ(set.dCH5, f.dCH5) << "frame " << n;
        EXPECT_EQ(set.peakUpTime, f.dT) << "frame " << n;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Runs, Peaks22,
    ::testing::Values(
        // 8.0 not at or below 5: A2 restarts the peak; then A1 decays over 1800 from 100.
        PeakRun{"A2ThenA1",
                0.0f,
                {{1, 100, 500, (kXdAt5 / 25.0f) * f22(100), 5.0f, 100},
                 {1, 200, 500, (((kXdAt5 / 25.0f) * f22(200)) * 1700.0f) / 1800.0f, 5.0f, 100}}},
        // Between 6 and 7 lensType 2 keeps its 6.5 (case 3); then case 2: 400 * (1 - 3 * 0.25) / 25.
        PeakRun{"Lens2Case3ThenCase2", 0.0f, {{2, 100, 650, 0.0f, 6.5f, 0}, {2, 100, 500, 4.0f, 5.0f, 100}}},
        // Warm, f = 0.4, x = 40 - 37 = 3: C restarts at 12 with (12 - 10) * -400 * 0.25;
        // D decays over 180; w = 9 is B.
        PeakRun{"CThenDThenB",
                40.0f,
                {{1, 2000, 1200, (-200.0f / 25.0f) * 0.4f, 12.0f, 2000},
                 {1, 2100, 1200, ((1700.0f * (-200.0f / 25.0f)) * 0.4f) / 180.0f, 12.0f, 2000},
                 {1, 2100, 900, 0.0f, 12.0f, 2000}}}),
    [](const auto& p) { return std::string(p.param.name); });

// LensRule's limits: dT, dCH5 and the xd they leave.
constexpr float kAny = -1.0f;  // xd not checked on this frame

struct LatchFrame {
    int32_t tempRange, lensType, upTime, w;
    float low, high, xd;
};

struct LatchRun {
    const char* name;
    std::vector<int> calTypes;
    std::vector<LatchFrame> frames;
};

class Latch : public ::testing::TestWithParam<LatchRun> {};

TEST_P(Latch, LimitsOfTheFirstFrameHold) {
    for (int ct : GetParam().calTypes) {
        Camera cam(ct);
        int n = 0;
        for (const LatchFrame& f : GetParam().frames) {
            Block b = test::lensBlock(ct, f.upTime, f.w, f.low, f.high);
            b.with(field::tempRange, f.tempRange).with(field::lensType, f.lensType);
            cam.init(1000, b.info(), 1.0f, 0.0f);
            ++n;
            EXPECT_EQ(stateOf(cam).init_flag, 1) << "CalType " << ct << ", frame " << n;
            if (f.xd != kAny) {
                EXPECT_EQ(stateOf(cam).xd, f.xd) << "CalType " << ct << ", frame " << n;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Runs, Latch,
    ::testing::Values(
        // 50 truncates the lower limit: (1 - (2.5 - 2) / (6 - 2)) * 100; 2.9 would give 100, 1 and 3 give 25.
        LatchRun{"CalType50WholeLowerLimit",
                 {50},
                 {{2, 1, 600, 250, 2.9f, 6, 87.5f}, {2, 1, 600, 250, 1, 3, 87.5f}}},
        // A first frame of lensType 2 latches 0 and 0: w = 3 above them gives 0, a negative w A.
        LatchRun{
            "CalType50OtherLensFirst",
            {50},
            {{2, 2, 600, 300, 2, 6, kAny}, {2, 1, 600, 300, 2, 6, 0.0f}, {2, 1, 600, -100, 2, 6, 100.0f}}},
        LatchRun{
            "CalType50BeforeTheClock", {50}, {{2, 1, 2000, 250, 2, 6, kAny}, {2, 1, 600, 250, 1, 3, 87.5f}}},
        // The 51 family keeps float limits: 2.5 and 6.5 at w 4.5 give 50.
        LatchRun{
            "FloatLimits", {51, 52}, {{2, 1, 600, 450, 2.5f, 6.5f, 50.0f}, {2, 1, 600, 450, 1, 3, 50.0f}}},
        LatchRun{"UnknownRangeFirst",
                 {51, 52},
                 {{9, 1, 600, 0, 2.5f, 6.5f, kAny},
                  {2, 1, 600, 50, 2.5f, 6.5f, 0.0f},
                  {2, 1, 600, -50, 2.5f, 6.5f, 100.0f}}},
        LatchRun{
            "BeforeTheClock", {51, 52}, {{2, 1, 1800, 0, 2.5f, 6.5f, 0.0f}, {2, 1, 600, 450, 1, 3, 50.0f}}}),
    [](const auto& p) { return std::string(p.param.name); });

}  // namespace
}  // namespace kalviro
