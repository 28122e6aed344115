// Temperature_GetFrameInfo: the block is the last 512 bytes of the frame. A
// short buffer is refused before the CalType is looked at; an unknown CalType
// is refused after image, imageSize and info have been written.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "kalviro.h"

namespace {

struct FrameCase {
    const char* name;
    uint64_t size;
    bool nullFrame;
    int32_t calType;
    int32_t result;
    const char* output;  // what standard output receives
    bool splitWritten;   // image, imageSize and info
    bool infoSizeWritten;
};

class FrameInfo : public testing::TestWithParam<FrameCase> {};

// Outputs start at values no call would write, so every write shows.
uint8_t gStale = 0;
constexpr uint64_t kStaleSize = 0xdeadbeefcafef00dULL;

TEST_P(FrameInfo, SplitsOrRefuses) {
    const FrameCase& c = GetParam();
    std::vector<uint8_t> buffer(c.nullFrame ? 0 : c.size + 1, 0x5a);
    uint8_t* frame = c.nullFrame ? nullptr : buffer.data();
    const std::vector<uint8_t> before = buffer;

    uint8_t* image = &gStale;
    uint8_t* info = &gStale;
    uint64_t imageSize = kStaleSize;
    uint64_t infoSize = kStaleSize;

    testing::internal::CaptureStdout();
    const int32_t r = Temperature_GetFrameInfo(c.calType, frame, c.size, &image, &imageSize, &info, &infoSize);
    std::fflush(stdout);
    const std::string out = testing::internal::GetCapturedStdout();

    EXPECT_EQ(r, c.result);
    EXPECT_EQ(out, c.output);
    if (c.splitWritten) {
        EXPECT_EQ(image, frame);
        EXPECT_EQ(imageSize, c.size - 512);
        EXPECT_EQ(info, frame + (c.size - 512));
    } else {
        EXPECT_EQ(image, &gStale);
        EXPECT_EQ(imageSize, kStaleSize);
        EXPECT_EQ(info, &gStale);
    }
    EXPECT_EQ(infoSize, c.infoSizeWritten ? 512u : kStaleSize);
    // The frame itself is never touched.
    EXPECT_EQ(buffer, before);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Sizes, FrameInfo, testing::Values(
    FrameCase{"Exactly512", 512, false, 21, 0, "", true, true},
    FrameCase{"ImageInFront", 512 + 640 * 2 + 1, false, 21, 0, "", true, true},
    FrameCase{"OneShort", 511, false, 21, -1, "BufSize error\n", false, false},
    FrameCase{"Empty", 0, false, 21, -1, "BufSize error\n", false, false},
    FrameCase{"NullEmpty", 0, true, 21, -1, "BufSize error\n", false, false},
    FrameCase{"NullShort", 100, true, 20, -1, "BufSize error\n", false, false},
    FrameCase{"SizeBeforeCalType", 511, false, 53, -1, "BufSize error\n", false, false},
    FrameCase{"NullShortUnknown", 3, true, 53, -1, "BufSize error\n", false, false},
    FrameCase{"UnknownCalType", 512, false, 53, -1, "CalType error\n", true, false},
    FrameCase{"UnknownAfterImage", 1024, false, 0, -1, "CalType error\n", true, false},
    FrameCase{"LongLayout", 513, false, 54, 0, "", true, true}),
    [](const testing::TestParamInfo<FrameCase>& i) { return std::string(i.param.name); });
// clang-format on

}  // namespace
