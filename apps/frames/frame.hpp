// One frame as read from a file, a stream or an archive, before it is
// converted.
#pragma once

#include <cstdint>
#include <vector>

#include "kalviro.h"

namespace kalviro::cli {

struct Frame {
    uint64_t index = 0;
    std::vector<uint16_t> pixels;  // empty when only the block was read
    uint16_t centreGray = 0;       // the gray handed to the per-frame call
    TempFrameInfo block{};         // the 512 bytes as the camera wrote them
};

}  // namespace kalviro::cli
