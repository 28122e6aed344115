#include "analysis/alarms.hpp"

#include <nlohmann/json.hpp>

#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include "analysis/stats.hpp"
#include "frames/block_fields.hpp"
#include "frames/failure.hpp"
#include "frames/le_bytes.hpp"

namespace kalviro::cli {

namespace {

// Alarm outputs run one frame at a time, but a batch has one per input.
std::atomic<bool> held{false};

constexpr const char* kStatistics[] = {"min", "max", "mean", "std"};

bool isStatistic(const std::string& s) {
    for (const char* k : kStatistics) {
        if (s == k) return true;
    }
    return false;
}

bool holds(AlarmOp op, double value, double threshold) {
    switch (op) {
        case AlarmOp::Greater: return value > threshold;
        case AlarmOp::GreaterEqual: return value >= threshold;
        case AlarmOp::Less: return value < threshold;
        case AlarmOp::LessEqual: return value <= threshold;
    }
    return false;
}

// The statistic as JSON: extremes as the float they are, mean and standard
// deviation as computed.
bool statistic(const Stats& s, const std::string& name, double& value, nlohmann::ordered_json& shown) {
    if (s.count == 0) return false;
    if (name == "min" || name == "max") {
        const float v = name == "min" ? s.min : s.max;
        value = v;
        shown = shortestDouble(v);
    } else {
        value = name == "mean" ? s.mean : s.stddev;
        shown = value;
    }
    return true;
}

}  // namespace

Alarm parseAlarm(const std::string& text) {
    const auto bad = [&](const std::string& why) {
        return Failure("bad alarm '" + text + "': " + why +
                       " (expected [NAME.]STATISTIC OP NUMBER or SPOT OP NUMBER, STATISTIC min, max, mean or "
                       "std, OP >, >=, < or <=)");
    };
    Alarm a;
    a.text = text;
    const size_t at = text.find_first_of("<>");
    if (at == std::string::npos) throw bad("no comparison");
    const bool orEqual = at + 1 < text.size() && text[at + 1] == '=';
    a.op = text[at] == '>' ? (orEqual ? AlarmOp::GreaterEqual : AlarmOp::Greater)
                           : (orEqual ? AlarmOp::LessEqual : AlarmOp::Less);
    const std::string left = text.substr(0, at), right = text.substr(at + (orEqual ? 2 : 1));
    char* end = nullptr;
    a.threshold = std::strtod(right.c_str(), &end);
    if (right.empty() || *end != '\0' || !std::isfinite(a.threshold))
        throw bad("no number after the comparison");
    if (left.empty()) throw bad("nothing before the comparison");
    // A name may hold dots: the statistic is what follows the last one.
    const size_t dot = left.rfind('.');
    if (dot != std::string::npos && isStatistic(left.substr(dot + 1))) {
        a.name = left.substr(0, dot);
        a.statistic = left.substr(dot + 1);
        if (a.name.empty()) throw bad("no name before '.'");
    } else if (isStatistic(left)) {
        a.name = "frame";
        a.statistic = left;
    } else {
        a.name = left;
        a.statistic = "temperature";
    }
    return a;
}

void resolveAlarm(Alarm& a, const std::vector<Area>& shapes) {
    if (a.name == "frame") {
        if (a.statistic == "temperature")
            throw Failure("bad alarm '" + a.text +
                          "': the frame has no one temperature: give min, max, mean or std");
        return;
    }
    for (size_t i = 0; i < shapes.size(); ++i) {
        if (shapes[i].name != a.name) continue;
        const bool spot = shapes[i].kind == AreaKind::Spot;
        if (spot && a.statistic != "temperature")
            throw Failure("bad alarm '" + a.text + "': " + a.name +
                          " is a spot: compare its temperature, as in " + a.name + ">30");
        if (!spot && a.statistic == "temperature")
            throw Failure("bad alarm '" + a.text + "': " + a.name + " is a " + areaKindName(shapes[i].kind) +
                          ": name a statistic, as in " + a.name + ".max>30");
        a.shape = static_cast<int>(i);
        return;
    }
    throw Failure("bad alarm '" + a.text + "': no region or spot is named '" + a.name + "'");
}

bool alarmHeld() { return held; }

void AlarmOutput::frame(const FrameResult& r) {
    std::string lines;
    for (const Alarm& a : alarms_) {
        double value = 0.0;
        nlohmann::ordered_json shown;
        if (a.shape < 0) {
            if (!statistic(r.whole, a.statistic, value, shown)) continue;
        } else if (run_.shapes[static_cast<size_t>(a.shape)].kind == AreaKind::Spot) {
            const float t = r.temps[run_.shapes[static_cast<size_t>(a.shape)].pixels[0]];
            if (!validTemp(t)) continue;
            value = t;
            shown = shortestDouble(t);
        } else if (!statistic(r.shapeStats[static_cast<size_t>(a.shape)], a.statistic, value, shown)) {
            continue;
        }
        if (!holds(a.op, value, a.threshold)) continue;
        held = true;
        const auto* block = reinterpret_cast<const uint8_t*>(&r.settings);
        nlohmann::ordered_json j;
        j["input"] = run_.source;
        j["frame"] = r.index;
        j["upTime"] = loadI32(block + offsetof(TempFrameInfo, upTime));
        j["name"] = a.name;
        j["statistic"] = a.statistic;
        j["value"] = shown;
        j["threshold"] = a.threshold;
        j["unit"] = unitSymbol(run_.unit);
        j["alarm"] = a.text;
        lines += j.dump() + "\n";
    }
    if (lines.empty()) return;
    // Flushed a frame at a time: a program watching a live stream reads
    // each alarm as its frame arrives.
    if (std::fwrite(lines.data(), 1, lines.size(), stdout) != lines.size() || std::fflush(stdout) != 0)
        throw Failure("cannot write alarms to standard output");
}

}  // namespace kalviro::cli
