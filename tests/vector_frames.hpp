// The first frame of each CalType and tempRange in the reference vector
// files, with the arguments of the per-frame call that follows it: realistic
// blocks for tests that compare roads to the same numbers.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "bits.hpp"
#include "kalviro.h"

namespace kalviro::test {

struct VectorFrame {
    int32_t calType;
    std::array<uint8_t, 513> bytes;  // the block at an odd address
    int32_t gray;
    float emissivity, distance;

    uint8_t* raw() { return bytes.data() + 1; }
    TempFrameInfo* info() { return reinterpret_cast<TempFrameInfo*>(raw()); }
};

inline std::vector<VectorFrame> loadVectorFrames() {
    std::vector<VectorFrame> frames;
    std::vector<std::pair<int32_t, int32_t>> seen;  // CalType, tempRange
    for (const char* name : {"direct_a.txt", "direct_b.txt", "ladder_a.txt", "ladder_b.txt"}) {
        std::ifstream in(std::string(KALVIRO_VECTOR_DIR) + "/" + name);
        std::string line, kind, hex;
        int32_t calType = 0;
        VectorFrame f{};
        while (std::getline(in, line)) {
            std::istringstream words(line);
            words >> kind;
            if (kind == "SEQ") {
                words >> calType;
            } else if (kind == "FRAME") {
                words >> hex;
                const std::vector<uint8_t> block = hexBytes(hex);
                std::copy_n(block.begin(), std::min<size_t>(block.size(), 512), f.bytes.begin() + 1);
            } else if (kind == "INIT" || kind == "ONCE") {
                std::string e, d;
                words >> f.gray >> e >> d;
                f.calType = calType;
                f.emissivity = floatOfHex(e);
                f.distance = floatOfHex(d);
                int32_t range;
                std::memcpy(&range, f.bytes.data() + 1 + offsetof(TempFrameInfo, tempRange), 4);
                const std::pair<int32_t, int32_t> key{calType, range < 2 || range > 5 ? 0 : range};
                if (std::find(seen.begin(), seen.end(), key) == seen.end()) {
                    seen.push_back(key);
                    frames.push_back(f);
                }
            }
        }
    }
    return frames;
}

// Loaded once.
inline const std::vector<VectorFrame>& vectorFrames() {
    static const std::vector<VectorFrame> all = loadVectorFrames();
    return all;
}

}  // namespace kalviro::test
