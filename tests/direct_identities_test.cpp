// What the Direct CalTypes share by definition: members of one algorithm
// convert alike block for block, and CalTypes used in turn keep their own
// statics.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "block_builder.hpp"
#include "kalviro.h"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;

bool sameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

const std::vector<Block>& allFrames() {
    static const std::vector<Block> frames = [] {
        std::vector<Block> out = test::vectorFrames("direct_a.txt");
        const std::vector<Block> more = test::vectorFrames("direct_b.txt");
        out.insert(out.end(), more.begin(), more.end());
        return out;
    }();
    return frames;
}

constexpr int32_t kGrays[] = {-500, 0, 1000, 3000, 8000};
constexpr float kEmissivities[] = {1.0f, 0.9f, 0.35f};

// Runs every frame of the vector files through each member, in turn, on
// cameras that live through the whole run, and compares Init, the block
// writes, Real and Once bit for bit with the first member.
class Alike : public ::testing::TestWithParam<std::vector<int>> {};

TEST_P(Alike, InitRealOnceAndBlockWrites) {
    const std::vector<int> members = GetParam();
    std::vector<Camera> cams;
    for (int ct : members) cams.emplace_back(ct);
    ASSERT_FALSE(allFrames().empty());
    int frameNo = 0;
    for (const Block& frame : allFrames()) {
        ++frameNo;
        const int32_t gray = kGrays[frameNo % 5];
        const float e = kEmissivities[frameNo % 3];
        std::vector<Block> blocks(members.size(), frame);
        std::vector<float> init(members.size());
        for (size_t i = 0; i < members.size(); ++i) init[i] = cams[i].init(gray, blocks[i].info(), e, 0.0f);
        for (size_t i = 1; i < members.size(); ++i) {
            ASSERT_TRUE(sameBits(init[i], init[0])) << "frame " << frameNo << ": Init " << members[i] << " "
                                                    << init[i] << " vs " << init[0];
            ASSERT_EQ(blocks[i].snapshot(), blocks[0].snapshot()) << "frame " << frameNo;
            for (int32_t g : kGrays) {
                ASSERT_TRUE(sameBits(cams[i].real(g, blocks[i].info(), e, 0.0f),
                                     cams[0].real(g, blocks[0].info(), e, 0.0f)))
                    << "frame " << frameNo << ": Real " << members[i] << " gray " << g;
            }
        }
        std::vector<float> once(members.size());
        for (size_t i = 0; i < members.size(); ++i) once[i] = cams[i].once(gray + 7, blocks[i].info(), e, 0.0f);
        for (size_t i = 1; i < members.size(); ++i) {
            ASSERT_TRUE(sameBits(once[i], once[0])) << "frame " << frameNo << ": Once " << members[i];
            ASSERT_EQ(blocks[i].snapshot(), blocks[0].snapshot()) << "frame " << frameNo;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(OneAlgorithm, Alike,
                         ::testing::Values(std::vector<int>{20, 24, 27}, std::vector<int>{21, 90},
                                           std::vector<int>{54, 55}, std::vector<int>{110, 120}),
                         [](const auto& p) {
                             std::string name = "CalTypes";
                             for (int ct : p.param) name += "_" + std::to_string(ct);
                             return name;
                         });

// 70 is 57 up to the segment lookup: the same statics after every frame.
TEST(Alike, CalType70BuildsWhat57Builds) {
    Camera c57(57);
    Camera c70(70);
    int frameNo = 0;
    for (const Block& frame : allFrames()) {
        ++frameNo;
        Block b57 = frame;
        Block b70 = frame;
        c57.init(kGrays[frameNo % 5], b57.info(), 0.9f, 0.0f);
        c70.init(kGrays[frameNo % 5], b70.info(), 0.9f, 0.0f);
        ASSERT_TRUE(sameBits(c70.state().const_b, c57.state().const_b)) << "frame " << frameNo;
        ASSERT_TRUE(sameBits(c70.state().const_d, c57.state().const_d)) << "frame " << frameNo;
        ASSERT_EQ(std::memcmp(c70.state().tempdata, c57.state().tempdata, sizeof c57.state().tempdata), 0)
            << "frame " << frameNo;
        ASSERT_EQ(b70.snapshot(), b57.snapshot()) << "frame " << frameNo;
    }
}

// Frames that move the statics that carry over: 22's peaks, the latched
// limits of 50 and 54, and 110, which shares 54's algorithm but latches zero
// limits from a first frame of another lens.
struct Step {
    int calType;
    Block block;
    int32_t gray;
};

std::vector<Step> interleavedSteps() {
    std::vector<Step> steps;
    const int32_t ups[] = {100, 200, 300, 600, 900, 1500, 2000, 2100};
    const int32_t ws[] = {500, 450, 500, 650, 1200, 1300, 900, 1250};
    for (int i = 0; i < 8; ++i) {
        Block b22 = test::workedBlockRange2();
        b22.with(field::lensType, i % 4 == 3 ? 2 : 1).with(field::upTime, ups[i]).with(field::itRefTemp, 40.0f);
        test::atWarm(b22, ws[i]);
        steps.push_back({22, b22, 1000 + 300 * i});

        Block b50 = test::workedBlockRange2();
        b50.with(field::lensType, 1)
            .with(field::shutterDrift, i - 3)
            .with(field::upTime, ups[i])
            .with(field::warmDiffLow, i == 0 ? 2.9f : 1.0f)
            .with(field::warmDiffHigh, i == 0 ? 6.0f : 3.0f);
        test::atWarm(b50, 150 + 60 * i);
        steps.push_back({50, b50, 900 + 250 * i});

        Block b54 = b50;
        b54.with(field::windowTransLong, 90)
            .with(field::grayCurveExt(0), 14000.0f)
            .with(field::grayCurveExt(1), 16000.0f);
        steps.push_back({54, b54, 1100 + 200 * i});

        Block b110 = b54;
        b110.with(field::lensType, i == 0 ? 2 : 1);
        steps.push_back({110, b110, 1100 + 200 * i});
    }
    return steps;
}

// Through the C entries, whose statics are one set per CalType for the whole
// process, in a child so that the run starts from freshly loaded statics.
TEST(Interleaved, CEntriesMatchCamerasUsedAlone) {
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        const std::vector<Step> steps = interleavedSteps();
        // Each CalType alone, on its own camera.
        std::vector<float> alone;
        for (int ct : {22, 50, 54, 110}) {
            Camera cam(ct);
            for (const Step& s : steps) {
                if (s.calType != ct) continue;
                Block b = s.block;
                alone.push_back(cam.init(s.gray, b.info(), 0.9f, 0.0f));
                alone.push_back(cam.real(s.gray + 40, b.info(), 0.9f, 0.0f));
            }
        }
        // All four in turn, frame by frame, through the C entries.
        std::vector<float> turns[4];
        const int order[] = {22, 50, 54, 110};
        for (const Step& s : steps) {
            Block b = s.block;
            const int slot = static_cast<int>(std::find(order, order + 4, s.calType) - order);
            turns[slot].push_back(KALVIRO_Gray2Temp_Init(s.calType, s.gray, b.info(), 0.9f, 0.0f));
            turns[slot].push_back(KALVIRO_Gray2Temp_Real(s.calType, s.gray + 40, b.info(), 0.9f, 0.0f));
        }
        std::vector<float> together;
        for (const auto& t : turns) together.insert(together.end(), t.begin(), t.end());
        bool same = together.size() == alone.size();
        for (size_t i = 0; same && i < alone.size(); ++i) same = sameBits(together[i], alone[i]);
        _exit(same ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

// The steps really carry state from frame to frame: run in reverse order,
// 22, 50 and 110 give other per-pixel results.
TEST(Interleaved, TheStepsCarryState) {
    const std::vector<Step> steps = interleavedSteps();
    for (int ct : {22, 50, 110}) {
        Camera inOrder(ct);
        Camera reversed(ct);
        std::vector<float> a, b;
        std::vector<const Step*> mine;
        for (const Step& s : steps) {
            if (s.calType == ct) mine.push_back(&s);
        }
        for (const Step* s : mine) {
            Block blk = s->block;
            inOrder.init(s->gray, blk.info(), 0.9f, 0.0f);
            a.push_back(inOrder.real(s->gray + 40, blk.info(), 0.9f, 0.0f));
        }
        for (auto it = mine.rbegin(); it != mine.rend(); ++it) {
            Block blk = (*it)->block;
            reversed.init((*it)->gray, blk.info(), 0.9f, 0.0f);
            b.insert(b.begin(), reversed.real((*it)->gray + 40, blk.info(), 0.9f, 0.0f));
        }
        EXPECT_NE(a, b) << "CalType " << ct;
    }
}

}  // namespace
}  // namespace kalviro
