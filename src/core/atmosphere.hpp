// Correction for the air between object and lens. Neutral at the
// calibration distance of 1.5 m. The per-frame and per-pixel forms take the
// humidity term in different precisions and so differ in the last digits;
// both are kept.
#pragma once

#include <cstdint>

namespace kalviro {

// Literals of the per-frame form: the floats 0.04, 0.96 and 0.167 widened.
constexpr double kAtmA = 0.03999999910593033;
constexpr double kAtmC = 0.9599999785423279;
constexpr double kAtmRate = 0.16699999570846558;

// Per-frame form with the constants above. air is the air temperature in
// degrees; distance is the call's argument, which only a NaN lets through.
float atmosphereFrame(float T, const uint8_t* block, float air, float distance);

// The per-frame form with its exponent fixed at zero: distance and humidity
// have no effect.
float atmosphereFrameNeutral(float T, float air);

// The per-frame form in parts: the block's distance in metres, the rate
// kAtmRate times the humidity term (double), and the correction of T with
// the exponential e.
double blockDistance(const uint8_t* block);
double frameAirRate(const uint8_t* block);
float frameAirCorrection(float T, float air, double e);

// Per-pixel form, with the module's const_A3 and const_B3.
float atmospherePixel(float T, const uint8_t* block, float air, float distance, float A3, float B3);

// The per-pixel form in two parts: the exponential, which depends on the
// frame alone, and the correction of one temperature with it.
double pixelAirExp(const uint8_t* block, float distance, float B3);
float airCorrection(float T, float air, double e, float A3);

}  // namespace kalviro
