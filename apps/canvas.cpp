#include "canvas.hpp"

#include <algorithm>

namespace kalviro::cli {

namespace {

struct Glyph {
    char ch;
    uint8_t rows[kGlyphHeight];  // bit 4 is the leftmost column
};

const Glyph kFont[] = {
    {'0', {0x0e, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0e}}, {'1', {0x04, 0x0c, 0x04, 0x04, 0x04, 0x04, 0x0e}},
    {'2', {0x0e, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1f}}, {'3', {0x1f, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0e}},
    {'4', {0x02, 0x06, 0x0a, 0x12, 0x1f, 0x02, 0x02}}, {'5', {0x1f, 0x10, 0x1e, 0x01, 0x01, 0x11, 0x0e}},
    {'6', {0x06, 0x08, 0x10, 0x1e, 0x11, 0x11, 0x0e}}, {'7', {0x1f, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08}},
    {'8', {0x0e, 0x11, 0x11, 0x0e, 0x11, 0x11, 0x0e}}, {'9', {0x0e, 0x11, 0x11, 0x0f, 0x01, 0x02, 0x0c}},
    {'.', {0x00, 0x00, 0x00, 0x00, 0x00, 0x0c, 0x0c}}, {'-', {0x00, 0x00, 0x00, 0x1f, 0x00, 0x00, 0x00}},
    {'*', {0x0c, 0x12, 0x12, 0x0c, 0x00, 0x00, 0x00}}, {'C', {0x0e, 0x11, 0x10, 0x10, 0x10, 0x11, 0x0e}},
    {'e', {0x00, 0x00, 0x0e, 0x11, 0x1f, 0x10, 0x0e}}, {'+', {0x00, 0x04, 0x04, 0x1f, 0x04, 0x04, 0x00}},
};

const Glyph* glyph(char ch) {
    for (const Glyph& g : kFont) {
        if (g.ch == ch) return &g;
    }
    return nullptr;
}

}  // namespace

Canvas::Canvas(int32_t w, int32_t h, Rgb c) : width(w), height(h), rgb(static_cast<size_t>(w) * h * 3) {
    fill(0, 0, w, h, c);
}

void Canvas::set(int32_t x, int32_t y, Rgb c) {
    if (x < 0 || y < 0 || x >= width || y >= height) return;
    uint8_t* p = &rgb[(static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 3];
    p[0] = c.r;
    p[1] = c.g;
    p[2] = c.b;
}

void Canvas::fill(int32_t x, int32_t y, int32_t w, int32_t h, Rgb c) {
    for (int32_t j = std::max(0, y); j < std::min(height, y + h); ++j) {
        for (int32_t i = std::max(0, x); i < std::min(width, x + w); ++i) set(i, j, c);
    }
}

void drawText(Canvas& c, int32_t x, int32_t y, const std::string& text, Rgb colour, int32_t scale) {
    for (char ch : text) {
        if (const Glyph* g = glyph(ch)) {
            for (int32_t row = 0; row < kGlyphHeight; ++row) {
                for (int32_t col = 0; col < kGlyphWidth; ++col) {
                    if (g->rows[row] & (0x10 >> col))
                        c.fill(x + col * scale, y + row * scale, scale, scale, colour);
                }
            }
        }
        x += kGlyphAdvance * scale;
    }
}

int32_t textWidth(const std::string& text, int32_t scale) {
    return text.empty() ? 0 : (static_cast<int32_t>(text.size()) * kGlyphAdvance - 1) * scale;
}

void drawMarker(Canvas& c, int32_t x, int32_t y, int32_t arm, bool diagonal) {
    const auto arms = [&](int32_t k, int32_t width, Rgb colour) {
        for (int32_t w = -width; w <= width; ++w) {
            if (diagonal) {
                c.set(x + k + w, y + k, colour);
                c.set(x + k + w, y - k, colour);
            } else {
                c.set(x + k, y + w, colour);
                c.set(x + w, y + k, colour);
            }
        }
    };
    for (int32_t k = -arm - 1; k <= arm + 1; ++k) arms(k, 1, Rgb{0, 0, 0});
    for (int32_t k = -arm; k <= arm; ++k) arms(k, 0, Rgb{255, 255, 255});
}

}  // namespace kalviro::cli
