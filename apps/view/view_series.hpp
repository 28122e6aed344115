// The shapes drawn on the viewer's page, as the command takes them, and
// their statistics over a run of frames.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>
#include <vector>

#include "analysis/regions.hpp"
#include "view/view_store.hpp"

namespace kalviro::cli {

// The words a request names shapes by ("spot", "roi", "ellipse", "line",
// "polygon"), each with its kind.
struct ShapeWord {
    const char* word;
    AreaKind kind;
};
extern const ShapeWord kShapeWords[5];

// A shape in the command's own syntax (see parseArea) on a frame of that
// size; Failure on anything else, and on an emissivity of its own, which
// the viewer does not convert with.
Area parseViewShape(const ShapeWord& w, const std::string& text, size_t number, const FrameSize& size);

// Frames [first, end) of the recording, each shape's statistics (a spot's
// temperature) per frame, with each frame's number and upTime.
nlohmann::ordered_json seriesJson(const Recording& rec, const std::vector<Area>& shapes, uint64_t first,
                                  uint64_t end);

}  // namespace kalviro::cli
