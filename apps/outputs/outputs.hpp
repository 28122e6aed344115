// The outputs of `convert`, chosen by the extension of each -o: .csv and
// .png (one file per frame), .tiff (one page per frame) and .json (one
// report). Each writes through PendingFiles.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "analysis/frame_result.hpp"
#include "outputs/canvas.hpp"
#include "outputs/palette.hpp"
#include "outputs/pending_files.hpp"

namespace kalviro::cli {

struct PngOptions {
    const Palette* palette = nullptr;
    std::optional<std::pair<float, float>> range;  // fixed LO:HI; per frame otherwise
    bool markers = true;
    int32_t scale = 1;
    std::optional<std::pair<double, double>> percentiles;  // --range auto:P1:P2
    bool overlays = true;                                  // regions, spots, their values
    std::optional<std::pair<float, float>> isotherm;       // band painted in its own colour
    double fps = 30.0;                                     // video outputs
    bool counts = false;  // .tiff holds the gray values and blocks, not temperatures
};

// Failure for an extension it does not know.
std::unique_ptr<Output> makeOutput(const std::string& target, const RunInfo& run, const PngOptions& png,
                                   PendingFiles& files);

// The target of frame `index` of a sequence: "out.png" -> "out_0042.png",
// with at least four digits, more when the sequence needs them.
std::string numberedName(const std::string& target, uint64_t index, const RunInfo& run);

// Every name a run over frames [first, end) will write, for checking before
// any work; per-frame names only where the frame count is known.
std::vector<std::string> plannedNames(const std::string& target, const RunInfo& run, uint64_t first,
                                      std::optional<uint64_t> end);

// The settings of a frame: conversion arguments and the block field by field.
nlohmann::ordered_json frameSettingsJson(const RunInfo& run, const FrameResult& r);
nlohmann::ordered_json statsJson(const Stats& s);
// Temperatures in reports carry hundredths; more digits would only show
// float noise.
double hundredths(double t);

std::unique_ptr<Output> makeCsvOutput(const std::string& target, const RunInfo& run, PendingFiles& files);
std::unique_ptr<Output> makePngOutput(const std::string& target, const RunInfo& run, const PngOptions& png,
                                      PendingFiles& files);
std::unique_ptr<Output> makeTiffOutput(const std::string& target, const RunInfo& run, PendingFiles& files);
std::unique_ptr<Output> makeJsonOutput(const std::string& target, const RunInfo& run, PendingFiles& files);
std::unique_ptr<Output> makeCountsOutput(const std::string& target, const RunInfo& run, PendingFiles& files);
std::unique_ptr<Output> makeVideoOutput(const std::string& target, const RunInfo& run, const PngOptions& png,
                                        PendingFiles& files);
bool isVideoExtension(const std::string& ext);

// The false-colour picture of a frame as the PNG shows it (palette, range,
// colour bar, markers), and the line naming its colour range.
struct Rendered {
    Canvas canvas;
    std::string comment;
};
Rendered renderFrame(const FrameResult& r, const RunInfo& run, const PngOptions& png);

}  // namespace kalviro::cli
