// Regions, spots and histograms in the JSON report.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "outputs/outputs.hpp"

namespace kalviro::cli {

// Every region in the order given: its name, kind, coordinates, its own
// emissivity if any, statistics, histogram, and a line's profile.
nlohmann::ordered_json regionsJson(const RunInfo& run, const FrameResult& r);
// Every spot: name, place, temperature.
nlohmann::ordered_json spotsJson(const RunInfo& run, const FrameResult& r);
// {lo, hi, counts}: bin k from lo + k (hi - lo) / n.
nlohmann::ordered_json histogramJson(const Histogram& h, const Stats& s);
// What the report's head adds: the unit, the bins, the settings written.
nlohmann::ordered_json analysisHeadJson(const RunInfo& run);

}  // namespace kalviro::cli
