#include "analysis/region_emissivity.hpp"

#include <algorithm>

namespace kalviro::cli {

std::vector<float> otherEmissivities(const std::vector<Area>& shapes, float runEmissivity) {
    std::vector<float> out;
    for (const Area& s : shapes) {
        if (s.emissivity && *s.emissivity != runEmissivity &&
            std::find(out.begin(), out.end(), *s.emissivity) == out.end())
            out.push_back(*s.emissivity);
    }
    return out;
}

EmissivityCameras::EmissivityCameras(const RunInfo& run) {
    for (float e : run.otherEmissivities) cameras_.push_back({e, Camera(run.calType.calType), {}});
}

std::vector<EmissivityFrame> EmissivityCameras::perFrame(const TempFrameInfo& block, uint16_t gray,
                                                         float distance) {
    for (EmissivityFrame& c : cameras_) {
        c.block = block;
        c.camera.init(gray, &c.block, c.emissivity, distance);
    }
    return cameras_;
}

void applyEmissivities(const RunInfo& run, const uint16_t* pixels, size_t count,
                       const std::vector<EmissivityFrame>& frames, float distance, float* temps,
                       EmissivityTables& tables) {
    if (frames.empty()) return;
    // Last given first: a pixel once taken keeps what the later region gave
    // it; a region at the run's emissivity takes its pixels as they are.
    std::vector<std::vector<uint32_t>> owned(frames.size());
    std::vector<uint8_t> taken(count, 0);
    for (auto s = run.shapes.rbegin(); s != run.shapes.rend(); ++s) {
        if (!s->emissivity) continue;
        const auto k = static_cast<size_t>(
            std::find(run.otherEmissivities.begin(), run.otherEmissivities.end(), *s->emissivity) -
            run.otherEmissivities.begin());
        for (uint32_t i : s->pixels) {
            if (taken[i]) continue;
            taken[i] = 1;
            if (k < frames.size()) owned[k].push_back(i);
        }
    }
    // A pixel's temperature depends on its gray value alone: converting the
    // owned pixels by themselves gives each the bits of the whole frame.
    if (tables.size() < frames.size()) tables.resize(frames.size());
    std::vector<uint16_t> grays;
    std::vector<float> converted;
    for (size_t k = 0; k < frames.size(); ++k) {
        if (owned[k].empty()) continue;
        grays.resize(owned[k].size());
        converted.resize(owned[k].size());
        for (size_t j = 0; j < owned[k].size(); ++j) grays[j] = pixels[owned[k][j]];
        if (!tables[k]) tables[k] = std::make_unique<KalviroFrameTable>();
        frames[k].camera.realFrame(grays.data(), grays.size(), &frames[k].block, frames[k].emissivity,
                                   distance, converted.data(), *tables[k]);
        for (size_t j = 0; j < owned[k].size(); ++j) temps[owned[k][j]] = converted[j];
    }
}

void analyseShapes(const RunInfo& run, FrameResult& r, bool histograms) {
    const int32_t w = run.size.width;
    const float* t = r.temps.data();
    if (histograms) r.histogram = histogramOf(t, nullptr, r.temps.size(), r.whole.min, r.whole.max, run.bins);
    r.shapeStats.clear();
    r.histograms.clear();
    for (const Area& s : run.shapes) {
        const Stats st = areaStats(t, w, s);
        r.shapeStats.push_back(st);
        r.histograms.push_back(s.kind == AreaKind::Spot || !histograms
                                   ? Histogram{}
                                   : histogramOf(t, &s.pixels, 0, st.min, st.max, run.bins));
    }
}

}  // namespace kalviro::cli
