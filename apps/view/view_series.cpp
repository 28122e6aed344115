#include "view/view_series.hpp"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>

#include "frames/block_fields.hpp"
#include "frames/failure.hpp"
#include "frames/le_bytes.hpp"

namespace kalviro::cli {

namespace {

// A float temperature as its shortest decimal; null where it is none.
nlohmann::ordered_json tempJson(double t, bool isFloat) {
    if (!std::isfinite(t)) return nullptr;
    return isFloat ? shortestDouble(static_cast<float>(t)) : t;
}

const char* wordOf(AreaKind kind) {
    for (const ShapeWord& w : kShapeWords)
        if (w.kind == kind) return w.word;
    return "";
}

}  // namespace

const ShapeWord kShapeWords[5] = {{"spot", AreaKind::Spot},
                                  {"roi", AreaKind::Rectangle},
                                  {"ellipse", AreaKind::Ellipse},
                                  {"line", AreaKind::Line},
                                  {"polygon", AreaKind::Polygon}};

Area parseViewShape(const ShapeWord& w, const std::string& text, size_t number, const FrameSize& size) {
    Area a = parseArea(w.kind, text, number, size);
    if (a.emissivity)
        throw Failure("bad " + std::string(w.word) + " '" + text + "': the viewer takes no :e=EMISSIVITY");
    return a;
}

nlohmann::ordered_json seriesJson(const Recording& rec, const std::vector<Area>& shapes, uint64_t first,
                                  uint64_t end) {
    const int32_t width = rec.size().width;
    nlohmann::ordered_json frames = nlohmann::ordered_json::array();
    nlohmann::ordered_json upTime = nlohmann::ordered_json::array();
    std::vector<nlohmann::ordered_json> mins(shapes.size()), maxs(shapes.size()), means(shapes.size()),
        stds(shapes.size());
    std::vector<float> temps;
    for (uint64_t i = first; i < end; ++i) {
        const std::shared_ptr<const StoredFrame> f = rec.frame(i);
        if (!f) continue;  // dropped meanwhile
        // Without shapes only the frames and their upTime are asked for.
        if (!shapes.empty() && !rec.tempsInto(i, temps)) continue;
        frames.push_back(i);
        upTime.push_back(loadI32(blockBytes(f->settings) + offsetof(TempFrameInfo, upTime)));
        for (size_t k = 0; k < shapes.size(); ++k) {
            const Stats st = areaStats(temps.data(), width, shapes[k]);
            const bool none = st.count == 0;
            mins[k].push_back(none ? nlohmann::ordered_json(nullptr) : tempJson(st.min, true));
            if (shapes[k].kind == AreaKind::Spot) continue;
            maxs[k].push_back(none ? nlohmann::ordered_json(nullptr) : tempJson(st.max, true));
            means[k].push_back(none ? nlohmann::ordered_json(nullptr) : tempJson(st.mean, false));
            stds[k].push_back(none ? nlohmann::ordered_json(nullptr) : tempJson(st.stddev, false));
        }
    }
    nlohmann::ordered_json out;
    out["first"] = first;
    out["end"] = end;
    out["frames"] = std::move(frames);
    out["upTime"] = std::move(upTime);
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (size_t k = 0; k < shapes.size(); ++k) {
        nlohmann::ordered_json j;
        j["shape"] = wordOf(shapes[k].kind);
        j["name"] = shapes[k].name;
        if (shapes[k].kind == AreaKind::Spot) {
            j["t"] = mins[k].is_null() ? nlohmann::ordered_json::array() : std::move(mins[k]);
        } else {
            j["min"] = mins[k].is_null() ? nlohmann::ordered_json::array() : std::move(mins[k]);
            j["max"] = maxs[k].is_null() ? nlohmann::ordered_json::array() : std::move(maxs[k]);
            j["mean"] = means[k].is_null() ? nlohmann::ordered_json::array() : std::move(means[k]);
            j["std"] = stds[k].is_null() ? nlohmann::ordered_json::array() : std::move(stds[k]);
        }
        list.push_back(std::move(j));
    }
    out["shapes"] = std::move(list);
    return out;
}

}  // namespace kalviro::cli
