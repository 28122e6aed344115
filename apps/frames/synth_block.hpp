// A plausible camera block for synthetic frames: a rising calibration curve
// laid on the grid that the CalType uses in tempRange 2, internal
// temperatures near room temperature that drift as the camera warms, a
// shutter event every 200 frames, neutral settings elsewhere.
#pragma once

#include <cstdint>

#include "kalviro.hpp"

namespace kalviro::cli {

// Raw gray of the curve's zero point: mid-scale of a 14-bit sensor.
constexpr int32_t kSynthGrayRef = 8192;

// The 512 bytes of frame `frame` of a synthetic sequence.
void synthBlock(uint8_t* block, const CalTypeInfo& calType, uint64_t frame);

}  // namespace kalviro::cli
