#include "outputs/picture.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace kalviro::cli {

namespace {

// A label on a dark box at (x, y), moved inside the picture where it
// would reach out of it.
void drawLabel(Canvas& c, int32_t x, int32_t y, const std::string& text, int32_t font) {
    const int32_t w = textWidth(text, font) + 2, h = kGlyphHeight * font + 2;
    x = std::max(0, std::min(x, c.width - w));
    y = std::max(0, std::min(y, c.height - h));
    c.fill(x, y, w, h, kTextBack);
    drawText(c, x + 1, y + 1, text, kText, font);
}

// The edges of a set of pixels where it borders pixels outside it, drawn on
// its own pixels' sides so that they stay inside the picture.
void drawOutline(Canvas& c, const std::vector<uint32_t>& pixels, const FrameSize& size, int32_t s) {
    std::vector<uint8_t> in(static_cast<size_t>(size.width) * static_cast<size_t>(size.height), 0);
    for (uint32_t p : pixels) in[p] = 1;
    const auto inside = [&](int32_t x, int32_t y) {
        return x >= 0 && y >= 0 && x < size.width && y < size.height &&
               in[static_cast<size_t>(y) * static_cast<size_t>(size.width) + static_cast<size_t>(x)];
    };
    for (uint32_t p : pixels) {
        const auto x = static_cast<int32_t>(p % static_cast<uint32_t>(size.width));
        const auto y = static_cast<int32_t>(p / static_cast<uint32_t>(size.width));
        if (!inside(x - 1, y)) c.fill(x * s, y * s, 1, s, kOutline);
        if (!inside(x + 1, y)) c.fill(x * s + s - 1, y * s, 1, s, kOutline);
        if (!inside(x, y - 1)) c.fill(x * s, y * s, s, 1, kOutline);
        if (!inside(x, y + 1)) c.fill(x * s, y * s + s - 1, s, 1, kOutline);
    }
}

// A marker for a pixel, moved inward where the whole cross would not fit.
void markPixel(Canvas& c, const PixelTemp& p, int32_t s, int32_t arm, bool diagonal, const std::string& text,
               int32_t font) {
    const int32_t reach = arm + 1;
    const int32_t x = std::clamp(p.x * s + s / 2, reach, std::max(reach, c.width - 1 - reach));
    const int32_t y = std::clamp(p.y * s + s / 2, reach, std::max(reach, c.height - 1 - reach));
    drawMarker(c, x, y, arm, diagonal);
    // Right of the marker, or left of it near the right edge.
    const int32_t w = textWidth(text, font) + 2;
    const int32_t lx = x + reach + 2 + w <= c.width ? x + reach + 2 : x - reach - 2 - w;
    drawLabel(c, lx, y - (kGlyphHeight * font + 2) / 2, text, font);
}

void drawOverlays(Canvas& c, const RunInfo& run, const PngOptions& png, const FrameResult& r) {
    const int32_t s = png.scale;
    const int32_t font = c.height >= 360 ? 2 : 1;
    const int32_t labelHeight = kGlyphHeight * font + 2;
    for (size_t i = 0; i < run.shapes.size(); ++i) {
        const Area& shape = run.shapes[i];
        const auto w = static_cast<uint32_t>(run.size.width);
        if (shape.kind == AreaKind::Spot) {
            const auto x = static_cast<int32_t>(shape.pixels[0] % w) * s;
            const auto y = static_cast<int32_t>(shape.pixels[0] / w) * s;
            // A ring one pixel out from the spot's square.
            const Rgb ring{0, 0, 0};
            c.fill(x - 2, y - 2, s + 4, 1, ring);
            c.fill(x - 2, y + s + 1, s + 4, 1, ring);
            c.fill(x - 2, y - 2, 1, s + 4, ring);
            c.fill(x + s + 1, y - 2, 1, s + 4, ring);
            c.fill(x - 1, y - 1, s + 2, 1, kOutline);
            c.fill(x - 1, y + s, s + 2, 1, kOutline);
            c.fill(x - 1, y - 1, 1, s + 2, kOutline);
            c.fill(x + s, y - 1, 1, s + 2, kOutline);
            drawLabel(c, x + s + 3, y - labelHeight / 2,
                      shape.name + " " + temperatureLabel(r.temps[shape.pixels[0]], run.unit), font);
            continue;
        }
        if (shape.kind == AreaKind::Line) {
            // A dot on each pixel crossed, at its centre.
            const int32_t d = std::max(1, s / 3);
            for (uint32_t p : shape.pixels) {
                c.fill(static_cast<int32_t>(p % w) * s + (s - d) / 2,
                       static_cast<int32_t>(p / w) * s + (s - d) / 2, d, d, kOutline);
            }
        } else {
            drawOutline(c, shape.pixels, run.size, s);
        }
        // The name and maximum above the shape's top left corner, or below
        // its bottom where there is no room above.
        int32_t left = run.size.width, top = run.size.height, bottom = 0;
        for (uint32_t p : shape.pixels) {
            left = std::min(left, static_cast<int32_t>(p % w));
            top = std::min(top, static_cast<int32_t>(p / w));
            bottom = std::max(bottom, static_cast<int32_t>(p / w));
        }
        const Stats& st = r.shapeStats[i];
        const std::string text =
            shape.name + " " + (st.count ? temperatureLabel(st.max, run.unit) : std::string("--"));
        const int32_t y = top * s - labelHeight - 1 >= 0 ? top * s - labelHeight - 1 : (bottom + 1) * s + 1;
        drawLabel(c, left * s, y, text, font);
    }
    if (png.markers && r.whole.count != 0) {
        const int32_t arm = 3 * s + 2;
        markPixel(c, r.whole.coldest, s, arm, true, temperatureLabel(r.whole.min, run.unit), font);
        markPixel(c, r.whole.hottest, s, arm, false, temperatureLabel(r.whole.max, run.unit), font);
    }
}

}  // namespace

