// The atmospheric correction in its two forms. Neutral at 1.5 m; the block's
// distance decides, the argument only through a NaN.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "block_builder.hpp"
#include "core/atmosphere.hpp"
#include "kalviro.h"

namespace kalviro {
namespace {

using test::Block;

constexpr float kA3 = 0.04f;
constexpr float kB3 = 0.167f;

Block air(int32_t distance, int32_t humidity) {
    Block b;
    b.with(field::distance, distance).with(field::humidity, humidity);
    return b;
}

float frameForm(float T, const Block& b, float airTemp, float distance = 0.0f) {
    return atmosphereFrame(T, b.raw(), airTemp, distance);
}

float pixelForm(float T, const Block& b, float airTemp, float distance = 0.0f) {
    return atmospherePixel(T, b.raw(), airTemp, distance, kA3, kB3);
}

bool withinOneUlp(float got, float want) {
    return got == want || got == std::nextafter(want, INFINITY) || got == std::nextafter(want, -INFINITY);
}

struct NeutralCase {
    float T;
    float air;
    int32_t humidity;
};

class NeutralDistance : public testing::TestWithParam<NeutralCase> {};

// At 1.5 m the exponent is 0 and e is 1; the factor (1 - A) / C is
// 1.0000000233, not 1, since C is a rounded float.
TEST_P(NeutralDistance, GivesTBackToTheLastPlace) {
    const NeutralCase& c = GetParam();
    const Block b = air(150, c.humidity);
    EXPECT_TRUE(withinOneUlp(frameForm(c.T, b, c.air), c.T)) << frameForm(c.T, b, c.air);
    EXPECT_TRUE(withinOneUlp(pixelForm(c.T, b, c.air), c.T)) << pixelForm(c.T, b, c.air);
}

INSTANTIATE_TEST_SUITE_P(Humidities, NeutralDistance,
                         testing::Values(NeutralCase{52.0f, 25.0f, 60}, NeutralCase{52.0f, 25.0f, 0},
                                         NeutralCase{361.65384f, 25.0f, 95}, NeutralCase{-18.25f, 31.0f, 60},
                                         NeutralCase{1200.5f, -5.0f, 3}));

// The humidity factor H = (humidity - 60) * 0.0008 + 1: 1.0 at 60, 0.952 at 0.
// The per-frame form takes it in double, the per-pixel form in float.
struct HumidityCase {
    int32_t humidity;
    double H;
};

class Humidity : public testing::TestWithParam<HumidityCase> {};

TEST_P(Humidity, FrameFormInDouble) {
    const HumidityCase& c = GetParam();
    const Block b = air(1000, c.humidity);
    const double D = 10.0;
    const float u = static_cast<float>((D - 1.5) * (0.16699999570846558 * c.H));
    const double e = myexp(-static_cast<double>(u));
    const float d = 80.0f - 25.0f;
    const float expected = static_cast<float>(25.0 + ((1.0 - e * 0.03999999910593033) * d) / 0.9599999785423279);
    EXPECT_EQ(frameForm(80.0f, b, 25.0f), expected);
}

TEST_P(Humidity, PixelFormInFloat) {
    const HumidityCase& c = GetParam();
    const Block b = air(1000, c.humidity);
    const float r = (static_cast<float>(c.humidity - 60) * 0.0008f + 1.0f) * kB3;
    const float u = static_cast<float>((10.0 - 1.5) * static_cast<double>(r));
    const double e = myexp(-static_cast<double>(u));
    const float d = 80.0f - 25.0f;
    const float expected = static_cast<float>(((1.0 - e * static_cast<double>(kA3)) * static_cast<double>(d)) /
                                                  static_cast<double>(1.0f - kA3) +
                                              25.0);
    EXPECT_EQ(pixelForm(80.0f, b, 25.0f), expected);
}

INSTANTIATE_TEST_SUITE_P(Reference, Humidity,
                         testing::Values(HumidityCase{60, 1.0}, HumidityCase{0, 0.952}, HumidityCase{100, 1.032}));

TEST(Humidity, ChangesTheResultAwayFromTheNeutralDistance) {
    EXPECT_NE(frameForm(80.0f, air(1000, 60), 25.0f), frameForm(80.0f, air(1000, 0), 25.0f));
    EXPECT_NE(pixelForm(80.0f, air(1000, 60), 25.0f), pixelForm(80.0f, air(1000, 0), 25.0f));
}

class AirTemperatureItself : public testing::TestWithParam<int32_t> {};

// Nothing to correct when the object is as warm as the air.
TEST_P(AirTemperatureItself, ComesBackUnchanged) {
    const Block b = air(GetParam(), 37);
    for (float t : {25.0f, -12.75f, 31.3f}) {
        EXPECT_EQ(frameForm(t, b, t), t);
        EXPECT_EQ(pixelForm(t, b, t), t);
    }
}

INSTANTIATE_TEST_SUITE_P(Distances, AirTemperatureItself,
                         testing::Values(0, 150, 1000, 100000, -500, -400000, INT32_MAX));

class DistanceArgument : public testing::TestWithParam<float> {};

// The distance test holds for every number but NaN, so the block decides.
TEST_P(DistanceArgument, HasNoEffect) {
    const Block b = air(1000, 60);
    EXPECT_EQ(frameForm(80.0f, b, 25.0f, GetParam()), frameForm(80.0f, b, 25.0f, 0.0f));
    EXPECT_EQ(pixelForm(80.0f, b, 25.0f, GetParam()), pixelForm(80.0f, b, 25.0f, 0.0f));
    EXPECT_NE(frameForm(80.0f, b, 25.0f, GetParam()), frameForm(80.0f, air(150, 60), 25.0f, 0.0f));
}

INSTANTIATE_TEST_SUITE_P(Values, DistanceArgument,
                         testing::Values(0.0f, 1.0f, -5.0f, 1000.0f, 1.5f, std::numeric_limits<float>::infinity(),
                                         -std::numeric_limits<float>::infinity()));

TEST(DistanceArgument, NaNGetsThroughAndGivesNaN) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const Block b = air(1000, 60);
    EXPECT_TRUE(std::isnan(frameForm(80.0f, b, 25.0f, nan)));
    EXPECT_TRUE(std::isnan(pixelForm(80.0f, b, 25.0f, nan)));
}

}  // namespace
}  // namespace kalviro
