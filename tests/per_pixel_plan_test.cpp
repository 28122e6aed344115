// The per-pixel plan a per-frame call stores: on every road (the C entries'
// statics, a Camera, a C handle, copies and loaded statics) the per-pixel
// call gives the bits of a plan built for that call alone, after any change
// between the two calls: none, the emissivity, the distance, or any byte of
// the block. A change the stored plan does not cover must fall back, never
// give the stale plan's numbers; an unchanged call must take the stored plan.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "api/lane_builders.hpp"
#include "api/module.hpp"
#include "api/stored_plan.hpp"
#include "kalviro.h"
#include "kalviro.hpp"
#include "vector_frames.hpp"

namespace kalviro {
namespace {

using test::bitsOf;
using test::VectorFrame;

// The arguments of a per-pixel call, as a change between the calls leaves them.
struct Call {
    std::array<uint8_t, 513> bytes;  // the block at an odd address
    float emissivity, distance;
    TempFrameInfo* info() { return reinterpret_cast<TempFrameInfo*>(bytes.data() + 1); }
};

struct Change {
    std::string what;
    std::function<void(Call&)> apply;
};

// Nothing, the emissivity, the distance, then two flips of every block byte.
std::vector<Change> changes() {
    std::vector<Change> list = {
        {"nothing", [](Call&) {}},
        {"emissivity halved", [](Call& c) { c.emissivity *= 0.5f; }},
        {"emissivity 1", [](Call& c) { c.emissivity = 1.0f; }},
        {"emissivity one ulp up", [](Call& c) { c.emissivity = std::nextafter(c.emissivity, 2.0f); }},
        {"emissivity NaN", [](Call& c) { c.emissivity = std::nanf(""); }},
        {"distance +1 m", [](Call& c) { c.distance += 1.0f; }},
        {"distance 0", [](Call& c) { c.distance = 0.0f; }},
        {"distance negated", [](Call& c) { c.distance = -c.distance; }},
        {"distance one ulp up", [](Call& c) { c.distance = std::nextafter(c.distance, 1e9f); }},
    };
    for (size_t i = 0; i < 512; ++i) {
        for (const uint8_t mask : {uint8_t{0x01}, uint8_t{0xc0}}) {
            list.push_back({"byte " + std::to_string(i) + " ^ " + std::to_string(mask),
                            [i, mask](Call& c) { c.bytes[i + 1] ^= mask; }});
        }
    }
    return list;
}

// Gray values to compare after a change: a byte of the block (`few`: the
// fallback is what is tested), an argument (across the scale, around the
// frame's own and at the ends of the table built ahead of it), or nothing
// (also every 97th of the scale, most of it through the table).
enum class Breadth { few, some, dense };

std::vector<int32_t> grays(int32_t own, Breadth breadth) {
    const int32_t first = firstAhead(own), last = first + kAheadGrays - 1;
    if (breadth == Breadth::few) return {own, first, last, 2500, 33000, 65535};
    std::vector<int32_t> g = {0, 1, 700, 2500, 4000, 6000, 8191, 12000, 20000, 33000, 47000, 65535};
    for (int32_t d : {-1, 0, 1}) {
        g.push_back(own + d);
        g.push_back(first + d);
        g.push_back(last + d);
    }
    for (int32_t v = 0; breadth == Breadth::dense && v < 65536; v += 97) g.push_back(v);
    return g;
}

// A per-pixel road: its per-frame call, its per-pixel call, and the fresh
// plan's result on the statics that road converts with.
struct Road {
    const char* name;
    std::function<void(int32_t calType, VectorFrame& vf)> frame;
    std::function<float(int32_t gray, Call& c)> real;
    std::function<float(int32_t gray, Call& c)> fresh;
};

// A handle holds its camera and nothing before it.
const Camera& cameraOf(const kalviro_camera* handle) { return *reinterpret_cast<const Camera*>(handle); }

class PerPixelPlan : public testing::TestWithParam<int32_t> {};

TEST_P(PerPixelPlan, EveryRoadGivesTheFreshPlansBitsAfterEveryChange) {
    const int32_t calType = GetParam();
    const int index = listIndex(calType);
    const Module& m = moduleAt(index);
    Camera cam(calType);
    kalviro_camera* handle = kalviro_camera_create(calType);
    ASSERT_NE(handle, nullptr);
    // A byte-wise copy of a camera: its stored plan is the original's.
    alignas(8) unsigned char copied[KALVIRO_CAMERA_SIZE_MAX];
    auto* copy = reinterpret_cast<kalviro_camera*>(copied);
    // Statics loaded into a camera that has a plan of its own.
    Camera loaded(calType);
    unsigned char saved[Camera::kStateSize];

    const Gray2TempFn real = KALVIRO_Gray2Temp_Real_GET(calType);
    const auto freshOn = [&m](const Camera& c) {
        return [&m, &c](int32_t g, Call& call) {
            return convertRealFresh(m, CameraAccess::state(c), call.info(), g, call.emissivity,
                                    call.distance);
        };
    };
    const Road roads[] = {
        {"C entries",
         [](int32_t nn, VectorFrame& vf) {
             KALVIRO_Gray2Temp_Init(nn, vf.gray, vf.info(), vf.emissivity, vf.distance);
         },
         [real](int32_t g, Call& c) { return real(g, c.info(), c.emissivity, c.distance); },
         [&m, index](int32_t g, Call& c) {
             return convertRealFresh(m, processState(index), c.info(), g, c.emissivity, c.distance);
         }},
        {"Camera",
         [&cam](int32_t, VectorFrame& vf) { cam.init(vf.gray, vf.info(), vf.emissivity, vf.distance); },
         [&cam](int32_t g, Call& c) { return cam.real(g, c.info(), c.emissivity, c.distance); },
         freshOn(cam)},
        {"handle",
         [handle](int32_t, VectorFrame& vf) {
             kalviro_camera_gray2temp_init(handle, vf.gray, vf.info(), vf.emissivity, vf.distance);
         },
         [handle](int32_t g, Call& c) {
             return kalviro_camera_gray2temp_real(handle, g, c.info(), c.emissivity, c.distance);
         },
         freshOn(cameraOf(handle))},
        {"copied handle",
         [&](int32_t, VectorFrame& vf) {
             kalviro_camera_gray2temp_once(handle, vf.gray, vf.info(), vf.emissivity, vf.distance);
             std::memcpy(copied, static_cast<const void*>(handle), kalviro_camera_size());
         },
         [copy](int32_t g, Call& c) {
             return kalviro_camera_gray2temp_real(copy, g, c.info(), c.emissivity, c.distance);
         },
         [&](int32_t g, Call& c) { return freshOn(cameraOf(copy))(g, c); }},
        {"loaded statics",
         [&](int32_t, VectorFrame& vf) {
             // The loading camera's plan fits this block, but on statics
             // that the saved ones, of a curve shifted by 37 gray, replace.
             loaded.init(vf.gray, vf.info(), vf.emissivity, vf.distance);
             Call shifted{vf.bytes, vf.emissivity, vf.distance};
             for (size_t k = 0; k < 12; ++k) {
                 float v;
                 std::memcpy(&v, shifted.bytes.data() + 1 + 4 * k, sizeof v);
                 v += 37.0f;
                 std::memcpy(shifted.bytes.data() + 1 + 4 * k, &v, sizeof v);
             }
             cam.init(vf.gray, shifted.info(), vf.emissivity, vf.distance);
             cam.saveState(saved);
             loaded.loadState(saved);
         },
         [&loaded](int32_t g, Call& c) { return loaded.real(g, c.info(), c.emissivity, c.distance); },
         freshOn(loaded)},
    };

    const std::vector<Change> all = changes();
    int blocks = 0;
    for (const VectorFrame& original : test::vectorFrames()) {
        if (original.calType != calType) continue;
        ++blocks;
        for (const Road& road : roads) {
            VectorFrame vf = original;
            road.frame(calType, vf);
            for (const Change& change : all) {
                Call call{vf.bytes, vf.emissivity, vf.distance};
                change.apply(call);
                const Breadth breadth = change.what == "nothing"                  ? Breadth::dense
                                        : change.what.compare(0, 5, "byte ") == 0 ? Breadth::few
                                                                                  : Breadth::some;
                for (const int32_t g : grays(vf.gray, breadth)) {
                    const float got = road.real(g, call);
                    const float want = road.fresh(g, call);
                    ASSERT_EQ(bitsOf(got), bitsOf(want)) << road.name << ", " << change.what << ", gray " << g
                                                         << ": " << got << " for " << want;
                }
            }
        }
        // The plan is taken where nothing changed, and not for other arguments
        // (one ulp: some vectors' emissivity is 0, which halving keeps).
        VectorFrame vf = original;
        cam.init(vf.gray, vf.info(), vf.emissivity, vf.distance);
        const StoredPlan& sp = CameraAccess::plan(cam);
        EXPECT_TRUE(planHolds(m, CameraAccess::state(cam), sp, vf.raw(), vf.emissivity, vf.distance));
        EXPECT_FALSE(planHolds(m, CameraAccess::state(cam), sp, vf.raw(), std::nextafter(vf.emissivity, 2.0f),
                               vf.distance));
        EXPECT_FALSE(planHolds(m, CameraAccess::state(cam), sp, vf.raw(), vf.emissivity,
                               std::nextafter(vf.distance, 1e9f)));
        const Camera kept = cam;
        EXPECT_FALSE(planHolds(m, CameraAccess::state(kept), CameraAccess::plan(kept), vf.raw(),
                               vf.emissivity, vf.distance));
    }
    EXPECT_GE(blocks, 2);
    kalviro_camera_destroy(handle);
}

std::vector<int32_t> allCalTypes() {
    std::vector<int32_t> list;
    for (const CalTypeInfo& c : kCalTypes) list.push_back(c.calType);
    return list;
}

INSTANTIATE_TEST_SUITE_P(All, PerPixelPlan, testing::ValuesIn(allCalTypes()),
                         [](const testing::TestParamInfo<int32_t>& p) { return std::to_string(p.param); });

// The first vector frame of a CalType; null: none.
const VectorFrame* firstFrameOf(int32_t calType) {
    for (const VectorFrame& vf : test::vectorFrames()) {
        if (vf.calType == calType) return &vf;
    }
    return nullptr;
}

// The per-frame call's gray value at the ends of the scale and past them:
// the table ahead stays within the scale, and every gray value, inside it,
// at its ends or past the scale, gives the fresh plan's bits.
TEST(PerPixelPlanEdges, TheTableAheadOfAnyGrayGivesTheFreshPlansBits) {
    const int32_t initGrays[] = {0,     3,         kAheadGrays / 2, 65535 - kAheadGrays / 2, 65535, -1,
                                 65536, INT32_MIN, INT32_MAX};
    for (const CalTypeInfo& c : kCalTypes) {
        const VectorFrame* found = firstFrameOf(c.calType);
        ASSERT_NE(found, nullptr) << c.calType;
        const Module& m = moduleAt(listIndex(c.calType));
        for (const int32_t initGray : initGrays) {
            VectorFrame vf = *found;
            Camera cam(c.calType);
            cam.init(initGray, vf.info(), vf.emissivity, vf.distance);
            const StoredPlan& sp = CameraAccess::plan(cam);
            ASSERT_TRUE(sp.aheadFirst >= 0 && sp.aheadFirst + sp.aheadCount <= 65536) << initGray;
            ASSERT_EQ(sp.aheadCount, kAheadGrays);
            const int32_t first = sp.aheadFirst, last = first + kAheadGrays - 1;
            for (const int32_t g : {first - 1, first, first + 1, last - 1, last, last + 1, 0, 65535, -1,
                                    65536, INT32_MIN, INT32_MAX}) {
                const float got = cam.real(g, vf.info(), vf.emissivity, vf.distance);
                const float want =
                    convertRealFresh(m, CameraAccess::state(cam), vf.info(), g, vf.emissivity, vf.distance);
                ASSERT_EQ(bitsOf(got), bitsOf(want))
                    << c.calType << ", per-frame gray " << initGray << ", gray " << g;
            }
        }
    }
}

// A second per-frame call keeps the table ahead of the first where nothing
// it was built from changed (a mark planted in it survives), and rebuilds it
// otherwise; either way every gray value gives a fresh plan's bits.
struct Second {
    const char* what;
    std::function<void(const Module& m, VectorFrame& vf, int32_t& gray)> apply;
    bool kept;  // with the lanes unchanged
};

TEST(PerPixelPlanKept, ASecondPerFrameCallKeepsTheTableOnlyForTheSamePlan) {
    const Second seconds[] = {
        {"the same block", [](const Module&, VectorFrame&, int32_t&) {}, true},
        {"the plan words changed",
         [](const Module& m, VectorFrame& vf, int32_t&) {
             withPlanWords(m, [&](const auto& offsets) {
                 for (const uint32_t offset : offsets) vf.bytes[1 + offset + 3] ^= 0x40;
             });
         },
         false},
        // Where scalar lanes are the only set (armhf), nothing changed.
        {"another lane set", [](const Module&, VectorFrame&, int32_t&) { kalviro_set_lanes("scalar"); },
         true},
        {"a per-frame gray nearby, in the same half of a table",
         [](const Module&, VectorFrame&, int32_t& gray) {
             gray += gray % (kAheadGrays / 2) < kAheadGrays / 4 ? 100 : -100;
         },
         true},
        {"a per-frame gray far away",
         [](const Module&, VectorFrame&, int32_t& gray) { gray = gray < 32768 ? 60000 : 1000; }, false},
    };
    if (kalviro_set_lanes("scalar") != 0) GTEST_SKIP();
    kalviro_set_lanes(nullptr);
    const LaneBuilders* widest = &laneBuilders();
    for (const CalTypeInfo& c : kCalTypes) {
        const VectorFrame* found = firstFrameOf(c.calType);
        ASSERT_NE(found, nullptr) << c.calType;
        const int index = listIndex(c.calType);
        const Module& m = moduleAt(index);
        for (const Second& second : seconds) {
            for (const bool entries : {false, true}) {
                kalviro_set_lanes(nullptr);
                VectorFrame vf = *found;
                Camera cam(c.calType);
                StoredPlan& sp = entries ? processPlan(index) : CameraAccess::plan(cam);
                const CalState& st = entries ? processState(index) : CameraAccess::state(cam);
                const auto init = [&](int32_t gray) {
                    if (entries)
                        KALVIRO_Gray2Temp_Init(c.calType, gray, vf.info(), vf.emissivity, vf.distance);
                    else
                        cam.init(gray, vf.info(), vf.emissivity, vf.distance);
                };
                init(vf.gray);
                const size_t at = static_cast<size_t>(kAheadGrays / 3);
                const float truth = sp.ahead[at], mark = -12345.5f;
                sp.ahead[at] = mark;
                int32_t gray = vf.gray;
                second.apply(m, vf, gray);
                const bool kept = second.kept && &laneBuilders() == widest;
                init(gray);
                const std::string where =
                    std::to_string(c.calType) + (entries ? ", C entries, " : ", Camera, ") + second.what;
                ASSERT_EQ(sp.aheadCount, kAheadGrays) << where;
                ASSERT_EQ(bitsOf(sp.ahead[at]) == bitsOf(mark), kept) << where;
                if (kept) sp.ahead[at] = truth;
                for (int32_t g = 0; g < 65536; g += g % 512 == 0 ? 1 : 61) {
                    const float got = entries ? KALVIRO_Gray2Temp_Real_GET(c.calType)(
                                                    g, vf.info(), vf.emissivity, vf.distance)
                                              : cam.real(g, vf.info(), vf.emissivity, vf.distance);
                    const float want = convertRealFresh(m, st, vf.info(), g, vf.emissivity, vf.distance);
                    ASSERT_EQ(bitsOf(got), bitsOf(want)) << where << ", gray " << g;
                }
            }
        }
    }
    kalviro_set_lanes(nullptr);
}

// Per-pixel calls from several threads at once on the statics of one
// per-frame call, half on the stored plan and half building their own: each
// gives the bits of one thread alone.
TEST(PerPixelPlanThreads, CallsInParallelGiveTheBitsOfOneThread) {
    for (const int32_t calType : {21, 54, 12, 81, 61, 121}) {
        const VectorFrame* found = firstFrameOf(calType);
        ASSERT_NE(found, nullptr) << calType;
        VectorFrame vf = *found;
        KALVIRO_Gray2Temp_Init(calType, vf.gray, vf.info(), vf.emissivity, vf.distance);
        const Gray2TempFn real = KALVIRO_Gray2Temp_Real_GET(calType);
        const float emissivities[2] = {vf.emissivity, vf.emissivity * 0.5f};
        constexpr int32_t kStep = 37;
        std::vector<float> want[2];
        for (int k = 0; k < 2; ++k) {
            for (int32_t g = 0; g < 65536; g += kStep)
                want[k].push_back(real(g, vf.info(), emissivities[k], vf.distance));
        }
        constexpr int kThreads = 4;
        std::vector<std::vector<float>> got(kThreads);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, t] {
                const float e = emissivities[t % 2];
                for (int32_t g = 0; g < 65536; g += kStep)
                    got[t].push_back(real(g, vf.info(), e, vf.distance));
            });
        }
        for (std::thread& th : threads) th.join();
        for (int t = 0; t < kThreads; ++t) {
            const std::vector<float>& w = want[t % 2];
            ASSERT_EQ(got[t].size(), w.size());
            for (size_t i = 0; i < w.size(); ++i) {
                ASSERT_EQ(bitsOf(got[t][i]), bitsOf(w[i]))
                    << calType << ", thread " << t << ", gray " << static_cast<int32_t>(i) * kStep;
            }
        }
    }
}

}  // namespace
}  // namespace kalviro
