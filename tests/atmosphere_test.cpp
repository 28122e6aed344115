// The atmospheric correction in its two forms, the per-frame one in double,
// the per-pixel one in float. Neutral at 1.5 m; the block's distance decides,
// the argument only through a NaN.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

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

// At 1.5 m e is 1 and the factor (1 - A) / C is 1.0000000233, not 1, since
// C is a rounded float: T comes back to the last place at any humidity.
TEST(Atmosphere, NeutralDistanceGivesTBack) {
    for (int32_t humidity : {60, 0, 95}) {
        for (float T : {52.0f, 361.65384f, -18.25f}) {
            const Block b = air(150, humidity);
            for (float got : {frameForm(T, b, 31.0f), pixelForm(T, b, 31.0f)}) {
                EXPECT_LE(std::fabs(got - T), std::nextafter(T, INFINITY) - T) << T << " gave " << got;
            }
        }
    }
}

// The humidity factor H = (humidity - 60) * 0.0008 + 1: 1.0 at 60, 0.952 at
// 0. At 10 m, object at 80 and air at 25 degrees, worked by hand; here the
// two forms meet in the same float.
TEST(Atmosphere, HumidityAtTenMetres) {
    for (auto [humidity, want] : {std::pair{60, 81.7374649f}, std::pair{0, 81.6983871f}}) {
        const Block b = air(1000, humidity);
        EXPECT_EQ(frameForm(80.0f, b, 25.0f), want) << humidity;
        EXPECT_EQ(pixelForm(80.0f, b, 25.0f), want) << humidity;
    }
}

// Nothing to correct when the object is as warm as the air.
TEST(Atmosphere, ObjectAsWarmAsTheAirAtEveryDistance) {
    for (int32_t distance : {0, 150, 100000, -400000, INT32_MAX}) {
        const Block b = air(distance, 37);
        EXPECT_EQ(frameForm(31.3f, b, 31.3f), 31.3f) << distance;
        EXPECT_EQ(pixelForm(-12.75f, b, -12.75f), -12.75f) << distance;
    }
}

// The distance test holds for every number but NaN, so the block decides.
TEST(Atmosphere, DistanceArgumentHasNoEffectButNaNGivesNaN) {
    const Block b = air(1000, 60);
    EXPECT_NE(frameForm(80.0f, b, 25.0f), frameForm(80.0f, air(150, 60), 25.0f));
    for (float d : {1.0f, -5.0f, 1000.0f, 1.5f, std::numeric_limits<float>::infinity()}) {
        EXPECT_EQ(frameForm(80.0f, b, 25.0f, d), frameForm(80.0f, b, 25.0f)) << d;
        EXPECT_EQ(pixelForm(80.0f, b, 25.0f, d), pixelForm(80.0f, b, 25.0f)) << d;
    }
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(std::isnan(frameForm(80.0f, b, 25.0f, nan)));
    EXPECT_TRUE(std::isnan(pixelForm(80.0f, b, 25.0f, nan)));
}

}  // namespace
}  // namespace kalviro
