#include "outputs/outputs.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "frames/block_fields.hpp"
#include "frames/failure.hpp"
#include "outputs/output_names.hpp"

namespace kalviro::cli {

std::string extensionOf(const std::string& target) {
    const size_t slash = target.rfind('/');
    const size_t dot = target.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
    std::string ext = target.substr(dot + 1);
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    return ext;
}

namespace {

bool perFrameExtension(const std::string& ext) { return ext == "csv" || ext == "png"; }

}  // namespace

std::unique_ptr<Output> makeOutput(const std::string& target, const RunInfo& run, const PngOptions& png,
                                   PendingFiles& files) {
    const std::string ext = extensionOf(target);
    if (ext == "csv") return makeCsvOutput(target, run, files);
    if (ext == "png") return makePngOutput(target, run, png, files);
    if ((ext == "tif" || ext == "tiff") && png.counts) return makeCountsOutput(target, run, files);
    if (ext == "tif" || ext == "tiff") return makeTiffOutput(target, run, files);
    if (isVideoExtension(ext)) return makeVideoOutput(target, run, png, files);
    if (ext == "json") return makeJsonOutput(target, run, files);
    throw Failure("cannot tell the format of " + target +
                  ": give it the extension .csv, .tiff, .png, .json, .mp4, .mkv, .webm or .gif");
}

std::string numberedName(const std::string& target, uint64_t index, const RunInfo& run) {
    const bool placeholder = hasPlaceholder(target, "frame");
    if (!run.sequence && !placeholder) return target;
    size_t digits = 4;
    if (run.totalFrames) digits = std::max(digits, std::to_string(*run.totalFrames - 1).size());
    std::string number = std::to_string(index);
    if (number.size() < digits) number.insert(0, digits - number.size(), '0');
    if (placeholder) return replacePlaceholder(target, "frame", number);
    const size_t slash = target.rfind('/');
    size_t dot = target.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) dot = target.size();
    return target.substr(0, dot) + "_" + number + target.substr(dot);
}

std::vector<std::string> plannedNames(const std::string& target, const RunInfo& run, uint64_t first,
                                      std::optional<uint64_t> end) {
    if (!perFrameExtension(extensionOf(target))) {
        if (hasPlaceholder(target, "frame")) {
            throw Failure("bad output name '" + target +
                          "': {frame} names files written a frame each (.png, .csv)");
        }
        return {target};
    }
    if (!run.sequence && !hasPlaceholder(target, "frame")) return {target};
    std::vector<std::string> names;
    if (end) {
        for (uint64_t i = first; i < *end; ++i) names.push_back(numberedName(target, i, run));
        return names;
    }
    // A stream's length is not known: its first name, and every file already
    // there that a later frame would write.
    names.push_back(numberedName(target, first, run));
    const size_t slash = target.rfind('/');
    const std::string dir = slash == std::string::npos ? "" : target.substr(0, slash + 1);
    const std::string stem = numberedName(target, 0, run);
    const size_t digitsAt = stem.rfind("_0000") + 1 - dir.size();
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(dir.empty() ? "." : dir, error)) {
        const std::string name = entry.path().filename().string();
        const size_t digits = name.find_first_not_of("0123456789", digitsAt);
        if (name.size() <= digitsAt || digits == digitsAt || digits - digitsAt > 19) continue;
        const uint64_t index = std::strtoull(name.c_str() + digitsAt, nullptr, 10);
        if (index > first && numberedName(target, index, run) == dir + name) names.push_back(dir + name);
    }
    return names;
}

double hundredths(double t) { return std::isfinite(t) ? std::round(t * 100.0) / 100.0 : t; }

nlohmann::ordered_json statsJson(const Stats& s) {
    nlohmann::ordered_json j;
    if (s.count == 0) {
        j["min"] = nullptr;
        j["max"] = nullptr;
        j["mean"] = nullptr;
        j["std"] = nullptr;
    } else {
        j["min"] = hundredths(s.min);
        j["max"] = hundredths(s.max);
        j["mean"] = std::round(s.mean * 1000.0) / 1000.0;
        j["std"] = std::round(s.stddev * 1000.0) / 1000.0;
        j["hottest"] = {{"x", s.hottest.x}, {"y", s.hottest.y}, {"t", hundredths(s.hottest.t)}};
        j["coldest"] = {{"x", s.coldest.x}, {"y", s.coldest.y}, {"t", hundredths(s.coldest.t)}};
    }
    j["pixels"] = s.count;
    j["invalid"] = s.invalid;
    return j;
}

nlohmann::ordered_json frameSettingsJson(const RunInfo& run, const FrameResult& r) {
    nlohmann::ordered_json j;
    j["frame"] = r.index;
    j["calType"] = run.calType.calType;
    j["layout"] = layoutName(run.calType.layout);
    j["emissivity"] = shortestDouble(run.emissivity);
    j["unit"] = unitName(run.unit);
    j["distanceOverride"] =
        run.distance ? nlohmann::ordered_json(*run.distance) : nlohmann::ordered_json(nullptr);
    j["block"] = blockJson(blockBytes(r.settings), run.calType.layout);
    j["units"] = blockUnitsJson(run.calType.layout);
    return j;
}

}  // namespace kalviro::cli
