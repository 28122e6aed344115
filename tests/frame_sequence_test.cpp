// A recording's frames through one table: the entries built for a plan serve
// the next frame of the same plan, only the gray values not built yet are
// added, and a frame of another plan rebuilds. Every result must equal a
// fresh table's and the per-pixel call's, bit for bit.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "block_builder.hpp"
#include "kalviro.h"
#include "kalviro.hpp"
#include "vector_frames.hpp"

namespace kalviro {
namespace {

using test::bitsOf;
using test::vectorFrames;

// n pixels over [lo, hi], both ends among them.
std::vector<uint16_t> spread(int32_t lo, int32_t hi, size_t n) {
    std::vector<uint16_t> px(n);
    const auto width = static_cast<uint32_t>(hi - lo + 1);
    for (size_t i = 0; i < n; ++i)
        px[i] = static_cast<uint16_t>(lo + static_cast<int32_t>((i * 7919u) % width));
    px[n / 3] = static_cast<uint16_t>(lo);
    px[n / 2] = static_cast<uint16_t>(hi);
    return px;
}

// The first pixel whose result differs from the per-pixel call; -1 for none.
long firstOffPixel(const Camera& cam, const std::vector<uint16_t>& px, const std::vector<float>& out,
                   const TempFrameInfo* block, float emissivity, float distance) {
    for (size_t i = 0; i < px.size(); ++i) {
        if (bitsOf(out[i]) != bitsOf(cam.real(px[i], block, emissivity, distance)))
            return static_cast<long>(i);
    }
    return -1;
}

// A frame's span and whether it takes another emissivity than the block's
// per-frame call: the plan repeats, grows its span, shrinks, changes and
// comes back.
struct Step {
    int32_t lo, hi;
    bool otherEmissivity;
};
constexpr Step kSteps[] = {
    {1000, 3000, false}, {2000, 4000, false},   {1500, 2500, false},   {4001, 5000, false},
    {500, 999, false},   {30000, 31000, false}, {30500, 31500, true},  {30000, 31000, false},
    {0, 65535, false},   {7, 7, false},         {65535, 65535, false}, {64000, 65535, true},
};

class FrameSequence : public ::testing::TestWithParam<int32_t> {};

TEST_P(FrameSequence, ReusedTableEqualsFreshTableAndPerPixelCall) {
    const int32_t calType = GetParam();
    Camera cam(calType);
    auto kept = std::make_unique<KalviroFrameTable>();
    int frames = 0;
    for (test::VectorFrame vf : vectorFrames()) {
        // Two of the CalType's frames: its statics after one, then after the next.
        if (vf.calType != calType || frames == 2) continue;
        cam.init(vf.gray, vf.info(), vf.emissivity, vf.distance);
        for (const Step& s : kSteps) {
            const float e = s.otherEmissivity ? 0.5f : vf.emissivity;
            const auto px = spread(s.lo, s.hi, 1024);
            std::vector<float> out(px.size()), fresh(px.size());
            ASSERT_TRUE(cam.realFrame(px, vf.info(), e, vf.distance, out, *kept));
            auto table = std::make_unique<KalviroFrameTable>();
            ASSERT_TRUE(cam.realFrame(px, vf.info(), e, vf.distance, fresh, *table));
            ASSERT_EQ(std::memcmp(out.data(), fresh.data(), out.size() * sizeof(float)), 0)
                << "span " << s.lo << "-" << s.hi << " frame " << frames;
            ASSERT_EQ(firstOffPixel(cam, px, out, vf.info(), e, vf.distance), -1)
                << "span " << s.lo << "-" << s.hi << " frame " << frames;
        }
        ++frames;
    }
    EXPECT_GE(frames, 1);
}

std::vector<int32_t> allCalTypes() {
    std::vector<int32_t> out;
    for (int32_t i = 0; i < kalviro_table_size; ++i) out.push_back(kalviro_table[i].calType);
    return out;
}

INSTANTIATE_TEST_SUITE_P(CalTypes, FrameSequence, ::testing::ValuesIn(allCalTypes()));

// Frames large enough for threads, sharing and extending one table.
TEST(FrameSequenceThreads, ExtendsTheTableOnTwoThreadsAsOnOne) {
    for (int32_t calType : {21, 61, 81}) {
        const test::VectorFrame* vf = nullptr;
        for (const test::VectorFrame& f : vectorFrames()) {
            if (f.calType == calType && vf == nullptr) vf = &f;
        }
        ASSERT_NE(vf, nullptr) << calType;
        test::VectorFrame frame = *vf;
        Camera cam(calType);
        cam.init(frame.gray, frame.info(), frame.emissivity, frame.distance);
        auto two = std::make_unique<KalviroFrameTable>();
        for (const Step& s : {Step{8000, 9000, false}, Step{8500, 12000, false}, Step{9000, 11000, false},
                              Step{2000, 8499, false}, Step{2000, 8499, true}}) {
            const float e = s.otherEmissivity ? 0.7f : frame.emissivity;
            const auto px = spread(s.lo, s.hi, 640 * 512);
            std::vector<float> out(px.size()), one(px.size());
            ASSERT_TRUE(cam.realFrame(px, frame.info(), e, frame.distance, out, *two, 2));
            auto table = std::make_unique<KalviroFrameTable>();
            ASSERT_TRUE(cam.realFrame(px, frame.info(), e, frame.distance, one, *table, 1));
            ASSERT_EQ(std::memcmp(out.data(), one.data(), out.size() * sizeof(float)), 0)
                << "CalType " << calType << " span " << s.lo << "-" << s.hi;
            for (int32_t g : {s.lo, s.hi, (s.lo + s.hi) / 2}) {
                const auto at = static_cast<size_t>(std::find(px.begin(), px.end(), g) - px.begin());
                if (at == px.size()) continue;
                EXPECT_EQ(bitsOf(out[at]), bitsOf(cam.real(px[at], frame.info(), e, frame.distance))) << g;
            }
        }
    }
}

// Whether the table was reused is seen by planting a mark in an entry the
// next frame needs: a table that keeps its entries gives the mark back.
constexpr uint32_t kMark = 0x7fc0dead;

struct Marked {
    std::unique_ptr<KalviroFrameTable> table = std::make_unique<KalviroFrameTable>();
    std::vector<uint16_t> first = spread(1000, 2000, 256), second = spread(1400, 1600, 64);
    std::vector<float> out = std::vector<float>(256);

