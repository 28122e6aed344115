// An RGB image to draw the false-colour picture on: rectangles, markers and
// short labels in a 5x7 pixel font (digits, letters drawn upper case,
// '.', '-', '+', '_', ':', '/', '°' as '*').
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "outputs/palette.hpp"

namespace kalviro::cli {

struct Canvas {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> rgb;  // row by row, 3 bytes a pixel

    Canvas(int32_t w, int32_t h, Rgb fill);
    void set(int32_t x, int32_t y, Rgb c);  // outside: ignored
    void fill(int32_t x, int32_t y, int32_t w, int32_t h, Rgb c);
};

constexpr int32_t kGlyphWidth = 5;
constexpr int32_t kGlyphHeight = 7;
constexpr int32_t kGlyphAdvance = 6;

// Text with its top left corner at (x, y), each font pixel scale x scale.
void drawText(Canvas& c, int32_t x, int32_t y, const std::string& text, Rgb colour, int32_t scale);
int32_t textWidth(const std::string& text, int32_t scale);

// A cross ('+' or 'x') of arm `arm` centred on (x, y), white with a black
// rim so that it shows on every palette.
void drawMarker(Canvas& c, int32_t x, int32_t y, int32_t arm, bool diagonal);

}  // namespace kalviro::cli
