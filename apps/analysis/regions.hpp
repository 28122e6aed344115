// Areas of every shape: rectangles, ellipses, polygons, lines and spots,
// each with a name and optionally its own emissivity, and the pixels each
// holds. Coordinates are those of the image plane: pixel (x, y) covers
// [x, x+1) x [y, y+1), its centre is (x + 0.5, y + 0.5).
//
// - rectangle x,y,w,h: the pixels x..x+w-1, y..y+h-1.
// - ellipse cx,cy,rx,ry: the pixels whose centre lies inside or on it,
//   ((px-cx)/rx)^2 + ((py-cy)/ry)^2 <= 1.
// - polygon x1,y1,...: the pixels whose centre lies inside it by the
//   even-odd rule; a centre exactly on an edge belongs to it when the
//   polygon lies to the centre's right (left and top edges in, right and
//   bottom edges out), so two polygons sharing an edge share no pixel.
// - line x1,y1,x2,y2 between the centres of two pixels: the pixels whose
//   square the segment passes through (more than a corner), in order from
//   the first endpoint.
// - spot x,y: that pixel.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "analysis/stats.hpp"
#include "frames/frame_size.hpp"

namespace kalviro::cli {

enum class AreaKind : uint8_t { Rectangle, Ellipse, Polygon, Line, Spot };

// "rectangle", "ellipse", "polygon", "line", "spot".
const char* areaKindName(AreaKind kind);

struct Area {
    AreaKind kind = AreaKind::Rectangle;
    std::string name;
    std::vector<double> coords;       // as given, in the kind's order
    std::optional<float> emissivity;  // its own, from the suffix :e=E
    std::vector<uint32_t> pixels;     // frame indices: row order, a line's along it
};

// "[name=]numbers[:e=E]" of a kind; unnamed shapes get the kind's word and
// their number among that kind (roi1, ellipse2, polygon1, line3, spot1).
// Failure, one line, on anything else, on a shape reaching outside the
// frame or holding no pixel.
Area parseArea(AreaKind kind, const std::string& text, size_t number, const FrameSize& size);

// The pixels of a shape on a frame of that size, as described above.
std::vector<uint32_t> areaPixels(AreaKind kind, const std::vector<double>& coords, const FrameSize& size);

// Failure when two shapes share a name, or a name is "frame".
void requireDistinctNames(const std::vector<Area>& shapes);

// Statistics of the listed pixels: the same numbers as regionStats gives
// for a rectangle (valid values only, see validTemp; extremes first in list order; mean
// and the population standard deviation from the deviations about it).
Stats pixelStats(const float* temps, int32_t width, const std::vector<uint32_t>& pixels);

// A shape's statistics as every report gives them: a rectangle by
// regionStats' sums, any other shape by pixelStats over its pixels.
Stats areaStats(const float* temps, int32_t width, const Area& area);

// A histogram of the finite values: `bins` equal bins from lo to hi (the
// smallest and largest value), edge k at lo + k (hi - lo) / bins; each bin
// holds [edge k, edge k+1), the last also hi. When all values are equal,
// the first bin holds them all.
struct Histogram {
    double lo = 0.0, hi = 0.0;
    std::vector<uint64_t> counts;
};
Histogram histogramOf(const float* temps, const std::vector<uint32_t>* pixels, size_t count, float lo,
                      float hi, int32_t bins);

// The bins given to --bins: 1 to 4096.
int32_t checkBins(int64_t bins);

}  // namespace kalviro::cli
