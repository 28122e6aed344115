// The unrounded results of the long layout: 121's gain taken whole, and NaN
// results that are the same bits on every road to them.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "api/families.hpp"
#include "api/lane_builders.hpp"
#include "api/module.hpp"
#include "core/block.hpp"
#include "kalviro.hpp"
#include "ladder/emiss_ladder.hpp"
#include "ladder/pixel.hpp"
#include "vector_frames.hpp"

namespace kalviro {
namespace {

using test::asFloat;
using test::bitsOf;

// Every road to a per-pixel result that takes a whole frame: each lane
// width through the table builder, and the frame call on one and on four
// threads, for the gray values in `grays`.
struct Roads {
    std::vector<std::string> names;
    std::vector<std::vector<float>> results;
};

Roads frameRoads(const Camera& cam, const TempFrameInfo* block, float e, float d,
                 const std::vector<uint16_t>& grays) {
    Roads r;
    const LaneBuilders* sets[4];
    const int setCount = runnableLaneBuilders(sets, 4);
    for (int s = 0; s < setCount; ++s) {
        // The span up to the last gray value, whole vectors and a tail.
        std::vector<float> table(static_cast<size_t>(grays.back()) + 1), out;
        buildTable(*CameraAccess::module(cam), CameraAccess::state(cam), block, e, d, *sets[s], 0,
                   static_cast<int32_t>(table.size()), table.data());
        for (uint16_t g : grays) out.push_back(table[g]);
        r.names.push_back(sets[s]->name);
        r.results.push_back(out);
    }
    for (int threads : {1, 4}) {
        auto table = std::make_unique<KalviroFrameTable>();
        std::vector<float> out(grays.size());
        cam.realFrame(grays.data(), grays.size(), block, e, d, out.data(), *table, threads);
        r.names.push_back("frame on " + std::to_string(threads) + " threads");
        r.results.push_back(out);
    }
    return r;
}

// 121 scales by (double)tempGain: gains beyond 2^24 that float cannot hold
// come out as the text computes them, whichever road. tempRange 0 makes no
// lookup (rawTemp 0.0) and windowTransLong 100 makes the window term 0, so
// the result is preWindowValue / 100 from the stages before the gain.
TEST(LongLayout, Gain121IsTakenWhole) {
    const std::vector<int32_t> gains = {100, 16777217, -16777219, 123456789, 2147483647, -2147483647 - 1};
    const std::vector<uint16_t> grays = {0, 1, 63, 64, 4001};
    int roundedWouldDiffer = 0, checked = 0;
    for (const test::VectorFrame& vf : test::vectorFrames()) {
        if (vf.calType != 121) continue;
        for (const int32_t gain : gains) {
            for (const float e : {0.95f, vf.emissivity}) {
                test::VectorFrame f = vf;
                uint8_t* b = f.raw();
                set(b, field::tempRange, int32_t{0});
                set(b, field::windowTransLong, int32_t{100});
                set(b, field::tempGain, gain);
                const int32_t tempOffset = get(b, field::tempOffset);
                Camera cam(121);
                cam.init(vf.gray, f.info(), e, vf.distance);

                // The stages before the gain, then its formula in double.
                const ladder::PixelPlan plan =
                    ladder::pixelPlan(familyRow<ladder::Trait>(*CameraAccess::module(cam)),
                                      CameraAccess::state(cam), b, e, vf.distance, false);
                const float apparent = ladder::airApply(plan.air, 0.0f);
                const float af = (apparent * 100.0f) / 100.0f;
                const float g =
                    ladder::ladderFactor(e, static_cast<double>(apparent * 100.0f) / 100.0, plan.baseTemp);
                const auto finish = [&](double wideGain) {
                    const auto h = static_cast<float>(
                        ((wideGain * (static_cast<double>(af) - 20.0)) / 100.0) * static_cast<double>(g));
                    return ((h * 100.0f + 2000.0f) + static_cast<float>(tempOffset)) / 100.0f;
                };
                const float want = finish(static_cast<double>(gain));
                if (bitsOf(finish(static_cast<double>(static_cast<float>(gain)))) != bitsOf(want))
                    ++roundedWouldDiffer;

                const std::string where =
                    "tempGain " + std::to_string(gain) + ", emissivity " + std::to_string(e);
                for (uint16_t gray : grays) {
                    EXPECT_EQ(bitsOf(cam.real(gray, f.info(), e, vf.distance)), bitsOf(want)) << where;
                }
                const Roads roads = frameRoads(cam, f.info(), e, vf.distance, grays);
                for (size_t r = 0; r < roads.names.size(); ++r) {
                    for (float got : roads.results[r])
                        EXPECT_EQ(bitsOf(got), bitsOf(want)) << where << ", " << roads.names[r];
                }
                ++checked;
            }
        }
    }
    EXPECT_GE(checked, static_cast<int>(gains.size()) * 2);
    // The table reaches the gains where a float gain gives other bits.
    EXPECT_GE(roundedWouldDiffer, 3);
}

// A NaN emissivity or distance makes the long layout's results NaN; which
// operand's NaN an operation passes on depends on the order the compiler
// chose for each build of the kernel. Every road gives the per-pixel bits.
TEST(LongLayout, NaNResultsAreTheSameBitsOnEveryRoad) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    struct Args {
        float emissivity, distance;
    };
    const std::vector<Args> args = {
        {nan, 1.0f},
        {-nan, 1.0f},
        {asFloat(0xffc0beefu), 1.0f},
        {asFloat(0x7fa00001u), 1.0f},  // signalling
        {0.95f, -nan},
        // Two NaNs meet, the distance's through a negation.
        {nan, nan},
        {-nan, -nan},
        {nan, -nan},
        {-nan, nan},
    };
    std::vector<uint16_t> grays;
    for (int g = 0; g < 4096; g += 67) grays.push_back(static_cast<uint16_t>(g));
    int nans = 0;
    for (const test::VectorFrame& vf : test::vectorFrames()) {
        if (findCalType(vf.calType)->layout != Layout::Long) continue;
        for (const Args& a : args) {
            test::VectorFrame f = vf;
            Camera cam(vf.calType);
            cam.init(vf.gray, f.info(), vf.emissivity, vf.distance);
            std::vector<float> want;
            for (uint16_t g : grays) want.push_back(cam.real(g, f.info(), a.emissivity, a.distance));
            for (float w : want) nans += std::isnan(w) ? 1 : 0;
            const Roads roads = frameRoads(cam, f.info(), a.emissivity, a.distance, grays);
            for (size_t r = 0; r < roads.names.size(); ++r) {
                for (size_t i = 0; i < grays.size(); ++i) {
                    ASSERT_EQ(bitsOf(roads.results[r][i]), bitsOf(want[i]))
                        << "CalType " << vf.calType << ", " << roads.names[r] << ", gray " << grays[i]
                        << ", emissivity bits " << std::hex << bitsOf(a.emissivity) << ", distance bits "
                        << bitsOf(a.distance);
                }
            }
        }
    }
    EXPECT_GT(nans, 100);
}

}  // namespace
}  // namespace kalviro
