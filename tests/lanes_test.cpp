// Every gray value of every CalType through the frame table's kernel at each
// vector width this processor runs, on a block of each tempRange from the
// reference vectors: the bits of the one-lane kernel and of the per-pixel
// call, NaN included.
#include <gtest/gtest.h>

#if defined(__x86_64__)
#include <cpuid.h>
#endif

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "api/lane_builders.hpp"
#include "api/module.hpp"
#include "core/block.hpp"
#include "kalviro.h"
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

// Each set, picked through the public entry, converts a whole frame of every
// gray value to the per-pixel bits; a name the processor does not run, or no
// set at all, changes nothing.
TEST(LaneChoice, EachRunnableSetThroughThePublicEntriesGivesThePerPixelBits) {
    const LaneBuilders* sets[4];
    const int setCount = runnableLaneBuilders(sets, 4);
    const std::string before = kalviro_lanes();
    std::vector<uint16_t> pixels(65536);
    for (size_t g = 0; g < pixels.size(); ++g) pixels[g] = static_cast<uint16_t>(g);
    std::vector<float> perPixel(65536), frame(65536);
    int converted = 0;
    for (const VectorFrame& vf : frames()) {
        if (vf.calType != 21 && vf.calType != 73 && vf.calType != 12) continue;
        ++converted;
        std::array<uint8_t, 513> bytes = vf.bytes;
        auto* block = reinterpret_cast<TempFrameInfo*>(bytes.data() + 1);
        Camera cam(vf.calType);
        cam.init(vf.gray, block, vf.emissivity, vf.distance);
        for (int32_t g = 0; g < 65536; ++g) perPixel[g] = cam.real(g, block, vf.emissivity, vf.distance);
        for (int s = 0; s < setCount; ++s) {
            ASSERT_EQ(kalviro_set_lanes(sets[s]->name), 0) << sets[s]->name;
            EXPECT_STREQ(kalviro_lanes(), sets[s]->name);
            KalviroFrameTable table{};
            cam.realFrame(pixels, block, vf.emissivity, vf.distance, frame, table, 2);
            EXPECT_EQ(firstDifference(frame, perPixel, 0), -1) << sets[s]->name << ", CalType " << vf.calType;
        }
    }
    EXPECT_GE(converted, 3);
    ASSERT_EQ(kalviro_set_lanes(sets[setCount - 1]->name), 0);
    for (const char* name : {"", "AVX2", "sse", "avx1024", "scalar "}) {
        EXPECT_EQ(kalviro_set_lanes(name), -1) << name;
        EXPECT_STREQ(kalviro_lanes(), "scalar") << name;
    }
#if !defined(__x86_64__)
    EXPECT_EQ(kalviro_set_lanes("avx2"), -1);
#else
    EXPECT_EQ(kalviro_set_lanes("neon"), -1);
#endif
    EXPECT_EQ(kalviro_set_lanes(nullptr), 0);
    EXPECT_EQ(kalviro_lanes(), before);
}

// Each set's gray range is the smallest and largest value, wherever they sit:
// first, last, in the second register of a step, in the pixels after the
// last register; at 0 and 65535 too. Lengths around each register width.
TEST(GrayRange, EverySetFindsBothEndsWhereverTheySit) {
    const LaneBuilders* sets[4];
    const int setCount = runnableLaneBuilders(sets, 4);
    uint32_t seed = 12345;
    const auto next = [&seed] { return seed = seed * 1664525u + 1013904223u; };
    for (const size_t count : {0, 1, 2, 7, 8, 15, 16, 17, 31, 32, 33, 47, 63, 64, 65, 95, 96, 97, 8192}) {
        for (int where = 0; where < 8; ++where) {
            std::vector<uint16_t> pixels(count);
            for (uint16_t& p : pixels) p = static_cast<uint16_t>(1000 + next() % 50000);
            if (count > 0) {
                const size_t spots[] = {0, count - 1, count / 2, count / 3, (count * 3) / 4};
                const size_t low = spots[where % 5], high = spots[(where + 2) % 5];
                pixels[low] = where >= 5 ? 0 : 17;
                if (high != low) pixels[high] = where >= 5 ? 65535 : 60001;
            }
            uint16_t wantLo = 65535, wantHi = 0;
            for (const uint16_t p : pixels) {
                wantLo = std::min(wantLo, p);
                wantHi = std::max(wantHi, p);
            }
            for (int s = 0; s < setCount; ++s) {
                uint16_t lo = 1, hi = 1;
                sets[s]->grayRange(pixels.data(), count, &lo, &hi);
                EXPECT_EQ(lo, wantLo) << sets[s]->name << ", " << count << " pixels, case " << where;
                EXPECT_EQ(hi, wantHi) << sets[s]->name << ", " << count << " pixels, case " << where;
            }
        }
    }
}

// KALVIRO_LANES, where the test is run with it (see CMakeLists.txt), is the
// set in use from the first frame on.
TEST(LaneChoice, TheEnvironmentNamesTheSetInUse) {
    const char* wanted = std::getenv("KALVIRO_LANES");
    if (wanted == nullptr) GTEST_SKIP() << "run without KALVIRO_LANES";
    const LaneBuilders* set = runnableLaneBuildersNamed(wanted);
    const LaneBuilders* sets[4];
    runnableLaneBuilders(sets, 4);
    EXPECT_STREQ(kalviro_lanes(), set != nullptr ? wanted : sets[0]->name);
}

// Without KALVIRO_LANES the set in use is the widest the processor and the
// system run, as the processor itself reports it here.
TEST(LaneChoice, TheWidestSetTheProcessorRunsByDefault) {
    if (std::getenv("KALVIRO_LANES") != nullptr) GTEST_SKIP() << "run with KALVIRO_LANES";
#if defined(__x86_64__)
    unsigned a = 0, b = 0, c = 0, d = 0;
    __cpuid(1, a, b, c, d);
    const bool osSavesVectors = (c & (1u << 27)) != 0;
    const bool avx = (c & (1u << 28)) != 0;
    unsigned xcr0 = 0, xcr0High = 0;
    if (osSavesVectors) __asm__("xgetbv" : "=a"(xcr0), "=d"(xcr0High) : "c"(0));
    unsigned leaf7b = 0;
    if (__get_cpuid_max(0, nullptr) >= 7) __cpuid_count(7, 0, a, leaf7b, c, d);
    // The system saves SSE and AVX state (bits 1, 2), for AVX-512 also the
    // mask and upper vector registers (bits 5 to 7).
    const bool avx2 = avx && (xcr0 & 0x06u) == 0x06u && (leaf7b & (1u << 5)) != 0;
    const bool avx512 = (xcr0 & 0xe6u) == 0xe6u && (leaf7b & (1u << 16)) != 0;
    const char* widest = avx512 ? "avx512" : avx2 ? "avx2" : "sse2";
#elif defined(__aarch64__)
    const char* widest = "neon";
#else
    const char* widest = "scalar";
#endif
    ASSERT_EQ(kalviro_set_lanes(nullptr), 0);
    EXPECT_STREQ(kalviro_lanes(), widest);
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
