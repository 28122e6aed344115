// The C entries around the conversion: the frame split, the dispatch by
// CalType, TempPara and the two version texts.
#include <gtest/gtest.h>
#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "api/module.hpp"
#include "block_builder.hpp"
#include "kalviro.h"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;

// The block is the last 512 bytes. A short buffer is refused before the
// CalType is looked at; an unknown CalType after image, imageSize and info
// are written, infoSize not.
struct FrameCase {
    const char* name;
    uint64_t size;
    bool nullFrame;
    int32_t calType;
    const char* output;  // what standard output receives; empty on success
};

class FrameInfo : public testing::TestWithParam<FrameCase> {};

TEST_P(FrameInfo, SplitsOrRefuses) {
    const FrameCase& c = GetParam();
    std::vector<uint8_t> buffer(c.nullFrame ? 0 : static_cast<size_t>(c.size) + 1, 0x5a);
    uint8_t* frame = c.nullFrame ? nullptr : buffer.data();
    uint8_t stale = 0;  // outputs start where no call would point them
    constexpr uint64_t kStale = 0xdeadbeefcafef00dULL;
    uint8_t* image = &stale;
    uint8_t* info = &stale;
    uint64_t imageSize = kStale, infoSize = kStale;

    testing::internal::CaptureStdout();
    const int32_t r =
        Temperature_GetFrameInfo(c.calType, frame, c.size, &image, &imageSize, &info, &infoSize);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), c.output);

    const bool ok = std::string(c.output).empty();
    const bool split = ok || std::string(c.output) == "CalType error\n";
    EXPECT_EQ(r, ok ? 0 : -1);
    EXPECT_EQ(image, split ? frame : &stale);
    EXPECT_EQ(imageSize, split ? c.size - 512 : kStale);
    EXPECT_EQ(info, split ? frame + (c.size - 512) : &stale);
    EXPECT_EQ(infoSize, ok ? 512u : kStale);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Sizes, FrameInfo, testing::Values(
    FrameCase{"Exactly512", 512, false, 21, ""},
    FrameCase{"ImageInFront", 513, false, 54, ""},
    FrameCase{"OneShort", 511, false, 21, "BufSize error\n"},
    FrameCase{"Empty", 0, false, 21, "BufSize error\n"},
    FrameCase{"NullShort", 100, true, 21, "BufSize error\n"},
    FrameCase{"SizeBeforeCalType", 511, false, 53, "BufSize error\n"},
    FrameCase{"UnknownCalType", 512, false, 53, "CalType error\n"}),
    [](const testing::TestParamInfo<FrameCase>& i) { return std::string(i.param.name); });
// clang-format on

// A size that runs past the end of the address space belongs to no buffer
// and is refused like a short one, nothing written. On a 32-bit host 2^32 +
// 1024 would otherwise be cut to 1024 and put the block inside the image.
TEST(FrameInfoSize, NoBufferThatLargeAtThisAddress) {
    std::vector<uint8_t> buffer(1024);
    const bool narrow = sizeof(uintptr_t) < sizeof(uint64_t);
    for (uint64_t size : {~uint64_t{0}, (uint64_t{1} << 32) + 1024}) {
        const bool refused = size == ~uint64_t{0} || narrow;
        uint8_t* image = nullptr;
        uint8_t* info = nullptr;
        uint64_t imageSize = 7, infoSize = 7;
        testing::internal::CaptureStdout();
        const int32_t r =
            Temperature_GetFrameInfo(21, buffer.data(), size, &image, &imageSize, &info, &infoSize);
        std::fflush(stdout);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), refused ? "BufSize error\n" : "") << size;
        EXPECT_EQ(r, refused ? -1 : 0) << size;
        EXPECT_EQ(imageSize, refused ? 7 : size - 512) << size;
        EXPECT_EQ(
            reinterpret_cast<uintptr_t>(info),
            refused ? 0 : reinterpret_cast<uintptr_t>(buffer.data()) + static_cast<uintptr_t>(size - 512));
    }
}

// Numbers no camera uses are unknown to the dispatching entries.
class UnknownCalType : public testing::TestWithParam<int32_t> {};

