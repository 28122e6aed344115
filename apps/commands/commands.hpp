// The subcommands of `kalviro`, each a plain function of its options, which
// its file registers (subcommand.hpp); these throw Failure on bad input.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "commands/analysis_options.hpp"
#include "frames/frame_size.hpp"
#include "kalviro.hpp"

namespace kalviro::cli {

struct ListOptions {
    bool json = false;
};

struct InfoOptions {
    std::string file;
    int32_t calType = 0;
    std::optional<std::string> size;
    uint64_t frame = 0;
    bool json = false;
    bool csv = false;
};

struct ConvertOptions {
    std::vector<std::string> inputs;  // FILE arguments: files, directories, globs
    std::string file;                 // the one input being converted
    std::optional<int32_t> calType;
    std::optional<std::string> size;
    double emissivity = kDefaultEmissivity;
    std::optional<double> distance;
    std::optional<std::string> frames;
    std::vector<std::string> outputs;
    std::string palette = "iron";
    std::optional<std::string> range;
    bool noMarkers = false;
    int32_t scale = 1;
    std::vector<std::string> regions;
    std::vector<std::string> spots;
    unsigned threads = 0;  // 0: one per core
    bool force = false;
    bool demo = false;
    bool quiet = false;
    AnalysisOptions analysis;
    double fps = 30.0;
    bool counts = false;
    std::optional<std::string> table;
    bool skipExisting = false;
};

struct SynthOptions {
    int32_t calType = 0;
    std::string size;
    std::string output;
    uint64_t frames = 1;
    std::string scene = "hotspot";
    double emissivity = kDefaultEmissivity;
    std::optional<std::string> truth;
    bool force = false;
};

struct Temp2GrayOptions {
    std::string file;
    int32_t calType = 0;
    std::optional<std::string> size;
    uint64_t frame = 0;
    double temp = 0.0;
    double emissivity = kDefaultEmissivity;
    std::optional<double> distance;
    bool json = false;
};

void runList(const ListOptions& o);
void runInfo(const InfoOptions& o);
void runConvert(const ConvertOptions& o);  // every input, each on its own
class TableFile;
// One input (o.file, outputs already named for it); rows also go to
// `sharedTable` when given. false: skipped, its outputs all exist.
bool convertFile(const ConvertOptions& o, TableFile* sharedTable);
void runSynth(const SynthOptions& o);
void runTemp2Gray(const Temp2GrayOptions& o);

// --size, when given; Failure naming what it expected.
std::optional<FrameSize> optionalSize(const std::optional<std::string>& text);

}  // namespace kalviro::cli
