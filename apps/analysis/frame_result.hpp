// What a run converts (RunInfo), what one converted frame gives
// (FrameResult), and what receives the frames: every output of `convert`
// and the alarms are an Output.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "analysis/regions.hpp"
#include "analysis/stats.hpp"
#include "analysis/units.hpp"
#include "frames/block_settings.hpp"
#include "frames/frame_size.hpp"
#include "kalviro.hpp"

namespace kalviro::cli {

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

// What receives the converted frames.
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
    // true: frame() reads the histograms, which cost as much as the
    // statistics; no other output makes them computed.
    virtual bool histograms() const { return false; }
    virtual void finish() {}
};

}  // namespace kalviro::cli
