// kalviro temp2gray: the gray value of a temperature on a frame, e.g. for an
// alarm threshold on raw data: of the frame's own gray range (widened when
// narrow), the value whose temperature comes nearest.
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <memory>

#include "analysis/stats.hpp"
#include "commands/caltype.hpp"
#include "commands/commands.hpp"
#include "commands/subcommand.hpp"
#include "convert/convert_run.hpp"
#include "convert/frame_source.hpp"
#include "frames/conversion_args.hpp"
#include "frames/failure.hpp"

namespace kalviro::cli {

void runTemp2Gray(const Temp2GrayOptions& o) {
    const CalTypeInfo& c = requireCalType(o.calType);
    const float emissivity = checkEmissivity(o.emissivity);
    const std::optional<double> distance = checkDistance(o.distance);
    if (!std::isfinite(o.temp) || std::abs(o.temp) > 20000.0) {
        throw Failure("bad temperature " + std::to_string(o.temp) +
                      ": expected degrees from -20000 to 20000");
    }
    const auto target = static_cast<int32_t>(std::lround(o.temp * 100.0));
    FrameSource source(o.file, optionalSize(o.size));
    // The per-frame calls of every frame up to the chosen one, in order.
    Camera camera(c.calType);
    Frame frame;
    TempFrameInfo block{};
    const float distArg = distance ? static_cast<float>(*distance) : 0.0f;
    for (uint64_t i = 0; i <= o.frame; ++i) {
        if (!source.next(frame, i == o.frame)) {
            throw Failure(source.name() + " holds " + std::to_string(i) + " frame(s); frame " +
                          std::to_string(o.frame) + " is not among them");
        }
        block = frame.block;
        if (distance) overrideDistance(block, *distance);
        camera.init(frame.centreGray, &block, emissivity, distArg);
    }
    const auto [lo, hi] = std::minmax_element(frame.pixels.begin(), frame.pixels.end());
    int32_t grayMin = *lo, grayMax = *hi;
    if (grayMax - grayMin < 64) {
        grayMin = std::max(0, grayMin - 256);
        grayMax = std::min(65535, grayMax + 256);
    }
    // Every gray value of the range, converted once: the nearest
    // temperature wins, the lower gray value on a tie. The library's search
    // stops within 0.20 deg, and always below the target.
    int32_t gray = grayMin;
    float back = 0.0f, tMin = INFINITY, tMax = -INFINITY;
    double best = INFINITY;
    for (int32_t g = grayMin; g <= grayMax; ++g) {
        const float t = camera.real(g, &block, emissivity, distArg);
        if (!validTemp(t)) continue;
        tMin = std::min(tMin, t);
        tMax = std::max(tMax, t);
        const double off = std::abs(static_cast<double>(t) - target / 100.0);
        if (off < best) {
            best = off;
            gray = g;
            back = t;
        }
    }
    if (!(tMax >= tMin)) {
        throw Failure("CalType " + std::to_string(c.calType) + " gives no valid temperature on frame " +
                      std::to_string(o.frame) + " from gray " + std::to_string(grayMin) + " to " +
                      std::to_string(grayMax) + ": is " + std::to_string(c.calType) +
                      " the camera's CalType?");
    }
    // Inside what the frame's gray range gives, to the hundredth.
    const bool hit = target >= std::floor(tMin * 100.0) && target <= std::ceil(tMax * 100.0);
    if (o.json) {
        std::cout << nlohmann::ordered_json{{"temp", target / 100.0},
                                            {"gray", gray},
                                            {"converts",
                                             std::round(static_cast<double>(back) * 100.0) / 100.0},
                                            {"found", hit},
                                            {"frame", o.frame},
                                            {"calType", c.calType}}
                         .dump()
                  << '\n';
    } else {
        std::printf(
            "%.2f deg -> gray %d (which converts to %.2f deg; frame %llu, CalType %d, emissivity %g)\n",
            target / 100.0, gray, static_cast<double>(back), static_cast<unsigned long long>(o.frame),
            c.calType, static_cast<double>(emissivity));
    }
    if (!hit) {
        char msg[200];
        std::snprintf(msg, sizeof msg,
                      "%.2f deg lies outside %.2f to %.2f deg, what gray %d to %d gives on this frame; "
                      "gray %d comes nearest",
                      target / 100.0, static_cast<double>(tMin), static_cast<double>(tMax), grayMin, grayMax,
                      gray);
        throw Failure(msg);
    }
}

Subcommand addTemp2GrayCommand(CLI::App& app) {
    auto o = std::make_shared<Temp2GrayOptions>();
    auto* cmd = app.add_subcommand("temp2gray", "the gray value of a temperature on a frame");
    addFileOptions(cmd, o->file, o->calType, o->size);
    cmd->add_option("--temp", o->temp, "temperature in degrees")->required();
    cmd->add_option("--frame", o->frame, "frame of a sequence, from 0")->check(frameNumber());
    cmd->add_option("-e,--emissivity", o->emissivity, "emissivity of the object")->capture_default_str();
    cmd->add_option("-d,--distance", o->distance, "object distance in metres, in place of the block's");
    cmd->add_flag("--json", o->json, "as JSON");
    return {cmd, [o] { runTemp2Gray(*o); }};
}

}  // namespace kalviro::cli