TEST_P(UnknownCalType, EveryEntryFailsQuietly) {
    const int32_t calType = GetParam();
    Block b = test::workedBlockRange2();
    const auto before = b.snapshot();
    TempPara para, stale;
    std::memset(&para, 0xc3, sizeof para);
    std::memcpy(&stale, &para, sizeof para);

    testing::internal::CaptureStdout();
    EXPECT_EQ(KALVIRO_Gray2Temp_Init(calType, 1000, b.info(), 0.95f, 0.0f), 0.0f);
    EXPECT_EQ(KALVIRO_Gray2Temp_Real(calType, 1000, b.info(), 0.95f, 0.0f), 0.0f);
    EXPECT_EQ(KALVIRO_Gray2Temp_Once(calType, 1000, b.info(), 0.95f, 0.0f), 0.0f);
    EXPECT_EQ(Temperature_GetTempFromGray(1000, b.info(), nullptr, calType, 0.95f, 0.0f), 0.0f);
    EXPECT_EQ(KALVIRO_GetIT(calType, b.info()), 0.0);
    EXPECT_EQ(KALVIRO_Gray2Temp_Init_GET(calType), nullptr);
    EXPECT_EQ(KALVIRO_Gray2Temp_Real_GET(calType), nullptr);
    EXPECT_EQ(KALVIRO_GetIT_GET(calType), nullptr);
    EXPECT_EQ(KALVIRO_IsAlgSurport(calType), 0);
    EXPECT_EQ(KALVIRO_GetTempPara(calType, b.info(), &para), 0);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "only the frame split prints";
    EXPECT_EQ(std::memcmp(&para, &stale, sizeof para), 0) << "para stays as it was";
    EXPECT_EQ(b.snapshot(), before) << "no per-frame stage may run";
}

INSTANTIATE_TEST_SUITE_P(Numbers, UnknownCalType, testing::Values(53, 0, -1, 11, 141));

// The 59 rows of the table, ascending, as the camera's firmware numbers them;
// five have no GetIT value.
TEST(KnownCalTypes, TableHoldsTheFiftyNineInOrder) {
    constexpr int32_t kAll[] = {12,  20,  21,  22,  23,  24,  25,  26,  27,  50,  51,  52,  54,  55,  56,
                                57,  58,  60,  61,  62,  70,  71,  72,  73,  74,  75,  76,  77,  78,  80,
                                81,  82,  83,  84,  85,  90,  91,  92,  93,  94,  95,  96,  100, 101, 102,
                                110, 111, 120, 121, 130, 131, 132, 133, 134, 135, 136, 137, 138, 140};
    ASSERT_EQ(kalviro_table_size, 59);
    for (int i = 0; i < 59; ++i) {
        const int32_t calType = kAll[i];
        EXPECT_EQ(kalviro_table[i].calType, calType);
        EXPECT_EQ(KALVIRO_IsAlgSurport(calType), 1) << calType;
        const bool noIT = calType == 12 || calType == 22 || calType == 60 || calType == 61 || calType == 62;
        EXPECT_EQ(KALVIRO_GetIT_GET(calType) == nullptr, noIT) << calType;
    }
}

// The C entries keep one set of statics per CalType: a frame of another
// CalType in between changes nothing. In a child, so that both start from
// freshly loaded statics.
TEST(CEntries, EachCalTypeKeepsItsOwnStatics) {
    const auto check = [] {
        Block a = test::workedBlockRange2(), b = test::workedBlockRange3();
        Block ownA = a, ownB = b;
        Camera c81(81), c21(21);
        KALVIRO_Gray2Temp_Init(81, 1000, a.info(), 0.95f, 0.0f);
        KALVIRO_Gray2Temp_Init(21, 3000, b.info(), 0.95f, 0.0f);
        c81.init(1000, ownA.info(), 0.95f, 0.0f);
        c21.init(3000, ownB.info(), 0.95f, 0.0f);
        return KALVIRO_Gray2Temp_Real(81, 1000, a.info(), 0.95f, 0.0f) ==
                   c81.real(1000, ownA.info(), 0.95f, 0.0f) &&
               KALVIRO_Gray2Temp_Real(21, 3000, b.info(), 0.95f, 0.0f) ==
                   c21.real(3000, ownB.info(), 0.95f, 0.0f);
    };
#if defined(_WIN32)
    // No fork: both CalTypes' statics are set back in this process.
    for (int32_t calType : {81, 21}) {
        kalviro::resetProcessState(kalviro::listIndex(calType));
    }
    EXPECT_TRUE(check());
#else
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) _exit(check() ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
#endif
}

