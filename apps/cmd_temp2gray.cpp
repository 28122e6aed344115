// kalviro temp2gray: the gray value of a temperature on a frame, e.g. for an
// alarm threshold on raw data. The library's inverse search, told the
// frame's own gray range and the temperatures at its ends.
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>

#include "caltype.hpp"
#include "commands.hpp"
#include "convert_run.hpp"
#include "failure.hpp"
#include "frame_source.hpp"

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
    const auto hundredths = [&](int32_t g) {
        return static_cast<int32_t>(camera.real(g, &block, emissivity, distArg) * 100.0f);
    };
    const int32_t tempMin = hundredths(grayMin), tempMax = hundredths(grayMax);
    if (!(tempMax > tempMin)) {
        throw Failure("the conversion of frame " + std::to_string(o.frame) + " does not rise from gray " +
                      std::to_string(grayMin) + " to " + std::to_string(grayMax));
    }
    const int32_t gray = camera.temp2gray(&block, tempMin, tempMax, grayMin, grayMax, target, emissivity);
    const float back = camera.real(gray, &block, emissivity, distArg);
    const bool hit = std::abs(static_cast<int32_t>(back * 100.0f) - target) <= 20;
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
        char msg[160];
        std::snprintf(msg, sizeof msg,
                      "no gray value converts to within 0.20 deg of %.2f deg on this frame; "
                      "the search ended at gray %d",
                      target / 100.0, gray);
        throw Failure(msg);
    }
}

}  // namespace kalviro::cli
