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

#include "block_settings.hpp"
#include "canvas.hpp"
#include "frame_size.hpp"
#include "kalviro.hpp"
#include "palette.hpp"
#include "pending_files.hpp"
#include "regions.hpp"
#include "stats.hpp"
#include "units.hpp"

namespace kalviro::cli {

// What every temperature of every output is in.

// What a run converts, the same for all its frames.
struct RunInfo {
    std::string source;
    FrameSize size;
    CalTypeInfo calType{};
    float emissivity = kDefaultEmissivity;
    std::optional<double> distance;  // metres, when it overrides the block's
    std::vector<Region> regions;
    std::vector<Spot> spots;
    bool sequence = false;                 // per-frame files get the frame number in their name
    std::optional<uint64_t> totalFrames;   // of the source, when known
    std::vector<Area> shapes;              // every region and spot, in the order given
    std::vector<float> otherEmissivities;  // of the shapes, each once, other than the run's
    std::vector<FieldSetting> settings;    // --set, written into each block as read
    Unit unit = Unit::Celsius;             // of every temperature written
    int32_t bins = 64;                     // of each histogram
};

// One converted frame.
struct FrameResult {
    uint64_t index = 0;
    std::vector<float> temps;
    std::vector<uint16_t> grays;  // the frame's gray values, as read
    uint16_t centreGray = 0;
    float perFrame = 0.0f;  // the per-frame call's value for centreGray
    Stats whole;
    std::vector<Stats> regions;
    std::vector<float> spots;
    TempFrameInfo settings{};           // the block as the camera wrote it
    std::vector<Stats> shapeStats;      // of RunInfo::shapes, in order
    std::vector<Histogram> histograms;  // of RunInfo::shapes, in order
    Histogram histogram;                // of the frame
};

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

class Output {
public:
    virtual ~Output() = default;
    // true: frame() is called by the worker that converted the frame, in any
    // order and at the same time as for other frames. false: in frame order,
    // one frame at a time.
    virtual bool perFrame() const = 0;
    virtual void frame(const FrameResult& r) = 0;
    // The part of an in-order output's work a frame alone decides, done by
    // the worker that converted it, in any order, before frame().
    virtual void prepare(const FrameResult&) {}
    virtual void finish() {}
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
