#include "stats.hpp"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdlib>

#include "failure.hpp"

namespace kalviro::cli {

namespace {

struct Sums {
    double sum = 0.0, squares = 0.0;
};

}  // namespace

Stats regionStats(const float* temps, int32_t width, const Region& r) {
    Stats s;
    float lo = INFINITY, hi = -INFINITY;
    // Four pairs of sums, a pixel's place in a row modulo 4 choosing one:
    // shorter chains of dependent additions, the same order every run.
    Sums part[4];
    const auto visit = [&](const float* row, int32_t x, int32_t y, Sums& into) {
        const float t = row[x];
        if (!(std::fabs(t) <= FLT_MAX)) {  // NaN or infinite
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
        const double d = static_cast<double>(t);
        into.sum += d;
        into.squares += d * d;
    };
    const int32_t end = r.x + r.w;
    for (int32_t y = r.y; y < r.y + r.h; ++y) {
        const float* row = temps + static_cast<size_t>(y) * static_cast<size_t>(width);
        int32_t x = r.x;
        for (; x + 3 < end; x += 4) {
            visit(row, x, y, part[0]);
            visit(row, x + 1, y, part[1]);
            visit(row, x + 2, y, part[2]);
            visit(row, x + 3, y, part[3]);
        }
        for (int k = 0; x < end; ++x, ++k) visit(row, x, y, part[k]);
    }
    s.count = static_cast<uint64_t>(r.w) * static_cast<uint64_t>(r.h) - s.invalid;
    if (s.count == 0) return s;
    s.min = lo;
    s.max = hi;
    const double n = static_cast<double>(s.count);
    s.mean = ((part[0].sum + part[1].sum) + (part[2].sum + part[3].sum)) / n;
    const double squares = (part[0].squares + part[1].squares) + (part[2].squares + part[3].squares);
    s.stddev = std::sqrt(std::max(0.0, squares / n - s.mean * s.mean));
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
