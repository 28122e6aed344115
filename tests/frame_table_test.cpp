// Whole-frame conversion must equal the per-pixel call on every pixel, bit
// for bit, also when the next frame changes the block.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "block_builder.hpp"
#include "kalviro.h"
#include "kalviro.hpp"

namespace kalviro {
namespace {

class FrameTable : public ::testing::TestWithParam<int32_t> {
protected:
    std::unique_ptr<KalviroFrameTable> table = std::make_unique<KalviroFrameTable>();
};

std::vector<uint16_t> pixels() {
    std::vector<uint16_t> px(4096);
    for (size_t i = 0; i < px.size(); ++i) px[i] = static_cast<uint16_t>((i * 7919u) % 3000u);
    px[0] = 0;
    px[1] = 65535;
    return px;
}

TEST_P(FrameTable, EqualsPerPixelCallAcrossFrames) {
    Camera cam(GetParam());
    test::Block b = test::workedBlockRange2();
    b.with(field::windowTrans, 90).with(field::envTemp, 95).with(field::atmA, 4).with(field::atmB, 167);
    const auto px = pixels();
    std::vector<float> out(px.size());

    for (int32_t range : {2, 3}) {
        b.with(field::tempRange, range).with(field::tempCH1, 2500 + 100 * range);
        cam.init(1000, b.info(), 0.9f, 0.0f);
        for (int32_t threads : {1, 2, 3}) {
            std::fill(out.begin(), out.end(), -1.0f);
            ASSERT_TRUE(cam.realFrame(px, b.info(), 0.9f, 0.0f, out, *table, threads));
            for (size_t i = 0; i < px.size(); ++i) {
                const float want = cam.real(px[i], b.info(), 0.9f, 0.0f);
                ASSERT_EQ(std::memcmp(&out[i], &want, sizeof want), 0)
                    << "pixel " << i << " range " << range << " threads " << threads;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(CalTypes, FrameTable, ::testing::Values(12, 21, 22, 54, 56, 94, 130));

TEST(FrameTableC, MatchesRealThroughTheCEntryAndRefusesNulls) {
    auto table = std::make_unique<KalviroFrameTable>();
    test::Block b = test::workedBlockRange2();
    KALVIRO_Gray2Temp_Init(20, 1000, b.info(), 0.95f, 0.0f);
    Gray2TempFn fn = KALVIRO_Gray2Temp_Real_GET(20);
    const uint16_t px[3] = {1000, 0, 1000};
    float out[3];
    ASSERT_EQ(kalviro_convert_frame(fn, b.info(), px, 3, 0.95f, 0.0f, out, table.get()), 0);
    EXPECT_EQ(out[0], KALVIRO_Gray2Temp_Real(20, 1000, b.info(), 0.95f, 0.0f));
    EXPECT_EQ(out[2], out[0]);
    EXPECT_EQ(out[1], KALVIRO_Gray2Temp_Real(20, 0, b.info(), 0.95f, 0.0f));
    EXPECT_EQ(kalviro_convert_frame(nullptr, b.info(), px, 3, 0.95f, 0.0f, out, table.get()), -1);
    EXPECT_EQ(kalviro_convert_frame(fn, nullptr, px, 3, 0.95f, 0.0f, out, table.get()), -1);
    EXPECT_EQ(kalviro_convert_frame(fn, b.info(), px, 3, 0.95f, 0.0f, out, nullptr), -1);

    // A count no memory holds is refused with nothing written. On a 32-bit
    // host 2^32 + 3 would otherwise be cut to 3 and converted.
    const uint64_t beyondAnyHost = ~uint64_t{0} / 2, beyond32Bits = (uint64_t{1} << 32) + 3;
    for (uint64_t count : {beyondAnyHost, beyond32Bits}) {
        if (count == beyond32Bits && sizeof(uintptr_t) == sizeof(uint64_t)) continue;  // may really exist
        std::memset(out, 0, sizeof out);
        EXPECT_EQ(kalviro_convert_frame(fn, b.info(), px, count, 0.95f, 0.0f, out, table.get()), -1) << count;
        EXPECT_EQ(out[0], 0.0f) << count;
    }
}

}  // namespace
}  // namespace kalviro
