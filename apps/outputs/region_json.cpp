#include "outputs/region_json.hpp"

#include <nlohmann/json.hpp>

#include "analysis/stats.hpp"
#include "frames/block_fields.hpp"

namespace kalviro::cli {

namespace {

nlohmann::ordered_json coordsJson(const Area& s) {
    const auto& c = s.coords;
    nlohmann::ordered_json j;
    switch (s.kind) {
        case AreaKind::Rectangle: j = {{"x", c[0]}, {"y", c[1]}, {"w", c[2]}, {"h", c[3]}}; break;
        case AreaKind::Ellipse: j = {{"cx", c[0]}, {"cy", c[1]}, {"rx", c[2]}, {"ry", c[3]}}; break;
        case AreaKind::Polygon: {
            nlohmann::ordered_json points = nlohmann::ordered_json::array();
            for (size_t k = 0; k + 1 < c.size(); k += 2) points.push_back({c[k], c[k + 1]});
            j["points"] = points;
            break;
        }
        case AreaKind::Line: j = {{"x1", c[0]}, {"y1", c[1]}, {"x2", c[2]}, {"y2", c[3]}}; break;
        case AreaKind::Spot: j = {{"x", c[0]}, {"y", c[1]}}; break;
    }
    // Whole numbers print as such.
    for (auto& v : j) {
        if (v.is_number_float() &&
            v.get<double>() == static_cast<double>(static_cast<int64_t>(v.get<double>())))
            v = static_cast<int64_t>(v.get<double>());
    }
    return j;
}

}  // namespace

nlohmann::ordered_json histogramJson(const Histogram& h, const Stats& s) {
    if (s.count == 0) return nullptr;
    return {{"lo", hundredths(h.lo)}, {"hi", hundredths(h.hi)}, {"counts", h.counts}};
}

nlohmann::ordered_json regionsJson(const RunInfo& run, const FrameResult& r) {
    nlohmann::ordered_json out = nlohmann::ordered_json::array();
    for (size_t i = 0; i < run.shapes.size(); ++i) {
        const Area& s = run.shapes[i];
        if (s.kind == AreaKind::Spot) continue;
        nlohmann::ordered_json j = {{"name", s.name}, {"kind", areaKindName(s.kind)}};
        j.update(coordsJson(s));
        if (s.emissivity) j["emissivity"] = shortestDouble(*s.emissivity);
        j.update(statsJson(r.shapeStats[i]));
        j["histogram"] = histogramJson(r.histograms[i], r.shapeStats[i]);
        if (s.kind == AreaKind::Line) {
            nlohmann::ordered_json path = nlohmann::ordered_json::array();
            nlohmann::ordered_json profile = nlohmann::ordered_json::array();
            const auto w = static_cast<uint32_t>(run.size.width);
            for (uint32_t p : s.pixels) {
                path.push_back({p % w, p / w});
                profile.push_back(hundredths(r.temps[p]));
            }
            j["path"] = path;
            j["profile"] = profile;
        }
        out.push_back(j);
    }
    return out;
}

nlohmann::ordered_json spotsJson(const RunInfo& run, const FrameResult& r) {
    nlohmann::ordered_json out = nlohmann::ordered_json::array();
    for (const Area& s : run.shapes) {
        if (s.kind != AreaKind::Spot) continue;
        nlohmann::ordered_json j = {{"name", s.name}};
        j.update(coordsJson(s));
        if (s.emissivity) j["emissivity"] = shortestDouble(*s.emissivity);
        // A failure value is no temperature: readers get null, not a number to plot.
        const float t = r.temps[s.pixels[0]];
        if (validTemp(t)) {
            j["t"] = hundredths(t);
        } else {
            j["t"] = nullptr;
            j["valid"] = false;
        }
        out.push_back(j);
    }
    return out;
}

nlohmann::ordered_json analysisHeadJson(const RunInfo& run) {
    nlohmann::ordered_json j;
    j["unit"] = unitName(run.unit);
    j["bins"] = run.bins;
    nlohmann::ordered_json set = nlohmann::ordered_json::object();
    for (const FieldSetting& s : run.settings) set[s.field->name] = s.value;
    j["set"] = set;
    return j;
}

}  // namespace kalviro::cli
