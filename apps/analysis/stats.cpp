#include "analysis/stats.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "frames/failure.hpp"

namespace kalviro::cli {

namespace {

// Every pixel of the region in row order, with its place in the row modulo
// 4: four partial sums make shorter chains of dependent additions, in the
// same order every run.
template <typename Visit>
void eachPixel(const float* temps, int32_t width, const Region& r, Visit visit) {
    for (int32_t y = r.y; y < r.y + r.h; ++y) {
        const float* row = temps + static_cast<size_t>(y) * static_cast<size_t>(width);
        for (int32_t x = r.x; x < r.x + r.w; ++x) visit(x, y, row[x], (x - r.x) & 3);
    }
}

double total(const double (&part)[4]) { return (part[0] + part[1]) + (part[2] + part[3]); }

}  // namespace

Stats regionStats(const float* temps, int32_t width, const Region& r) {
    Stats s;
    float lo = INFINITY, hi = -INFINITY;
    double sum[4] = {};
    eachPixel(temps, width, r, [&](int32_t x, int32_t y, float t, int lane) {
        if (!validTemp(t)) {
            ++s.invalid;
            return;
        }
        if (t < lo) {
            lo = t;
            s.coldest = PixelTemp{x, y, t};
        }
        if (t > hi) {
            hi = t;
            s.hottest = PixelTemp{x, y, t};
        }
        sum[lane] += static_cast<double>(t);
    });
    s.count = static_cast<uint64_t>(r.w) * static_cast<uint64_t>(r.h) - s.invalid;
    if (s.count == 0) return s;
    s.min = lo;
    s.max = hi;
    const double n = static_cast<double>(s.count);
    s.mean = total(sum) / n;
    // The deviations from the mean, not the squares less the squared mean:
    // no cancellation, and an all-equal region has 0 exactly.
    double squares[4] = {};
    eachPixel(temps, width, r, [&](int32_t, int32_t, float t, int lane) {
        if (!validTemp(t)) return;
        const double d = static_cast<double>(t) - s.mean;
        squares[lane] += d * d;
    });
    s.stddev = std::sqrt(total(squares) / n);
    return s;
}

Region wholeFrame(const FrameSize& size) { return Region{"frame", 0, 0, size.width, size.height}; }

namespace {

// Comma-separated non-negative integers, exactly `n` of them.
std::vector<int32_t> parseInts(const std::string& text, size_t n, const std::string& what) {
    std::vector<int32_t> out;
    size_t at = 0;
    while (at <= text.size()) {
        const size_t comma = std::min(text.find(',', at), text.size());
        const std::string part = text.substr(at, comma - at);
        if (part.empty() || part.size() > 6 || part.find_first_not_of("0123456789") != std::string::npos) {
            out.clear();
            break;
        }
        out.push_back(static_cast<int32_t>(std::strtol(part.c_str(), nullptr, 10)));
        at = comma + 1;
    }
    if (out.size() != n) throw Failure("bad " + what + " '" + text + "'");
    return out;
}

}  // namespace

Region parseRegion(const std::string& text, size_t number) {
    Region r;
    std::string coords = text;
    const size_t eq = text.find('=');
    if (eq != std::string::npos) {
        r.name = text.substr(0, eq);
        coords = text.substr(eq + 1);
        if (r.name.empty()) throw Failure("bad region '" + text + "': empty name before '='");
    } else {
        r.name = "roi" + std::to_string(number);
    }
    const std::vector<int32_t> v = parseInts(coords, 4, "region (expected [name=]x,y,w,h)");
    r.x = v[0];
    r.y = v[1];
    r.w = v[2];
    r.h = v[3];
    if (r.w == 0 || r.h == 0) throw Failure("bad region '" + text + "': width and height must be at least 1");
    return r;
}

Spot parseSpot(const std::string& text) {
    const std::vector<int32_t> v = parseInts(text, 2, "spot (expected x,y)");
    return Spot{v[0], v[1]};
}

void requireInside(const Region& r, const FrameSize& size) {
    if (r.x + r.w > size.width || r.y + r.h > size.height) {
        throw Failure("region " + r.name + " (" + std::to_string(r.x) + "," + std::to_string(r.y) + " " +
                      std::to_string(r.w) + "x" + std::to_string(r.h) + ") reaches outside the " +
                      size.text() + " frame");
    }
}

void requireInside(const Spot& s, const FrameSize& size) {
    if (s.x >= size.width || s.y >= size.height) {
        throw Failure("spot " + std::to_string(s.x) + "," + std::to_string(s.y) + " lies outside the " +
                      size.text() + " frame");
    }
}

}  // namespace kalviro::cli
