#include "view_series.hpp"

#include <nlohmann/json.hpp>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "block_fields.hpp"
#include "failure.hpp"
#include "le_bytes.hpp"

namespace kalviro::cli {

namespace {

const char* kindName(ShapeKind k) {
    switch (k) {
        case ShapeKind::Spot: return "spot";
        case ShapeKind::Roi: return "roi";
        case ShapeKind::Ellipse: return "ellipse";
        case ShapeKind::Line: return "line";
    }
    return "";
}

// A float temperature as its shortest decimal; null where it is none.
nlohmann::ordered_json tempJson(double t, bool isFloat) {
    if (!std::isfinite(t)) return nullptr;
    return isFloat ? shortestDouble(static_cast<float>(t)) : t;
}

}  // namespace

Shape parseShape(ShapeKind kind, const std::string& text, size_t number, const FrameSize& size) {
    Shape s;
    s.kind = kind;
    if (kind == ShapeKind::Spot) {
        const size_t eq = text.find('=');
        const Spot p = parseSpot(eq == std::string::npos ? text : text.substr(eq + 1));
        requireInside(p, size);
        s.box = Region{eq == std::string::npos ? "spot" + std::to_string(number) : text.substr(0, eq), p.x,
                       p.y, 1, 1};
        return s;
    }
    if (kind == ShapeKind::Line) {
        // Two ends, each inside the frame; the region parser reads the four numbers.
        const size_t eq = text.find('=');
        const std::string coords = eq == std::string::npos ? text : text.substr(eq + 1);
        const size_t c1 = coords.find(',');
        const size_t c2 = c1 == std::string::npos ? c1 : coords.find(',', c1 + 1);
        if (c2 == std::string::npos) throw Failure("bad line '" + text + "': expected [name=]x0,y0,x1,y1");
        const Spot a = parseSpot(coords.substr(0, c2));
        const Spot b = parseSpot(coords.substr(c2 + 1));
        requireInside(a, size);
        requireInside(b, size);
        s.box = Region{eq == std::string::npos ? "line" + std::to_string(number) : text.substr(0, eq), a.x,
                       a.y, b.x, b.y};
        return s;
    }
    s.box = parseRegion(text, number);
    if (kind == ShapeKind::Ellipse && text.find('=') == std::string::npos)
        s.box.name = "ellipse" + std::to_string(number);
    requireInside(s.box, size);
    return s;
}

std::vector<Spot> shapePixels(const Shape& s) {
    std::vector<Spot> out;
    const Region& b = s.box;
    if (s.kind == ShapeKind::Ellipse) {
        const double rx = b.w / 2.0, ry = b.h / 2.0;
        const double cx = b.x + rx, cy = b.y + ry;
        // Multiplied out as the command tests it, so boundary pixels agree.
        const double rx2 = rx * rx, ry2 = ry * ry;
        for (int32_t y = b.y; y < b.y + b.h; ++y) {
            for (int32_t x = b.x; x < b.x + b.w; ++x) {
                const double dx = x + 0.5 - cx, dy = y + 0.5 - cy;
                if (dx * dx * ry2 + dy * dy * rx2 <= rx2 * ry2) out.push_back(Spot{x, y});
            }
        }
    } else if (s.kind == ShapeKind::Line) {
        // Every pixel the segment from (x, y) to (w, h) crosses, as
        // `kalviro convert --line` walks it.
        const int64_t dx = std::llabs(int64_t{b.w} - b.x), dy = std::llabs(int64_t{b.h} - b.y);
        const int32_t sx = b.w > b.x ? 1 : -1, sy = b.h > b.y ? 1 : -1;
        int64_t nx = 1, ny = 1;
        int32_t x = b.x, y = b.y;
        out.push_back(Spot{x, y});
        while (x != b.w || y != b.h) {
            const int64_t tx = dx == 0 ? INT64_MAX : nx * dy, ty = dy == 0 ? INT64_MAX : ny * dx;
            if (tx <= ty && dx != 0) {
                x += sx;
                nx += 2;
            }
            if (ty <= tx && dy != 0) {
                y += sy;
                ny += 2;
            }
            out.push_back(Spot{x, y});
        }
    } else {
        out.push_back(Spot{b.x, b.y});
    }
    return out;
}

Stats pixelStats(const float* temps, int32_t width, const std::vector<Spot>& pixels) {
    Stats s;
    double sum = 0.0, squares = 0.0;
    bool any = false;
    for (const Spot& p : pixels) {
        const float t =
            temps[static_cast<size_t>(p.y) * static_cast<size_t>(width) + static_cast<size_t>(p.x)];
        if (!(std::fabs(t) <= FLT_MAX)) {
            ++s.invalid;
            continue;
        }
        if (!any || t < s.min) {
            s.min = t;
            s.coldest = PixelTemp{p.x, p.y, t};
        }
        if (!any || t > s.max) {
            s.max = t;
            s.hottest = PixelTemp{p.x, p.y, t};
        }
        any = true;
        sum += t;
        squares += static_cast<double>(t) * t;
    }
    s.count = pixels.size() - s.invalid;
    if (s.count == 0) return s;
    const double n = static_cast<double>(s.count);
    s.mean = sum / n;
    s.stddev = std::sqrt(std::max(0.0, squares / n - s.mean * s.mean));
    return s;
}

nlohmann::ordered_json seriesJson(const Recording& rec, const std::vector<Shape>& shapes, uint64_t first,
                                  uint64_t end) {
    const int32_t width = rec.size().width;
    std::vector<std::vector<Spot>> pixels;
    for (const Shape& s : shapes) pixels.push_back(shapePixels(s));
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
            const Shape& s = shapes[k];
            const Stats st = s.kind == ShapeKind::Roi ? regionStats(temps.data(), width, s.box)
                                                      : pixelStats(temps.data(), width, pixels[k]);
            const bool none = st.count == 0;
            mins[k].push_back(none ? nlohmann::ordered_json(nullptr) : tempJson(st.min, true));
            if (s.kind == ShapeKind::Spot) continue;
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
        j["shape"] = kindName(shapes[k].kind);
        j["name"] = shapes[k].box.name;
        if (shapes[k].kind == ShapeKind::Spot) {
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
