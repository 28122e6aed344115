#include "core/atmosphere.hpp"

#include "core/block.hpp"
#include "core/lanes.hpp"
#include "core/pixel_stages.hpp"
#include "kalviro.h"

namespace kalviro {
namespace {

// The test holds for every number but NaN: the block's distance decides.
bool blockDistanceRules(float distance) {
    const double d = distance;
    return d <= 0.000001 || d >= -0.000001;
}

}  // namespace

double blockDistance(const uint8_t* block) {
    return static_cast<double>(get(block, field::distance)) / 100.0;
}

double frameAirRate(const uint8_t* block) {
    const double H =
        (static_cast<double>(static_cast<float>(get(block, field::humidity))) - 60.0) * 0.0008 + 1.0;
    return kAtmRate * H;
}

float frameAirCorrection(float T, float air, double e) {
    const float d = T - air;
    return static_cast<float>(static_cast<double>(air) + ((1.0 - e * kAtmA) * d) / kAtmC);
}

float atmosphereFrame(float T, const uint8_t* block, float air, float distance) {
    const double D = blockDistanceRules(distance) ? blockDistance(block) : static_cast<double>(distance);
    const float u = static_cast<float>((D - 1.5) * frameAirRate(block));
    return frameAirCorrection(T, air, myexp(-static_cast<double>(u)));
}

float atmosphereFrameNeutral(float T, float air) { return frameAirCorrection(T, air, 1.0); }

double pixelAirExp(const uint8_t* block, float distance, float B3) {
    const float h = static_cast<float>(get(block, field::humidity)) - 60.0f;
    const float r = (h * 0.0008f + 1.0f) * B3;
    float u;
    if (blockDistanceRules(distance)) {
        u = static_cast<float>((blockDistance(block) - 1.5) * static_cast<double>(r));
    } else {
        u = (distance - 1.5f) * r;
    }
    return myexp(-static_cast<double>(u));
}

float airCorrection(float T, float air, double e, float A3) { return airCorrection<Scalar>(T, air, e, A3); }

float atmospherePixel(float T, const uint8_t* block, float air, float distance, float A3, float B3) {
    return airCorrection(T, air, pixelAirExp(block, distance, B3), A3);
}

}  // namespace kalviro
