// CalTypes 22, 23, 56 and 58's own rules: 22's peak detectors and drift
// gain, 23's neutral per-frame air and 1400-degree grid, 56's clock factor
// and what each range leaves in warmShift.
#include <gtest/gtest.h>

#include "block_builder.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;

// CalType 22, lensType 1, tempRange 2, worked by hand: the baseline curve,
// shutter mean 9.5 (mb 29.5), driftGain 1.5, itRefTemp 30, emissivity 0.90.
TEST(OwnRulesWorked, CalType22Lens1Range2) {
    constexpr float kConstB = -198.0f;  // G 1.1 * ((25 - 29.5) * 40), mb in 25 up to 35
    // base = (int)((1000 + 198) + 10) = 1208 = fb. h = itRefTemp = 30,
    // w = 29 - 25 = 4, x = h - c5 = 1. upTime 600 < 1000 and 8.0 > w: case A2.
    // f = (float)(1.3 - (400 * 0.8) / 600) = 0.76666665.
    constexpr float kXd = 254.5454559326172f;   // (float)(400 * (1 - 2 / 5.5))
    constexpr float kShift = 7.806060314178467f;  // (254.54546 / 25) * f; fb below g[5]: kept
    constexpr float kConstD = 2.0f;             // c = 1.0 for w in 3.5..10, fb below g[5]
    // v = (int)(2 + 1208) = 1210 in row 5, whose grayBase takes factor 1.1.
    constexpr float kGrayBase5 = 1091.413330078125f;  // 1100 + s * -1.1
    // T = (1210 - 1091.41333) / 50 + 50 = 52.371735.
    constexpr float kInit = 53.56f;                   // Tc 53.23641586 at 10 m, K 1012: r 5356
    constexpr float kReal = 53.57f;                   // (int)F = 5357, no boost in 22

    Block b = test::workedBlockRange2();
    b.with(field::shutterCH2, 10.0f)
        .with(field::shutterCH3, 9.0f)
        .with(field::tempCH2, 1100)  // drift 2 as in the baseline block
        .with(field::driftGain, 1.5f)
        .with(field::itRefTemp, 30.0f)
        .with(field::lensType, 1);
    Camera cam(22);
    EXPECT_EQ(cam.init(1000, b.info(), 0.90f, 0.0f), kInit);
    EXPECT_EQ(cam.state().const_b, kConstB);
    EXPECT_EQ(cam.state().const_d, kConstD);
    EXPECT_EQ(cam.state().lens[0].xd, kXd);
    EXPECT_EQ(cam.state().lens[0].dCH5, 4.0f);
    EXPECT_EQ(cam.state().lens[0].dT, 600);
    EXPECT_EQ(cam.state().wCH5, 30.0f);  // A2 keeps h
    EXPECT_EQ(b.read(field::warmShift), kShift);
    EXPECT_EQ(cam.state().tempdata[5].grayBase, kGrayBase5);
    EXPECT_EQ(cam.real(1000, b.info(), 0.90f, 0.0f), kReal);

    // At 1.5 metres and K 1000 the raw temperature shows, to the hundredth.
    Block near = b;
    near.with(field::distance, 150).with(field::itRefTemp, 30.0f);
    Camera fresh(22);
    EXPECT_EQ(fresh.init(1000, near.info(), 1.0f, 0.0f), 52.37f);
    EXPECT_EQ(fresh.real(1000, near.info(), 1.0f, 0.0f), 52.37f);
}

// Grid25 of the baseline, shutter mean 5 (mb 25: const_b = 0, so base = gray).
Block block22(int32_t lensType, int32_t upTime, int32_t wHundredths) {
    Block b = test::quietBlock();
    b.curve({-1600, -1000, -400, 400, 1100, 2100, 3100, 4700, 6300, 7900, 9500, 11700})
        .with(field::lensType, lensType)
        .with(field::upTime, upTime)
        .with(field::tempCH2, 600)  // 1.00 above the shutter: drift 2
        .with(field::shutterLin, 2.0f);
    test::atMean(b, 5.0f);
    test::atWarm(b, wHundredths);
    return b;
}