// Gray 0 stands for no pixel: nothing runs. The 16-bit gray is widened with
// zeros, so 65535 never becomes -1.
TEST(TempFromGray, ZeroReturnsAtOnceAndTopGrayIsWidenedWithZeros) {
    Block b = test::workedBlockRange2();
    const auto before = b.snapshot();
    EXPECT_EQ(Temperature_GetTempFromGray(0, b.info(), nullptr, 21, 0.95f, 0.0f), 0.0f);
    EXPECT_EQ(b.snapshot(), before);

    Block viaGray = test::workedBlockRange2(), wide = test::workedBlockRange2();
    const float top = Temperature_GetTempFromGray(65535, viaGray.info(), &wide, 21, 0.95f, 0.0f);
    EXPECT_EQ(top, KALVIRO_Gray2Temp_Once(21, 65535, wide.info(), 0.95f, 0.0f));
    EXPECT_GT(top, 1000.0f);  // far up the extrapolated last row
}

TEST(Hardening, NullBlockAndNullGetITSlot) {
    EXPECT_EQ(KALVIRO_Gray2Temp_Init(21, 1000, nullptr, 0.95f, 0.0f), 0.0f);
    EXPECT_EQ(KALVIRO_Gray2Temp_Real(21, 1000, nullptr, 0.95f, 0.0f), 0.0f);
    EXPECT_EQ(Temperature_GetTempFromGray(1000, nullptr, nullptr, 21, 0.95f, 0.0f), 0.0f);
    EXPECT_EQ(KALVIRO_GetIT(21, nullptr), 0.0);
    Block b = test::workedBlockRange2();
    EXPECT_EQ(KALVIRO_GetIT(22, b.info()), 0.0);
}

// Five words, the sixth from 0x134 (short form) or 0x138 (long form), and in
// the long form the 81 opaque bytes from 0x188; copied, never converted.
// Through the entry the rest is zeroed; TempPara_get itself clears nothing.
struct ParaCase {
    const char* name;
    int32_t calType;  // 0: TempPara_get_121 itself
    bool longForm;
};

class GetTempPara : public testing::TestWithParam<ParaCase> {};

TEST_P(GetTempPara, ByteForByte) {
    const ParaCase& c = GetParam();
    Block b;
    for (int i = 0; i < 512; ++i) b.raw()[i] = static_cast<uint8_t>(i * 7 + 3);
    b.with(field::lensType, static_cast<int32_t>(0x7f800001u)).with(field::humidity, INT32_MIN);
    const auto before = b.snapshot();
    TempPara para;
    std::memset(&para, 0xab, sizeof para);
    const int32_t r =
        c.calType ? KALVIRO_GetTempPara(c.calType, b.info(), &para) : (TempPara_get_121(b.info(), &para), 1);
    EXPECT_EQ(r, 1);

    std::array<uint8_t, sizeof(TempPara)> want;
    want.fill(c.calType ? 0 : 0xab);
    const uint32_t from[] = {0x0d4, 0x110, 0x114, 0x0f0, 0x104, c.longForm ? 0x138u : 0x134u};
    for (int i = 0; i < 6; ++i) std::memcpy(want.data() + 4 * i, b.raw() + from[i], 4);
    if (c.longForm) std::memcpy(want.data() + 0x18, b.raw() + 0x188, 81);
    EXPECT_EQ(std::memcmp(&para, want.data(), sizeof para), 0);
    EXPECT_EQ(b.snapshot(), before);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Forms, GetTempPara, testing::Values(
    ParaCase{"Short21", 21, false}, ParaCase{"Long54", 54, true}, ParaCase{"Direct121", 0, true}),
    [](const testing::TestParamInfo<ParaCase>& i) { return std::string(i.param.name); });
// clang-format on

// Callers compare the texts as they are; nothing is written past the zero.
TEST(Version, TextsToTheCharacter) {
    char text[32];
    std::memset(text, 'x', sizeof text);
    KALVIRO_GetVersion(text);
    EXPECT_EQ(std::strlen(text), 21u);
    EXPECT_EQ(std::string(text, 23), std::string("Sep  1 2019 20:07:03\n\0x", 23));
    std::memset(text, 'x', sizeof text);
    KALVIRO_GetVersionMinute(text);
    EXPECT_EQ(std::strlen(text), 8u);
    EXPECT_EQ(std::string(text, 10), std::string("V_0.0.29\0x", 10));
}

}  // namespace
}  // namespace kalviro
