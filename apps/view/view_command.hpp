// kalviro view: a recording or a live stream in the browser, served on the
// loopback interface to the holder of the token in the printed URL.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "commands/subcommand.hpp"
#include "kalviro.hpp"

namespace kalviro::cli {

struct ViewOptions {
    std::string file;
    int32_t calType = 0;
    std::optional<std::string> size;
    double emissivity = kDefaultEmissivity;
    std::optional<double> distance;
    int32_t port = 0;  // 0: a free one
    bool noBrowser = false;
    uint64_t memoryMiB = 0;  // 0: the default bound
};

void runView(const ViewOptions& o);

}  // namespace kalviro::cli
