// Regions with their own emissivity. Each distinct emissivity has a camera
// of its own that receives every frame's per-frame call at that emissivity
// on its own copy of the block, as a whole run at that emissivity would; the
// frame is converted once per emissivity and each region takes its pixels
// from that conversion, so each pixel is exactly what a whole frame at its
// emissivity gives it. Where regions overlap, the one given last wins.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "analysis/frame_result.hpp"
#include "kalviro.hpp"

namespace kalviro::cli {

struct EmissivityFrame {
    float emissivity;
    Camera camera;        // after this frame's per-frame call
    TempFrameInfo block;  // as that call left it
};

class EmissivityCameras {
public:
    explicit EmissivityCameras(const RunInfo& run);
    // The per-frame calls of a frame, on copies of its block before the
    // run's own call.
    std::vector<EmissivityFrame> perFrame(const TempFrameInfo& block, uint16_t gray, float distance);

private:
    std::vector<EmissivityFrame> cameras_;
};

// The distinct emissivities of the shapes other than the run's, in order.
std::vector<float> otherEmissivities(const std::vector<Area>& shapes, float runEmissivity);

// One table for each of the other emissivities, made at first use: each
// keeps its plan from one frame to the next.
using EmissivityTables = std::vector<std::unique_ptr<KalviroFrameTable>>;

// Overwrites the pixels of regions with their own emissivity in `temps`
// (the frame at the run's emissivity). Only those pixels are converted.
void applyEmissivities(const RunInfo& run, const uint16_t* pixels, size_t count,
                       const std::vector<EmissivityFrame>& frames, float distance, float* temps,
                       EmissivityTables& tables);

// The statistics of every shape and, with `histograms`, their histograms and
// the frame's, from the frame's final temperatures.
void analyseShapes(const RunInfo& run, FrameResult& r, bool histograms);

}  // namespace kalviro::cli
