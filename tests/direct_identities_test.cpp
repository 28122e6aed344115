// What the Direct CalTypes share by definition: members of one algorithm
// convert alike block for block, and CalTypes used in turn keep their own
// statics.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "block_builder.hpp"
#include "kalviro.h"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;

bool sameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Every 8th block of the reference vectors.
std::vector<Block> sampleFrames() {
    std::vector<Block> out;
    for (const char* name : {"direct_a.txt", "direct_b.txt"}) {
        const std::vector<Block> all = test::vectorFrames(name);
        for (size_t i = 0; i < all.size(); i += 8) out.push_back(all[i]);
    }
    return out;
}

// Init, the block after it, Real at five gray values and Once, frame by
// frame on one camera, as bytes.
std::vector<uint8_t> trace(int calType, const std::vector<Block>& frames) {
    constexpr int32_t kGrays[] = {-500, 0, 1000, 3000, 8000};
    constexpr float kEmissivities[] = {1.0f, 0.9f, 0.35f};
    Camera cam(calType);
    std::vector<uint8_t> out;
    auto put = [&out](const void* p, size_t n) {
        const auto* bytes = static_cast<const uint8_t*>(p);
        out.insert(out.end(), bytes, bytes + n);
    };
    for (size_t n = 0; n < frames.size(); ++n) {
        Block b = frames[n];
        const float e = kEmissivities[n % 3];
        float v[7] = {cam.init(kGrays[n % 5], b.info(), e, 0.0f)};
        put(b.raw(), 512);
        for (int k = 0; k < 5; ++k) v[k + 1] = cam.real(kGrays[k], b.info(), e, 0.0f);
        v[6] = cam.once(kGrays[n % 5] + 7, b.info(), e, 0.0f);
        put(v, sizeof v);
        put(b.raw(), 512);
    }
    return out;
}

// Members of one algorithm leave the same bits, block after block.
class Alike : public ::testing::TestWithParam<std::vector<int>> {};

TEST_P(Alike, InitRealOnceAndBlockWrites) {
    const std::vector<Block> frames = sampleFrames();
    ASSERT_FALSE(frames.empty());
    const std::vector<uint8_t> first = trace(GetParam()[0], frames);
    for (int ct : GetParam()) EXPECT_TRUE(trace(ct, frames) == first) << "CalType " << ct;
}

INSTANTIATE_TEST_SUITE_P(OneAlgorithm, Alike,
                         ::testing::Values(std::vector<int>{20, 24, 27}, std::vector<int>{21, 90}),
                         [](const auto& p) {
                             std::string name = "CalTypes";
                             for (int ct : p.param) name += "_" + std::to_string(ct);
                             return name;
                         });

// CalTypes 22 and 50 in turn through the C entries, whose statics are one
// set per CalType for the whole process, each frame also on a camera of its
// own: 22's peaks and 50's latched limits carry from frame to frame. In a
// child, so that the run starts from freshly loaded statics.
TEST(Interleaved, CEntriesMatchCamerasUsedAlone) {
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        const int32_t ups[] = {100, 200, 300, 600, 900, 1500, 2000, 2100};
        const int32_t ws[] = {500, 450, 500, 650, 1200, 1300, 900, 1250};
        Camera c22(22), c50(50);
        bool same = true;
        for (int i = 0; i < 8; ++i) {
            Block b22 = test::workedBlockRange2();
            b22.with(field::lensType, i % 4 == 3 ? 2 : 1)
                .with(field::upTime, ups[i])
                .with(field::itRefTemp, 40.0f);
            test::atWarm(b22, ws[i]);
            Block b50 = test::workedBlockRange2();
            b50.with(field::lensType, i == 0 ? 2 : 1)
                .with(field::shutterDrift, i - 3)
                .with(field::upTime, ups[i])
                .with(field::warmDiffLow, i == 0 ? 2.9f : 1.0f)
                .with(field::warmDiffHigh, i == 0 ? 6.0f : 3.0f);
            test::atWarm(b50, 150 + 60 * i);
            for (auto [ct, cam, blk, gray] :
                 {std::tuple{22, &c22, &b22, 1000 + 300 * i}, std::tuple{50, &c50, &b50, 900 + 250 * i}}) {
                Block b = *blk;
                same = same && sameBits(KALVIRO_Gray2Temp_Init(ct, gray, b.info(), 0.9f, 0.0f),
                                        cam->init(gray, blk->info(), 0.9f, 0.0f));
                same = same && sameBits(KALVIRO_Gray2Temp_Real(ct, gray + 40, b.info(), 0.9f, 0.0f),
                                        cam->real(gray + 40, blk->info(), 0.9f, 0.0f));
            }
        }
        _exit(same ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

}  // namespace
}  // namespace kalviro