std::string temperatureLabel(float t, Unit unit) {
    // At most nine characters before the unit, whatever the magnitude.
    char buf[48];
    const double v = static_cast<double>(t);
    const double a = std::fabs(v);
    std::snprintf(buf, sizeof buf,
                  a < 999.995    ? "%.2f%s"
                  : a < 999999.5 ? "%.0f%s"
                                 : "%.0e%s",
                  v, unitLabel(unit));
    return buf;
}

namespace {

// colourIndex with the span and whether it is finite worked out once a
// frame.
inline size_t indexIn(float t, float lo, float hi, float span, bool finite) {
    // Single precision, as the viewer's page computes it, but for a range
    // whose span overflows a float.
    const float k =
        finite ? (t - lo) / span * 255.0f
               : static_cast<float>((static_cast<double>(t) - lo) / (static_cast<double>(hi) - lo) * 255.0);
    // lround without its library call, a call a pixel: in double, c + 0.5 is
    // exact and truncation of a value >= 0 is its floor.
    const float c = std::clamp(k, 0.0f, 255.0f);
    return c >= 0.0f ? static_cast<size_t>(static_cast<double>(c) + 0.5) : 0;
}

}  // namespace

size_t colourIndex(float t, float lo, float hi) {
    const float span = hi - lo;
    return indexIn(t, lo, hi, span, std::isfinite(span));
}

float percentileOf(const float* temps, size_t count, double p) {
    std::vector<float> v;
    v.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        if (validTemp(temps[i])) v.push_back(temps[i]);
    }
    if (v.empty()) return NAN;
    const double rank = std::ceil(p / 100.0 * static_cast<double>(v.size()));
    const auto k = static_cast<size_t>(std::clamp(rank - 1.0, 0.0, static_cast<double>(v.size() - 1)));
    std::nth_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(k), v.end());
    return v[k];
}

std::pair<float, float> colourRange(const PngOptions& png, const FrameResult& r) {
    // No valid temperature leaves lo == hi; a flat frame gets half a degree
    // either side, or a float's step where half a degree is below one.
    if (png.range) return *png.range;
    if (r.whole.count == 0) return {0.0f, 0.0f};
    float lo = r.whole.min, hi = r.whole.max;
    if (png.percentiles) {
        lo = percentileOf(r.temps.data(), r.temps.size(), png.percentiles->first);
        hi = percentileOf(r.temps.data(), r.temps.size(), png.percentiles->second);
    }
    if (!(hi > lo)) {
        lo -= 0.5f;
        hi += 0.5f;
    }
    if (!(hi > lo)) {
        lo = std::nextafter(lo, -INFINITY);
        hi = std::nextafter(hi, INFINITY);
    }
    return {lo, hi};
}

Canvas renderPicture(const RunInfo& run, const PngOptions& png, const FrameResult& r, float lo, float hi) {
    const int32_t s = png.scale;
    const int32_t w = run.size.width * s;
    Canvas c(w, run.size.height * s, kInvalidColour);
    const Rgb* pal = png.palette->data();
    const size_t stride = static_cast<size_t>(w) * 3;
    // Locals, not reloaded after every byte written.
    const bool valid = hi > lo;
    const float span = hi - lo;
    const bool finite = std::isfinite(span);
    const bool isotherm = png.isotherm.has_value();
    const float isoLo = isotherm ? png.isotherm->first : 0.0f;
    const float isoHi = isotherm ? png.isotherm->second : 0.0f;
    for (int32_t y = 0; y < run.size.height; ++y) {
        const float* row = &r.temps[static_cast<size_t>(y) * static_cast<size_t>(run.size.width)];
        uint8_t* out = &c.rgb[static_cast<size_t>(y) * static_cast<size_t>(s) * stride];
        for (int32_t x = 0; x < run.size.width; ++x) {
            const float t = row[x];
            Rgb colour = kInvalidColour;
            if (valid && validTemp(t)) {
                colour = pal[indexIn(t, lo, hi, span, finite)];
                if (isotherm && t >= isoLo && t <= isoHi) colour = kIsothermColour;
            }
            for (int32_t i = 0; i < s; ++i, out += 3) {
                out[0] = colour.r;
                out[1] = colour.g;
                out[2] = colour.b;
            }
        }
        // The other rows of a scaled pixel repeat the first.
        const uint8_t* first = &c.rgb[static_cast<size_t>(y) * static_cast<size_t>(s) * stride];
        for (int32_t i = 1; i < s; ++i)
            std::copy(
                first, first + stride,
                &c.rgb[(static_cast<size_t>(y) * static_cast<size_t>(s) + static_cast<size_t>(i)) * stride]);
    }
    if (png.overlays) drawOverlays(c, run, png, r);
    return c;
}

}  // namespace kalviro::cli
