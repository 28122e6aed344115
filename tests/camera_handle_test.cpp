// C handles: each owns its statics as a kalviro::Camera does, lives on the
// heap or in the caller's memory, and gives the C entries' failure values.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "block_builder.hpp"
#include "kalviro.h"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using Handle = std::unique_ptr<kalviro_camera, void (*)(kalviro_camera*)>;

Handle create(int32_t calType) { return Handle(kalviro_camera_create(calType), kalviro_camera_destroy); }

template <typename T>
bool sameBits(const T& a, const T& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Frame k of a camera: the block in its own range, warming up frame by frame
// so that the latches of the first frame matter.
test::Block frameBlock(bool high, int k) {
    test::Block b = high ? test::workedBlockRange3() : test::workedBlockRange2();
    b.with(field::windowTrans, 90).with(field::envTemp, 95).with(field::atmA, 4).with(field::atmB, 167);
    return b.with(field::upTime, 600 + 450 * k).with(field::tempCH5, 2900 + 60 * k);
}

// Two handles on one CalType, their frames interleaved: each gives the bits
// of a kalviro::Camera that saw only its own frames, and the statics of the
// C entries stay as they were.
class TwoHandles : public testing::TestWithParam<int32_t> {};

TEST_P(TwoHandles, InterleavedFramesMatchSeparateCameras) {
    const int32_t calType = GetParam();
    const CalState processBefore = processState(listIndex(calType));
    Handle handles[2] = {create(calType), create(calType)};
    ASSERT_NE(handles[0], nullptr);
    ASSERT_NE(handles[1], nullptr);
    Camera cameras[2] = {Camera(calType), Camera(calType)};
    auto table = std::make_unique<KalviroFrameTable>();
    std::vector<uint16_t> px(2048);
    for (size_t i = 0; i < px.size(); ++i) px[i] = static_cast<uint16_t>((i * 7919u) % 4000u);
    std::vector<float> got(px.size()), want(px.size());

    for (int k = 0; k < 4; ++k) {
        test::Block viaHandle[2] = {frameBlock(false, k), frameBlock(true, k)};
        test::Block viaCamera[2] = {viaHandle[0], viaHandle[1]};
        // Both per-frame calls first: the second must not reach the first's statics.
        for (int c = 0; c < 2; ++c) {
            kalviro_camera* h = handles[c].get();
            TempFrameInfo* block = viaHandle[c].info();
            const float r = k % 2 ? kalviro_camera_gray2temp_once(h, 1500, block, 0.95f, 0.0f)
                                  : kalviro_camera_gray2temp_init(h, 1500, block, 0.95f, 0.0f);
            const float w = k % 2 ? cameras[c].once(1500, viaCamera[c].info(), 0.95f, 0.0f)
                                  : cameras[c].init(1500, viaCamera[c].info(), 0.95f, 0.0f);
            EXPECT_TRUE(sameBits(r, w)) << "camera " << c << " frame " << k << ": " << r << " vs " << w;
            EXPECT_EQ(viaHandle[c].snapshot(), viaCamera[c].snapshot()) << "camera " << c << " frame " << k;
        }
        for (int c = 0; c < 2; ++c) {
            const kalviro_camera* h = handles[c].get();
            const TempFrameInfo* block = viaHandle[c].info();
            const int32_t threads = 1 + k % 2;
            ASSERT_EQ(kalviro_camera_convert_frame(h, block, px.data(), px.size(), 0.9f, 0.0f, got.data(),
                                                   table.get(), threads),
                      0);
            cameras[c].realFrame(px.data(), px.size(), viaCamera[c].info(), 0.9f, 0.0f, want.data(), *table,
                                 threads);
            EXPECT_EQ(std::memcmp(got.data(), want.data(), got.size() * sizeof got[0]), 0)
                << "camera " << c << " frame " << k;
            EXPECT_TRUE(sameBits(kalviro_camera_gray2temp_real(h, 2500, block, 0.8f, 0.0f),
                                 cameras[c].real(2500, viaCamera[c].info(), 0.8f, 0.0f)));
            EXPECT_TRUE(sameBits(kalviro_camera_getit(h, block), cameras[c].getIT(viaCamera[c].info())));
            EXPECT_EQ(kalviro_camera_temp2gray(h, block, 2000, 8000, 0, 16383, 4000, 0.95f),
                      cameras[c].temp2gray(viaCamera[c].info(), 2000, 8000, 0, 16383, 4000, 0.95f));
            TempPara para, paraWant;
            std::memset(&para, 0xa5, sizeof para);
            ASSERT_EQ(kalviro_camera_temppara(h, block, &para), cameras[c].getTempPara(block, &paraWant));
            EXPECT_TRUE(sameBits(para, paraWant));
        }
    }
    EXPECT_EQ(kalviro_camera_caltype(handles[1].get()), calType);
    EXPECT_TRUE(sameBits(processState(listIndex(calType)), processBefore));
}

// Both families and their four-range members, CalType 22's preset peaks, the
// long layout, and a window.
INSTANTIATE_TEST_SUITE_P(CalTypes, TwoHandles, testing::Values(12, 21, 22, 54, 61, 81, 134, 140));

// In the caller's memory, no heap: refused with nothing written unless the
// memory is large enough and aligned and the CalType known. A byte-wise copy
// after a per-frame call is a camera of its own with that frame's statics.
TEST(HandleInPlace, RefusesUnfitMemoryAndCopiesByteWise) {
    alignas(8) static unsigned char memory[KALVIRO_CAMERA_SIZE_MAX + 1];
    alignas(8) static unsigned char copy[KALVIRO_CAMERA_SIZE_MAX];
    const size_t size = kalviro_camera_size();
    ASSERT_LE(size, sizeof copy);
    ASSERT_EQ(kalviro_camera_align(), 8u);
    std::memset(memory, 0x5a, sizeof memory);
    EXPECT_EQ(kalviro_camera_init(nullptr, size, 21), nullptr);
    EXPECT_EQ(kalviro_camera_init(memory, size - 1, 21), nullptr);
    EXPECT_EQ(kalviro_camera_init(memory + 1, size, 21), nullptr);
    EXPECT_EQ(kalviro_camera_init(memory, size, 53), nullptr);
    for (unsigned char byte : memory) ASSERT_EQ(byte, 0x5a);

    kalviro_camera* cam = kalviro_camera_init(memory, size, 22);
    ASSERT_EQ(static_cast<void*>(cam), static_cast<void*>(memory));
    Camera own(22);
    test::Block first = frameBlock(false, 0), second = frameBlock(true, 1);
    kalviro_camera_gray2temp_init(cam, 1500, first.info(), 0.95f, 0.0f);
    own.init(1500, first.info(), 0.95f, 0.0f);
    const Camera ownFirst = own;
    std::memcpy(copy, memory, size);
    const auto* copied = reinterpret_cast<const kalviro_camera*>(copy);

    kalviro_camera_gray2temp_init(cam, 1500, second.info(), 0.95f, 0.0f);
    own.init(1500, second.info(), 0.95f, 0.0f);
    for (int32_t gray : {800, 1500, 3000}) {
        EXPECT_TRUE(sameBits(kalviro_camera_gray2temp_real(copied, gray, first.info(), 0.95f, 0.0f),
                             ownFirst.real(gray, first.info(), 0.95f, 0.0f)))
            << gray;
        EXPECT_TRUE(sameBits(kalviro_camera_gray2temp_real(cam, gray, second.info(), 0.95f, 0.0f),
                             own.real(gray, second.info(), 0.95f, 0.0f)))
            << gray;
    }
}

// A null handle, an unknown CalType or a null argument gets the C entries'
// failure values, and nothing is written.
TEST(HandleFailures, NullHandleUnknownCalTypeAndNullArguments) {
    for (int32_t calType : {53, 0, -1, 141}) EXPECT_EQ(kalviro_camera_create(calType), nullptr) << calType;
    kalviro_camera_destroy(nullptr);

    test::Block b = test::workedBlockRange2();
    const auto before = b.snapshot();
    TempPara para, stale;
    std::memset(&para, 0xc3, sizeof para);
    std::memcpy(&stale, &para, sizeof para);
    auto table = std::make_unique<KalviroFrameTable>();
    const uint16_t px[3] = {1000, 1200, 1400};
    float out[3] = {-1.0f, -1.0f, -1.0f};

    const Handle cam = create(21), noIT = create(22);
    ASSERT_NE(cam, nullptr);
    ASSERT_NE(noIT, nullptr);
    for (kalviro_camera* h : {static_cast<kalviro_camera*>(nullptr), cam.get()}) {
        TempFrameInfo* block = h ? nullptr : b.info();  // the handle itself, or else the block
        EXPECT_EQ(kalviro_camera_gray2temp_init(h, 1000, block, 0.95f, 0.0f), 0.0f);
        EXPECT_EQ(kalviro_camera_gray2temp_real(h, 1000, block, 0.95f, 0.0f), 0.0f);
        EXPECT_EQ(kalviro_camera_gray2temp_once(h, 1000, block, 0.95f, 0.0f), 0.0f);
        EXPECT_EQ(kalviro_camera_getit(h, block), 0.0);
        EXPECT_EQ(kalviro_camera_temppara(h, block, &para), 0);
        EXPECT_EQ(kalviro_camera_temp2gray(h, block, 2000, 8000, 123, 16383, 4000, 0.95f), 123);
        EXPECT_EQ(kalviro_camera_convert_frame(h, block, px, 3, 0.95f, 0.0f, out, table.get(), 1), -1);
    }
    EXPECT_EQ(kalviro_camera_caltype(nullptr), 0);
    EXPECT_EQ(kalviro_camera_getit(noIT.get(), b.info()), 0.0);
    EXPECT_EQ(kalviro_camera_temppara(cam.get(), b.info(), nullptr), 0);
    EXPECT_EQ(kalviro_camera_convert_frame(cam.get(), b.info(), nullptr, 3, 0.95f, 0.0f, out, table.get(), 1),
              -1);
    EXPECT_EQ(kalviro_camera_convert_frame(cam.get(), b.info(), px, 3, 0.95f, 0.0f, nullptr, table.get(), 1),
              -1);
    EXPECT_EQ(kalviro_camera_convert_frame(cam.get(), b.info(), px, 3, 0.95f, 0.0f, out, nullptr, 2), -1);
    // No memory holds this many pixels: refused, not cut to its low bits.
    EXPECT_EQ(kalviro_camera_convert_frame(cam.get(), b.info(), px, ~uint64_t{0} / 2, 0.95f, 0.0f, out,
                                           table.get(), 1),
              -1);
    EXPECT_EQ(b.snapshot(), before);
    EXPECT_TRUE(sameBits(para, stale));
    for (float v : out) EXPECT_EQ(v, -1.0f);
    EXPECT_EQ(
        kalviro_camera_convert_frame(cam.get(), b.info(), nullptr, 0, 0.95f, 0.0f, nullptr, table.get(), 1),
        0);
}

// Statics saved after frame k and loaded into a fresh handle continue the
// sequence as the camera that kept them; null arguments write nothing.
TEST(HandleState, SavedStaticsContinueTheSequence) {
    const std::string layout = kalviro_camera_state_layout();
    EXPECT_NE(layout.find(std::to_string(sizeof(CalState))), std::string::npos) << layout;
    for (int32_t calType : {21, 22, 121, 134}) {
        const Handle kept = create(calType), fresh = create(calType);
        ASSERT_NE(kept, nullptr);
        test::Block first = frameBlock(false, 0);
        kalviro_camera_gray2temp_init(kept.get(), 1500, first.info(), 0.95f, 0.0f);
        uint8_t state[KALVIRO_CAMERA_STATE_SIZE];
        ASSERT_EQ(kalviro_camera_save(kept.get(), state), 0);
        ASSERT_EQ(kalviro_camera_load(fresh.get(), state), 0);
        for (int k = 1; k < 4; ++k) {
            test::Block a = frameBlock(k % 2 == 1, k), b = frameBlock(k % 2 == 1, k);
            const float ta = kalviro_camera_gray2temp_init(kept.get(), 1500 + 40 * k, a.info(), 0.9f, 0.0f);
            const float tb = kalviro_camera_gray2temp_init(fresh.get(), 1500 + 40 * k, b.info(), 0.9f, 0.0f);
            EXPECT_TRUE(sameBits(ta, tb)) << calType << " frame " << k;
            EXPECT_EQ(a.snapshot(), b.snapshot());
            for (int32_t gray : {700, 2100, 9000}) {
                EXPECT_TRUE(sameBits(kalviro_camera_gray2temp_real(kept.get(), gray, a.info(), 0.9f, 0.0f),
                                     kalviro_camera_gray2temp_real(fresh.get(), gray, b.info(), 0.9f, 0.0f)))
                    << calType << " frame " << k << " gray " << gray;
            }
        }
        uint8_t untouched[KALVIRO_CAMERA_STATE_SIZE];
        std::memset(untouched, 0x77, sizeof untouched);
        EXPECT_EQ(kalviro_camera_save(nullptr, untouched), -1);
        EXPECT_EQ(kalviro_camera_save(kept.get(), nullptr), -1);
        EXPECT_EQ(kalviro_camera_load(nullptr, state), -1);
        EXPECT_EQ(kalviro_camera_load(kept.get(), nullptr), -1);
        for (uint8_t byte : untouched) ASSERT_EQ(byte, 0x77);
    }
}

}  // namespace
}  // namespace kalviro
