#include "conversion_args.hpp"

#include <cmath>
#include <cstdio>
#include <string>

#include "failure.hpp"

namespace kalviro::cli {

float checkEmissivity(double e) {
    if (!std::isfinite(e) || e <= 0.0 || e > 1.0) {
        char buf[64];
        std::snprintf(buf, sizeof buf, "%g", e);
        throw Failure(std::string("bad emissivity ") + buf + ": expected a number above 0 and at most 1");
    }
    return static_cast<float>(e);
}

std::optional<double> checkDistance(const std::optional<double>& metres) {
    if (metres && (!std::isfinite(*metres) || *metres < 0.0 || *metres > 1.0e6)) {
        char buf[64];
        std::snprintf(buf, sizeof buf, "%g", *metres);
        throw Failure(std::string("bad distance ") + buf + ": expected metres from 0 to 1000000");
    }
    return metres;
}

}  // namespace kalviro::cli
