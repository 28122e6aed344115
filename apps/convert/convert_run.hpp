// The conversion of a frame file: the per-frame calls in frame order on one
// camera (first frames latch values), each frame's converted state copied to
// a worker that converts its pixels through its own frame table and writes
// its per-frame outputs, and the ordered outputs fed in frame order. Any
// number of threads gives the bytes of a serial run.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "convert/frame_source.hpp"
#include "outputs/outputs.hpp"

namespace kalviro::cli {

// Frames [first, end); "A:B", "A:", ":B" or "K" (that frame alone).
struct FrameRange {
    uint64_t first = 0;
    std::optional<uint64_t> end;
};
FrameRange parseFrameRange(const std::string& text);

struct RegionSummary {
    float min = 0.0f, max = 0.0f;
    double meanOfMeans = 0.0;
    uint64_t frames = 0;  // frames in which the region had a finite pixel
};

struct ConvertSummary {
    uint64_t frames = 0;
    uint64_t first = 0;
    double seconds = 0.0;
    unsigned threads = 1;
    FrameResult last;  // without its temperatures
    // Over all frames: the extremes and the frames they were in.
    RegionSummary whole;
    uint64_t coldestFrame = 0, hottestFrame = 0;
    PixelTemp coldest, hottest;
    std::vector<RegionSummary> regions;
};

ConvertSummary convertFrames(FrameSource& source, const RunInfo& run, const FrameRange& range,
                             unsigned threads, bool quiet,
                             const std::vector<std::unique_ptr<Output>>& outputs);

// Sets the block's distance field (hundredths of a metre): the field, not
// the argument, decides the conversion.
void overrideDistance(TempFrameInfo& block, double metres);

}  // namespace kalviro::cli
