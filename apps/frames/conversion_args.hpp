// The conversion's own arguments beside the block, checked where the command
// takes them (convert, temp2gray, synth, view and a region's :e= suffix);
// each throws Failure naming what it expected.
#pragma once

#include <optional>

namespace kalviro::cli {

float checkEmissivity(double e);
std::optional<double> checkDistance(const std::optional<double>& metres);

}  // namespace kalviro::cli