    void plant() {
        const float mark = [] {
            float f;
            std::memcpy(&f, &kMark, sizeof f);
            return f;
        }();
        table->temp[second[0]] = mark;
    }
    // The first frame through the camera's table, then the mark.
    void firstFrame(const Camera& cam, const TempFrameInfo* block) {
        cam.realFrame(first, block, 0.95f, 0.0f, out, *table);
        plant();
    }
    bool markCameBack() const { return bitsOf(out[0]) == kMark; }
};

// CalType 21 on the worked block of tempRange 2, after its per-frame call.
struct Worked21 {
    test::Block b = test::workedBlockRange2();
    Camera cam{21};
    Worked21() { cam.init(1000, b.info(), 0.95f, 0.0f); }
};

TEST(FrameSequenceReuse, ASamePlanReadsTheEntriesBuiltBefore) {
    Worked21 w;
    Camera& cam = w.cam;

    struct Case {
        const char* name;
        bool reused;
        void (*between)(Camera& cam, test::Block& b, Marked& m);
        float emissivity;
    };
    const Case cases[] = {
        {"same plan", true, [](Camera&, test::Block&, Marked&) {}, 0.95f},
        {"another emissivity", false, [](Camera&, test::Block&, Marked&) {}, 0.9f},
        {"a block field the plan reads", false,
         [](Camera&, test::Block& bl, Marked&) { bl.with(field::tempOffset, 7); }, 0.95f},
        {"a block field it does not read", true,
         [](Camera&, test::Block& bl, Marked&) { bl.with(field::paraA, 12345); }, 0.95f},
        {"the table zeroed", false,
         [](Camera&, test::Block&, Marked& m) { std::memset(m.table.get(), 0, sizeof *m.table); }, 0.95f},
        {"a function that is no CalType's own in between", false,
         [](Camera&, test::Block& bl, Marked& m) {
             const Gray2TempFn foreign = [](int32_t g, TempFrameInfo*, float, float) {
                 return static_cast<float>(g);
             };
             kalviro_convert_frame(foreign, bl.info(), m.first.data(), m.first.size(), 0.95f, 0.0f,
                                   m.out.data(), m.table.get());
         },
         0.95f},
    };
    for (const Case& c : cases) {
        test::Block bl = w.b;
        Marked m;
        m.firstFrame(cam, bl.info());
        c.between(cam, bl, m);
        cam.realFrame(m.second, bl.info(), c.emissivity, 0.0f, m.out, *m.table);
        EXPECT_EQ(m.markCameBack(), c.reused) << c.name;
        if (!c.reused) {
            EXPECT_EQ(firstOffPixel(cam, m.second, m.out, bl.info(), c.emissivity, 0.0f), -1) << c.name;
        }
    }
}

TEST(FrameSequenceReuse, EveryWholeFrameEntryKeepsItsTable) {
    Worked21 w;
    test::Block& b = w.b;
    // A copy at another address holds the same statics: the same plan.
    {
        Marked m;
        m.firstFrame(w.cam, b.info());
        const Camera copy = w.cam;
        copy.realFrame(m.second, b.info(), 0.95f, 0.0f, m.out, *m.table);
        EXPECT_TRUE(m.markCameBack()) << "a copy of the camera";
    }
    // The C handle.
    {
        std::unique_ptr<kalviro_camera, void (*)(kalviro_camera*)> h(kalviro_camera_create(21),
                                                                     kalviro_camera_destroy);
        kalviro_camera_gray2temp_init(h.get(), 1000, b.info(), 0.95f, 0.0f);
        Marked m;
        kalviro_camera_convert_frame(h.get(), b.info(), m.first.data(), m.first.size(), 0.95f, 0.0f,
                                     m.out.data(), m.table.get(), 1);
        m.plant();
        kalviro_camera_convert_frame(h.get(), b.info(), m.second.data(), m.second.size(), 0.95f, 0.0f,
                                     m.out.data(), m.table.get(), 1);
        EXPECT_TRUE(m.markCameBack()) << "the handle";
    }
    // The process-wide entries through the CalType's own pointer.
    {
        KALVIRO_Gray2Temp_Init(21, 1000, b.info(), 0.95f, 0.0f);
        const Gray2TempFn real = KALVIRO_Gray2Temp_Real_GET(21);
        Marked m;
        kalviro_convert_frame(real, b.info(), m.first.data(), m.first.size(), 0.95f, 0.0f, m.out.data(),
                              m.table.get());
        m.plant();
        kalviro_convert_frame(real, b.info(), m.second.data(), m.second.size(), 0.95f, 0.0f, m.out.data(),
                              m.table.get());
        EXPECT_TRUE(m.markCameBack()) << "the C entries";
    }
}

// Two cameras whose plans differ only in the rows their per-frame calls
// built: the second must not read the first one's entries.
TEST(FrameSequenceReuse, OtherRowsAreAnotherPlan) {
    test::Block a = test::workedBlockRange2(), b = test::workedBlockRange2();
    for (int k = 0; k < 12; ++k) b.with(field::grayCurve(k), a.read(field::grayCurve(k)) + 40.0f);
    Camera ca(21), cb(21);
    ca.init(1000, a.info(), 0.95f, 0.0f);
    cb.init(1000, b.info(), 0.95f, 0.0f);
    ASSERT_NE(std::memcmp(test::stateOf(ca).tempdata, test::stateOf(cb).tempdata,
                          sizeof test::stateOf(ca).tempdata),
              0);
    auto table = std::make_unique<KalviroFrameTable>();
    const auto px = spread(1000, 3000, 2048);
    std::vector<float> outA(px.size()), outB(px.size());
    ca.realFrame(px, a.info(), 0.95f, 0.0f, outA, *table);
    cb.realFrame(px, b.info(), 0.95f, 0.0f, outB, *table);
    EXPECT_NE(std::memcmp(outA.data(), outB.data(), outA.size() * sizeof(float)), 0);
    EXPECT_EQ(firstOffPixel(cb, px, outB, b.info(), 0.95f, 0.0f), -1);
}

// The lanes are part of what a table was built with: a switch of sets
// builds afresh, so that sets can be compared on one table.
TEST(FrameSequenceReuse, AnotherSetOfLanesBuildsAfresh) {
    if (kalviro_set_lanes("scalar") != 0) GTEST_SKIP();
    kalviro_set_lanes(nullptr);
    if (std::strcmp(kalviro_lanes(), "scalar") == 0) GTEST_SKIP() << "one set only";
    Worked21 w;
    Marked m;
    m.firstFrame(w.cam, w.b.info());
    ASSERT_EQ(kalviro_set_lanes("scalar"), 0);
    w.cam.realFrame(m.second, w.b.info(), 0.95f, 0.0f, m.out, *m.table);
    kalviro_set_lanes(nullptr);
    EXPECT_FALSE(m.markCameBack());
}

}  // namespace
}  // namespace kalviro
