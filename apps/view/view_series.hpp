// Spots, rectangles, ellipses and lines drawn on the viewer's page, and
// their statistics over a run of frames.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>
#include <vector>

#include "stats.hpp"
#include "view_store.hpp"

namespace kalviro::cli {

enum class ShapeKind { Spot, Roi, Ellipse, Line };

struct Shape {
    ShapeKind kind = ShapeKind::Spot;
    Region box;  // spot: x, y; roi and ellipse: the box; line: x,y to w,h as x1,y1
};

// "[name=]x,y" for a spot, "[name=]x,y,w,h" for a rectangle or the box of an
// ellipse, "[name=]x0,y0,x1,y1" for a line; Failure unless inside the frame.
Shape parseShape(ShapeKind kind, const std::string& text, size_t number, const FrameSize& size);

// The pixels an ellipse or line covers, in row order (ellipse) or from its
// first end to its last (line). A pixel lies in the ellipse when its centre
// does.
std::vector<Spot> shapePixels(const Shape& s);

// The statistics of a list of pixels, invalid values left out as in
// regionStats.
Stats pixelStats(const float* temps, int32_t width, const std::vector<Spot>& pixels);

// Frames [first, end) of the recording, each shape's statistics (a spot's
// temperature) per frame, with each frame's number and upTime.
nlohmann::ordered_json seriesJson(const Recording& rec, const std::vector<Shape>& shapes, uint64_t first,
                                  uint64_t end);

}  // namespace kalviro::cli