float f22(int32_t upTime) {
    return static_cast<float>((static_cast<double>(upTime - 70) * 0.4) / 180.0 + 0.9);
}

TEST(CalType22Peaks, FirstLowFrameRestartsThenDecays) {
    Block b = block22(1, 100, 500);
    Camera cam(22);
    cam.init(0, b.info(), 1.0f, 0.0f);
    const float xd = static_cast<float>(400.0 * (1.0 - static_cast<double>(5.0f - 2.0f) / 5.5));
    EXPECT_EQ(cam.state().lens[0].dCH5, 5.0f);  // 8.0 was not at or below 5: A2
    EXPECT_EQ(cam.state().lens[0].dT, 100);
    EXPECT_EQ(cam.state().lens[0].xd, xd);
    EXPECT_EQ(b.read(field::warmShift), (xd / 25.0f) * f22(100));

    b.with(field::upTime, 200);  // w = 5 again: A1, decay over 1800 from 100
    cam.init(0, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().lens[0].dCH5, 5.0f);
    EXPECT_EQ(cam.state().lens[0].dT, 100);
    EXPECT_EQ(b.read(field::warmShift), (((xd / 25.0f) * f22(200)) * 1700.0f) / 1800.0f);
}

TEST(CalType22Peaks, Lens2BetweenSixAndSevenKeepsThePeak) {
    Block b = block22(2, 100, 650);
    Camera cam(22);
    cam.init(0, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(b.read(field::warmShift), 0.0f);  // case 3
    EXPECT_EQ(cam.state().lens[1].dCH5, 6.5f);
    EXPECT_EQ(cam.state().lens[1].dT, 0);
    EXPECT_EQ(cam.state().lens[0].dCH5, 8.0f);  // the other set untouched

    test::atWarm(b, 500);  // case 2: 400 * (1 - 3 * 0.25) = 100
    cam.init(0, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().lens[1].dCH5, 5.0f);
    EXPECT_EQ(cam.state().lens[1].xd, 100.0f);
    EXPECT_EQ(b.read(field::warmShift), 4.0f);
}

// Warm camera, upTime 2000 (f = 0.4), w = 12, x = h - c5 = 40 - 37 = 3.
TEST(CalType22Peaks, HighRegimeRestartDecayAndB) {
    Block b = block22(1, 2000, 1200);
    b.with(field::itRefTemp, 40.0f);
    Camera cam(22);
    cam.init(0, b.info(), 1.0f, 0.0f);  // 8.0 below 12: case C
    EXPECT_EQ(cam.state().lens[0].dCH5, 12.0f);
    EXPECT_EQ(cam.state().lens[0].dT, 2000);
    EXPECT_EQ(cam.state().lens[0].xd, -200.0f);  // (12 - 10) * -400 * 0.25
    EXPECT_EQ(b.read(field::warmShift), (-200.0f / 25.0f) * 0.4f);
    EXPECT_EQ(cam.state().wCH5, 40.0f);

    b.with(field::upTime, 2100);  // 12 not above the peak 12: case D, divisor 180
    cam.init(0, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(b.read(field::warmShift), ((1700.0f * (-200.0f / 25.0f)) * 0.4f) / 180.0f);
    EXPECT_EQ(cam.state().lens[0].dT, 2000);
    EXPECT_EQ(cam.state().wCH5, 40.0f);  // x = 3 at or above 2.2: h

    test::atWarm(b, 900);  // w = 9: case B
    cam.init(0, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(b.read(field::warmShift), 0.0f);
    EXPECT_EQ(cam.state().lens[0].dCH5, 12.0f);
}

TEST(CalType22Peaks, SmallXIsCaseB) {
    Block b = block22(1, 2000, 1200);
    b.with(field::itRefTemp, 39.0f);  // x = 2
    Camera cam(22);
    cam.init(0, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(b.read(field::warmShift), 0.0f);
    EXPECT_EQ(cam.state().lens[0].dCH5, 8.0f);
}

// Drift gain c: from the clock up to upTime 550, then by w; then by fb.
struct Gain22Case {
    int32_t upTime;
    int32_t wHundredths;
    int32_t gray;  // = fb
    float c;
};

class Gain22 : public ::testing::TestWithParam<Gain22Case> {};

TEST_P(Gain22, ConstDIsCTimesDrift) {
    const Gain22Case p = GetParam();
    Block b = block22(0, p.upTime, p.wHundredths);
    Camera cam(22);
    cam.init(p.gray, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().const_d, p.c * 2.0f);
}

// (float)((double)c * (1 - ((fb - g[5]) * 2.5) / (g[9] - g[5]))) with c = 1.
float between(float fb) {
    return static_cast<float>(1.0 * (1.0 - (static_cast<double>(fb - 2100.0f) * 2.5) / 5800.0));
}

INSTANTIATE_TEST_SUITE_P(
    Limits, Gain22,
    ::testing::Values(
        Gain22Case{550, 0, 0, static_cast<float>(1.2 - (480.0 * 0.2) / 480.0)},  // the clock
        Gain22Case{551, 0, 0, 1.5f},                                            // w from -5 up to 3.5
        Gain22Case{70, 0, 0, static_cast<float>(1.2 - 0.0 / 480.0)},
        Gain22Case{2000, 350, 0, 1.0f},    // 3.5 to 10
        Gain22Case{2000, 1000, 0, 1.0f},   // 10 inclusive
        Gain22Case{2000, 1500, 0, static_cast<float>(static_cast<double>(15.0f - 10.0f) / 10.0 + 1.0)},
        Gain22Case{2000, 1501, 0, 0.0f},
        Gain22Case{2000, 400, 2100, 1.0f},             // fb on g[5]: c stays
        Gain22Case{2000, 400, 5000, between(5000)},    // -0.25
        Gain22Case{2000, 400, 7900, -1.5f},            // fb on g[9]: the formula gives -1.5
        Gain22Case{2000, 400, 8700, between(8700)},    // beyond -1.5
        Gain22Case{2000, 400, 9500, -1.5f}));          // g[10]: c * -1.5

// CalType 23: the per-frame air correction is neutral, whatever the distance
// and humidity; the per-pixel one is not.
class Neutral23 : public ::testing::TestWithParam<std::pair<int32_t, int32_t>> {};

TEST_P(Neutral23, InitIgnoresDistanceAndHumidity) {
    Block b = test::workedBlockRange2();
    b.with(field::distance, GetParam().first).with(field::humidity, GetParam().second);
    Camera cam(23);
    EXPECT_EQ(cam.init(1000, b.info(), 1.0f, 0.0f), 52.0f);
    const float real = cam.real(1000, b.info(), 1.0f, 0.0f);
    if (GetParam().first == 150) {
        EXPECT_EQ(real, 52.0f);
    } else {
        EXPECT_GT(real, 52.5f);
    }
}

INSTANTIATE_TEST_SUITE_P(AirSettings, Neutral23,
                         ::testing::Values(std::pair{150, 60}, std::pair{1000, 60}, std::pair{1000, 20},
                                           std::pair{3000, 90}));

TEST(CalType23, RealDependsOnHumidity) {
    Block b = test::workedBlockRange2();
    Camera cam(23);
    cam.init(1000, b.info(), 1.0f, 0.0f);
    const float at60 = cam.real(1000, b.info(), 1.0f, 0.0f);
    b.with(field::humidity, 10);
    EXPECT_NE(cam.real(1000, b.info(), 1.0f, 0.0f), at60);
}

// CalType 23, tempRange 3: row 11 runs from g[11] (1400) with the slope to
// the word at 0x030 (1700) and extrapolates above both.
class High12 : public ::testing::TestWithParam<std::pair<int32_t, float>> {};

TEST_P(High12, Row11Extrapolates) {
    Block b = test::quietBlock();
    b.curve({0, 500, 1500, 2500, 3500, 4500, 6000, 7000, 8000, 9000, 10000, 11000})
        .with(field::warmDiffLow, 14000.0f)  // slope (14000 - 11000) / 300 = 10
        .with(field::tempRange, 3);
    Camera cam(23);
    EXPECT_EQ(cam.init(GetParam().first, b.info(), 1.0f, 0.0f), GetParam().second);
    EXPECT_EQ(cam.real(GetParam().first, b.info(), 1.0f, 0.0f), GetParam().second);
    EXPECT_EQ(cam.state().tempdata[11].graySlope, 10.0f);
    EXPECT_EQ(cam.state().tempdata[11].grayHigh, 131070.0f);
}

INSTANTIATE_TEST_SUITE_P(AboveG11, High12,
                         ::testing::Values(std::pair{10500, 1300.0f},  // row 10: 500 / 5 + 1200
                                           std::pair{12500, 1550.0f},  // 1500 / 10 + 1400
                                           std::pair{15000, 1800.0f}));

// CalType 23, tempRange 3: the ramp runs while w is below warmDiffHigh.
// (1200 - 600) * ((500 - 0) * 0.5 / 25) / 1200 = 5.
TEST(CalType23, Range3ShiftLimitIsWarmDiffHigh) {
    for (auto [w, shift] :
         {std::pair{100, 5.0f}, std::pair{400, 5.0f}, std::pair{599, 5.0f}, std::pair{600, 0.0f}}) {
        Block b = test::quietBlock();
        b.curve({0, 500, 1500, 2500, 3500, 4500, 6000, 7000, 8000, 9000, 10000, 11000})
            .with(field::warmDiffLow, 14000.0f)
            .with(field::warmDiffHigh, 6.0f)
            .with(field::tempRange, 3)
            .with(field::upTime, 600);
        test::atWarm(b, w);
        Camera cam(23);
        cam.init(0, b.info(), 1.0f, 0.0f);
        EXPECT_EQ(b.read(field::warmShift), shift) << "w " << w;
    }
}

// CalType 56, tempRange 2: s = M * (A / 25) with A = g[6] / 3 = 100, on
// GridFine45 plain; row 0 counts down from g[1] = -650.
class Clock56 : public ::testing::TestWithParam<std::pair<int32_t, float>> {};

TEST_P(Clock56, FactorByUpTime) {
    Block b = test::quietBlock();
    b.curve({-750, -650, -540, -420, -290, -150, 300, 415, 775, 1155, 1555, 1975})
        .with(field::upTime, GetParam().first);
    Camera cam(56);
    cam.init(0, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(cam.state().tempdata[0].grayBase, -650.0f - 4.0f * GetParam().second);
    EXPECT_EQ(b.read(field::warmShift), 0.0f);
}

INSTANTIATE_TEST_SUITE_P(Limits, Clock56,
                         ::testing::Values(std::pair{0, 1.0f}, std::pair{449, 1.0f}, std::pair{450, 2.0f},
                                           std::pair{899, 2.0f}, std::pair{900, 3.0f}, std::pair{1349, 3.0f},
                                           std::pair{1350, 2.0f}, std::pair{1799, 2.0f}, std::pair{1800, 1.0f}));

// CalType 56 publishes 0.0 after tempRange 2 and 3, and s after 4.
class Store56 : public ::testing::TestWithParam<std::pair<int32_t, float>> {};

TEST_P(Store56, WarmShiftByRange) {
    Block b = test::quietBlock();
    b.curve({-750, -650, -540, -420, 300, 415, 775, 1155, 1555, 1975, 2400, 2900})
        .with(field::tempRange, GetParam().first)
        .with(field::upTime, 600)
        .with(field::warmShift, 9.0f);
    Camera cam(56);
    cam.init(0, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(b.read(field::warmShift), GetParam().second);
}

// tempRange 4: (1200 - 600) * ((-650 + 750) * 0.5 / 25) / 1200 = 1.
INSTANTIATE_TEST_SUITE_P(Ranges, Store56,
                         ::testing::Values(std::pair{2, 0.0f}, std::pair{3, 0.0f}, std::pair{4, 1.0f}));

}  // namespace
}  // namespace kalviro
