// The options of `convert` that analyse and mark a frame: regions of every
// shape, histograms, overlays, isotherms, alarms, the unit and --set. Kept
// as given on the command line; runConvert checks them against the frame.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace kalviro::cli {

struct RunInfo;
struct PngOptions;
struct ConvertOptions;
enum class AreaKind : uint8_t;

struct AnalysisOptions {
    // --roi, --ellipse, --polygon, --line and --spot in the order given:
    // where regions overlap, the last one's emissivity wins.
    std::vector<std::pair<AreaKind, std::string>> shapes;
    std::vector<std::string> ellipses, polygons, lines;  // as CLI11 collects them
    int64_t bins = 64;
    bool noOverlays = false;
    std::optional<std::string> isotherm;
    std::vector<std::string> alarms;
    std::optional<std::string> unit;  // C when not given
    std::vector<std::string> settings;
};

// Adds the options to `convert`; call after --roi and --spot are added.
void addAnalysisOptions(CLI::App* convert, AnalysisOptions& o);

// Fills the run's shapes (and the rectangles and spots of old), their
// emissivities, the unit, the bins and the settings; Failure on any bad one.
void prepareAnalysis(const ConvertOptions& o, RunInfo& run);
// --range LO:HI or auto:P1:P2, --isotherm and --no-overlays.
void preparePicture(const ConvertOptions& o, const RunInfo& run, PngOptions& png);

}  // namespace kalviro::cli
