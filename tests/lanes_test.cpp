// Every gray value of every CalType through the frame table's kernel at each
// vector width this processor runs, on a block of each tempRange from the
// reference vectors: the bits of the one-lane kernel and of the per-pixel
// call, NaN included.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "api/lane_builders.hpp"
#include "api/module.hpp"
#include "core/block.hpp"
#include "kalviro.hpp"
#include "vector_frames.hpp"

namespace kalviro {
namespace {

using test::bitsOf;
using test::VectorFrame;

const std::vector<VectorFrame>& frames() { return test::vectorFrames(); }

// The first gray value whose result differs, or -1.
int32_t firstDifference(const std::vector<float>& got, const std::vector<float>& want, int32_t first) {
    for (size_t i = 0; i < got.size(); ++i) {
        if (bitsOf(got[i]) != bitsOf(want[i])) return first + static_cast<int32_t>(i);
    }
    return -1;
}

class Lanes : public testing::TestWithParam<int32_t> {};

TEST_P(Lanes, EveryGrayValueAtEveryWidthGivesThePerPixelBits) {
    const LaneBuilders* sets[4];
    const int setCount = runnableLaneBuilders(sets, 4);
    ASSERT_EQ(sets[setCount - 1]->lanes, 1);
    int blocks = 0;
    for (const VectorFrame& vf : frames()) {
        if (vf.calType != GetParam()) continue;
        ++blocks;
        std::array<uint8_t, 513> bytes = vf.bytes;
        auto* block = reinterpret_cast<TempFrameInfo*>(bytes.data() + 1);
        Camera cam(vf.calType);
        cam.init(vf.gray, block, vf.emissivity, vf.distance);

        std::vector<float> perPixel(65536), table(65536);
        for (int32_t g = 0; g < 65536; ++g) perPixel[g] = cam.real(g, block, vf.emissivity, vf.distance);
        const auto range = get(bytes.data() + 1, field::tempRange);
        for (int s = 0; s < setCount; ++s) {
            buildTable(*CameraAccess::module(cam), CameraAccess::state(cam), block, vf.emissivity,
                       vf.distance, *sets[s], 0, 65536, table.data());
            EXPECT_EQ(firstDifference(table, perPixel, 0), -1) << sets[s]->name << ", tempRange " << range;
        }
        // Spans that end inside a vector.
        for (const auto& [first, count] : {std::pair{65531, 5}, std::pair{3, 29}}) {
            std::vector<float> part(static_cast<size_t>(count));
            const std::vector<float> want(perPixel.begin() + first, perPixel.begin() + first + count);
            buildTable(*CameraAccess::module(cam), CameraAccess::state(cam), block, vf.emissivity,
                       vf.distance, *sets[0], first, count, part.data());
            EXPECT_EQ(firstDifference(part, want, first), -1) << sets[0]->name << ", tempRange " << range;
        }
    }
    EXPECT_GE(blocks, 3);
}

std::vector<int32_t> allCalTypes() {
    std::vector<int32_t> out;
    for (const CalTypeInfo& c : kCalTypes) out.push_back(c.calType);
    return out;
}

INSTANTIATE_TEST_SUITE_P(CalTypes, Lanes, testing::ValuesIn(allCalTypes()),
                         [](const testing::TestParamInfo<int32_t>& i) {
                             return "CalType" + std::to_string(i.param);
                         });

}  // namespace
}  // namespace kalviro
