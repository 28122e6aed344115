// The false-colour picture of a converted frame, as PNG and video show it:
// the range its colours span, the pixels (those of an isotherm band in a
// colour of their own) and the overlays, every one of them inside the
// picture.
#pragma once

#include <string>
#include <utility>

#include "outputs/canvas.hpp"
#include "outputs/outputs.hpp"

namespace kalviro::cli {

// Not in any palette at full strength: the isotherm band stands out.
constexpr Rgb kIsothermColour{0, 255, 0};
constexpr Rgb kInvalidColour{255, 0, 255};
// Outlines, markers, labels and the colour bar's panel.
constexpr Rgb kOutline{255, 255, 255};
constexpr Rgb kText{255, 255, 255};
constexpr Rgb kTextBack{0, 0, 0};
constexpr Rgb kPanel{24, 24, 24};
constexpr Rgb kLabel{235, 235, 235};
// Every colour a picture holds besides its palette's: a GIF keeps an entry
// for each.
constexpr Rgb kDrawnColours[] = {kInvalidColour, kIsothermColour, kOutline, kTextBack, kPanel, kLabel};

// The temperatures at the colour scale's ends: fixed by --range, at the
// percentiles of --range auto, or the frame's extremes; LO below HI, but
// LO == HI when the frame has no valid temperature.
std::pair<float, float> colourRange(const PngOptions& png, const FrameResult& r);

// The value at percentile P (0 to 100) of the finite temperatures by the
// nearest rank: the smallest value with at least P percent of them at or
// below it (the smallest value for 0). NaN when none is valid.
float percentileOf(const float* temps, size_t count, double p);

// The frame scaled `png.scale` times, coloured from lo to hi, with the
// overlays --no-overlays and --no-markers leave.
Canvas renderPicture(const RunInfo& run, const PngOptions& png, const FrameResult& r, float lo, float hi);

// The palette index (0 to 255) of a valid temperature on the scale lo..hi
// (lo < hi).
size_t colourIndex(float t, float lo, float hi);

// "36.52*C", "309.67K", "97.74*F"; "1235*C" and "1e+09*C" for large values.
std::string temperatureLabel(float t, Unit unit);

}  // namespace kalviro::cli
