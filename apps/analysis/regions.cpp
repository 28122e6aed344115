#include "analysis/regions.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>

#include "frames/conversion_args.hpp"
#include "frames/failure.hpp"

namespace kalviro::cli {

namespace {

struct KindWords {
    const char* name;
    const char* defaultName;
    const char* form;
};

const KindWords& words(AreaKind kind) {
    static const KindWords all[] = {
        {"rectangle", "roi", "[name=]x,y,w,h"},
        {"ellipse", "ellipse", "[name=]cx,cy,rx,ry"},
        {"polygon", "polygon", "[name=]x1,y1,x2,y2,x3,y3,..."},
        {"line", "line", "[name=]x1,y1,x2,y2"},
        {"spot", "spot", "[name=]x,y"},
    };
    return all[static_cast<int>(kind)];
}

bool wholeNumbers(AreaKind kind) { return kind != AreaKind::Ellipse && kind != AreaKind::Polygon; }

// Comma-separated numbers: whole and non-negative for pixel positions,
// decimals for points of the image plane.
std::optional<std::vector<double>> parseNumbers(const std::string& text, bool whole) {
    std::vector<double> out;
    size_t at = 0;
    while (at <= text.size()) {
        const size_t comma = std::min(text.find(',', at), text.size());
        const std::string part = text.substr(at, comma - at);
        if (part.empty() || part.size() > 12) return std::nullopt;
        if (whole && part.find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
        if (part.find_first_not_of("0123456789.-+") != std::string::npos) return std::nullopt;
        char* end = nullptr;
        const double v = std::strtod(part.c_str(), &end);
        if (*end != '\0' || !std::isfinite(v) || std::fabs(v) > 1.0e7) return std::nullopt;
        out.push_back(v);
        at = comma + 1;
    }
    return out;
}

std::string numberText(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g", v);
    return buf;
}

void pushIfInside(std::vector<uint32_t>& out, int64_t x, int64_t y, const FrameSize& size) {
    if (x >= 0 && y >= 0 && x < size.width && y < size.height)
        out.push_back(static_cast<uint32_t>(y * size.width + x));
}

std::vector<uint32_t> ellipsePixels(double cx, double cy, double rx, double ry, const FrameSize& size) {
    std::vector<uint32_t> out;
    const int64_t y0 = std::max<int64_t>(0, static_cast<int64_t>(std::floor(cy - ry)));
    const int64_t y1 = std::min<int64_t>(size.height - 1, static_cast<int64_t>(std::ceil(cy + ry)));
    const int64_t x0 = std::max<int64_t>(0, static_cast<int64_t>(std::floor(cx - rx)));
    const int64_t x1 = std::min<int64_t>(size.width - 1, static_cast<int64_t>(std::ceil(cx + rx)));
    // Multiplied out, without a division: exact for coordinates in halves.
    const double rx2 = rx * rx, ry2 = ry * ry;
    for (int64_t y = y0; y <= y1; ++y) {
        const double dy = static_cast<double>(y) + 0.5 - cy;
        for (int64_t x = x0; x <= x1; ++x) {
            const double dx = static_cast<double>(x) + 0.5 - cx;
            if (dx * dx * ry2 + dy * dy * rx2 <= rx2 * ry2) pushIfInside(out, x, y, size);
        }
    }
    return out;
}

std::vector<uint32_t> polygonPixels(const std::vector<double>& v, const FrameSize& size) {
    const size_t n = v.size() / 2;
    double minX = v[0], maxX = v[0], minY = v[1], maxY = v[1];
    for (size_t i = 1; i < n; ++i) {
        minX = std::min(minX, v[2 * i]);
        maxX = std::max(maxX, v[2 * i]);
        minY = std::min(minY, v[2 * i + 1]);
        maxY = std::max(maxY, v[2 * i + 1]);
    }
    std::vector<uint32_t> out;
    const int64_t y0 = std::max<int64_t>(0, static_cast<int64_t>(std::floor(minY)));
    const int64_t y1 = std::min<int64_t>(size.height - 1, static_cast<int64_t>(std::ceil(maxY)));
    const int64_t x0 = std::max<int64_t>(0, static_cast<int64_t>(std::floor(minX)));
    const int64_t x1 = std::min<int64_t>(size.width - 1, static_cast<int64_t>(std::ceil(maxX)));
    for (int64_t y = y0; y <= y1; ++y) {
        const double py = static_cast<double>(y) + 0.5;
        for (int64_t x = x0; x <= x1; ++x) {
            const double px = static_cast<double>(x) + 0.5;
            bool inside = false;
            for (size_t i = 0, j = n - 1; i < n; j = i++) {
                const double ax = v[2 * j], ay = v[2 * j + 1], bx = v[2 * i], by = v[2 * i + 1];
                if ((ay > py) == (by > py)) continue;
                // Left of the edge's crossing with the centre's row, without
                // a division.
                const double lhs = (px - ax) * (by - ay);
                const double rhs = (py - ay) * (bx - ax);
                if (by > ay ? lhs < rhs : lhs > rhs) inside = !inside;
            }
            if (inside) pushIfInside(out, x, y, size);
        }
    }
    return out;
}

// Walks the squares from one pixel centre to another in half-pixel units,
// where every centre is odd and every edge even: all integers, so a segment
// through a corner steps diagonally and never takes the squares it only
// touches.
std::vector<uint32_t> linePixels(int64_t x1, int64_t y1, int64_t x2, int64_t y2, const FrameSize& size) {
    const int64_t dx = std::llabs(x2 - x1), dy = std::llabs(y2 - y1);
    const int64_t sx = x2 > x1 ? 1 : -1, sy = y2 > y1 ? 1 : -1;
    // Distances to the next edge across, in half pixels, scaled by the other
    // axis' length so that they compare as times along the segment.
    int64_t nx = 1, ny = 1;
    int64_t x = x1, y = y1;
    std::vector<uint32_t> out;
    pushIfInside(out, x, y, size);
    while (x != x2 || y != y2) {
        const int64_t tx = dx == 0 ? INT64_MAX : nx * dy, ty = dy == 0 ? INT64_MAX : ny * dx;
        if (tx <= ty && dx != 0) {
            x += sx;
            nx += 2;
        }
        if (ty <= tx && dy != 0) {
            y += sy;
            ny += 2;
        }
        pushIfInside(out, x, y, size);
    }
    return out;
}

}  // namespace

const char* areaKindName(AreaKind kind) { return words(kind).name; }

std::vector<uint32_t> areaPixels(AreaKind kind, const std::vector<double>& c, const FrameSize& size) {
    const auto i = [&](size_t k) { return static_cast<int64_t>(c[k]); };
    std::vector<uint32_t> out;
    switch (kind) {
        case AreaKind::Rectangle:
            for (int64_t y = i(1); y < i(1) + i(3); ++y)
                for (int64_t x = i(0); x < i(0) + i(2); ++x) pushIfInside(out, x, y, size);
            break;
        case AreaKind::Ellipse: out = ellipsePixels(c[0], c[1], c[2], c[3], size); break;
        case AreaKind::Polygon: out = polygonPixels(c, size); break;
        case AreaKind::Line: out = linePixels(i(0), i(1), i(2), i(3), size); break;
        case AreaKind::Spot: pushIfInside(out, i(0), i(1), size); break;
    }
    return out;
}

Area parseArea(AreaKind kind, const std::string& text, size_t number, const FrameSize& size) {
    const KindWords& w = words(kind);
    const auto bad = [&](const std::string& why) {
        return Failure("bad " + std::string(w.name) + " '" + text + "': " + why);
    };
    Area s;
    s.kind = kind;
    std::string body = text;
    const size_t colon = body.rfind(':');
    if (colon != std::string::npos) {
        const std::string suffix = body.substr(colon + 1);
        if (suffix.rfind("e=", 0) != 0) throw bad("expected the suffix :e=EMISSIVITY");
        char* end = nullptr;
        const double e = std::strtod(suffix.c_str() + 2, &end);
        if (suffix.size() == 2 || *end != '\0') throw bad("expected the suffix :e=EMISSIVITY");
        try {
            s.emissivity = checkEmissivity(e);
        } catch (const Failure& f) {
            throw bad(f.what());
        }
        body = body.substr(0, colon);
    }
    const size_t eq = body.find('=');
    if (eq != std::string::npos) {
        s.name = body.substr(0, eq);
        body = body.substr(eq + 1);
        if (s.name.empty()) throw bad("empty name before '='");
        // ':' starts the suffix, '<' and '>' an alarm's comparison.
        if (s.name.find_first_of(":<>") != std::string::npos ||
            std::any_of(s.name.begin(), s.name.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; }))
            throw bad("a name holds no : < > or control character");
    } else {
        s.name = w.defaultName + std::to_string(number);
    }
    const std::optional<std::vector<double>> v = parseNumbers(body, wholeNumbers(kind));
    const auto expected = [&] { return bad(std::string("expected ") + w.form + "[:e=E]"); };
    if (!v) throw expected();
    s.coords = *v;
    const size_t n = v->size();
    const double width = size.width, height = size.height;
    const std::string frame = " the " + size.text() + " frame";
    switch (kind) {
        case AreaKind::Rectangle:
            if (n != 4) throw expected();
            if (s.coords[2] == 0 || s.coords[3] == 0) throw bad("width and height must be at least 1");
            if (s.coords[0] + s.coords[2] > width || s.coords[1] + s.coords[3] > height)
                throw bad("reaches outside" + frame);
            break;
        case AreaKind::Ellipse:
            if (n != 4) throw expected();
            if (!(s.coords[2] > 0 && s.coords[3] > 0)) throw bad("the radii must be above 0");
            if (s.coords[0] - s.coords[2] < 0 || s.coords[0] + s.coords[2] > width ||
                s.coords[1] - s.coords[3] < 0 || s.coords[1] + s.coords[3] > height)
                throw bad("reaches outside" + frame);
            break;
        case AreaKind::Polygon:
            if (n < 6 || n % 2 != 0) throw expected();
            for (size_t k = 0; k < n; k += 2) {
                if (s.coords[k] < 0 || s.coords[k] > width || s.coords[k + 1] < 0 || s.coords[k + 1] > height)
                    throw bad("corner " + numberText(s.coords[k]) + "," + numberText(s.coords[k + 1]) +
                              " lies outside" + frame);
            }
            break;
        case AreaKind::Line:
            if (n != 4) throw expected();
            if (s.coords[0] >= width || s.coords[2] >= width || s.coords[1] >= height ||
                s.coords[3] >= height)
                throw bad("an end lies outside" + frame);
            break;
        case AreaKind::Spot:
            if (n != 2) throw expected();
            if (s.coords[0] >= width || s.coords[1] >= height) throw bad("lies outside" + frame);
            break;
    }
    s.pixels = areaPixels(kind, s.coords, size);
    if (s.pixels.empty()) throw bad("holds no pixel centre");
    return s;
}

void requireDistinctNames(const std::vector<Area>& shapes) {
    std::set<std::string> seen;
    for (const Area& s : shapes) {
        if (s.name == "frame")
            throw Failure("the name 'frame' stands for the whole frame: name the " +
                          std::string(areaKindName(s.kind)) + " otherwise");
        if (!seen.insert(s.name).second) throw Failure("two regions or spots are named '" + s.name + "'");
    }
}

Stats pixelStats(const float* temps, int32_t width, const std::vector<uint32_t>& pixels) {
    Stats s;
    float lo = INFINITY, hi = -INFINITY;
    double sum = 0.0;
    const auto at = [&](uint32_t i) {
        return PixelTemp{static_cast<int32_t>(i % static_cast<uint32_t>(width)),
                         static_cast<int32_t>(i / static_cast<uint32_t>(width)), temps[i]};
    };
    for (uint32_t i : pixels) {
        const float t = temps[i];
        if (!validTemp(t)) {
            ++s.invalid;
            continue;
        }
        if (t < lo) {
            lo = t;
            s.coldest = at(i);
        }
        if (t > hi) {
            hi = t;
            s.hottest = at(i);
        }
        sum += static_cast<double>(t);
        ++s.count;
    }
    if (s.count == 0) return s;
    s.min = lo;
    s.max = hi;
    const double n = static_cast<double>(s.count);
    s.mean = sum / n;
    double squares = 0.0;
    for (uint32_t i : pixels) {
        const float t = temps[i];
        if (!validTemp(t)) continue;
        const double d = static_cast<double>(t) - s.mean;
        squares += d * d;
    }
    s.stddev = std::sqrt(squares / n);
    return s;
}

Stats areaStats(const float* temps, int32_t width, const Area& a) {
    if (a.kind != AreaKind::Rectangle) return pixelStats(temps, width, a.pixels);
    // Rectangles by the same sums as the whole frame: the summary and the
    // report give the same digits.
    const auto i = [&](size_t k) { return static_cast<int32_t>(a.coords[k]); };
    return regionStats(temps, width, Region{a.name, i(0), i(1), i(2), i(3)});
}

Histogram histogramOf(const float* temps, const std::vector<uint32_t>* pixels, size_t count, float lo,
                      float hi, int32_t bins) {
    Histogram h;
    h.lo = lo;
    h.hi = hi;
    h.counts.assign(static_cast<size_t>(bins), 0);
    std::vector<double> edges(static_cast<size_t>(bins) + 1);
    for (int32_t k = 0; k <= bins; ++k) edges[static_cast<size_t>(k)] = h.lo + k * (h.hi - h.lo) / bins;
    const double scale = h.hi > h.lo ? bins / (h.hi - h.lo) : 0.0;
    const size_t n = pixels ? pixels->size() : count;
    for (size_t k = 0; k < n; ++k) {
        const double t = temps[pixels ? (*pixels)[k] : k];
        if (!(t >= h.lo && t <= h.hi)) continue;  // NaN, infinite
        // A first guess from the scale, then put right against the edges
        // themselves, which define the bins.
        auto b = std::clamp<int64_t>(static_cast<int64_t>((t - h.lo) * scale), 0, bins - 1);
        while (scale != 0.0 && b > 0 && t < edges[static_cast<size_t>(b)]) --b;
        while (scale != 0.0 && b + 1 < bins && t >= edges[static_cast<size_t>(b) + 1]) ++b;
        ++h.counts[static_cast<size_t>(b)];
    }
    return h;
}

int32_t checkBins(int64_t bins) {
    if (bins < 1 || bins > 4096)
        throw Failure("bad --bins " + std::to_string(bins) + ": expected 1 to 4096 histogram bins");
    return static_cast<int32_t>(bins);
}

}  // namespace kalviro::cli
