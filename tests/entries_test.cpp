// The dispatching entries: a CalType outside kalviro_table gets the failure
// value of each entry and nothing else, one inside is forwarded to its own row.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "block_builder.hpp"
#include "kalviro.h"

namespace kalviro {
namespace {

using test::Block;

struct Exports {
    int32_t calType;
    Gray2TempFn init;
    Gray2TempFn real;
    Gray2TempFn once;
};

// The CalTypes the list marks as converting, with their exported functions.
#define KALVIRO_EXPORTS_ROW(nn, layout, hasIT, converts) \
    KALVIRO_IF(converts, Exports{nn, Gray2Temp_Init_##nn, Gray2Temp_Real_##nn, Gray2Temp_Once_##nn},)
const std::vector<Exports> kConverting = {KALVIRO_CALTYPES(KALVIRO_EXPORTS_ROW)};
#undef KALVIRO_EXPORTS_ROW

// Numbers no camera uses, and the CalTypes of the list that do not convert
// yet: to the entries, both are unknown.
std::vector<int32_t> unknownCalTypes() {
    std::vector<int32_t> out = {53, 0, -1, 11, 141, INT32_MIN, INT32_MAX};
    static const int32_t converts[] = {
#define KALVIRO_FLAG(nn, layout, hasIT, conv) conv,
        KALVIRO_CALTYPES(KALVIRO_FLAG)
#undef KALVIRO_FLAG
    };
    static const int32_t numbers[] = {
#define KALVIRO_NUM(nn, layout, hasIT, conv) nn,
        KALVIRO_CALTYPES(KALVIRO_NUM)
#undef KALVIRO_NUM
    };
    for (size_t i = 0; i < sizeof numbers / sizeof numbers[0]; ++i) {
        if (converts[i] == 0) out.push_back(numbers[i]);
    }
    return out;
}

class UnknownCalType : public testing::TestWithParam<int32_t> {};

TEST_P(UnknownCalType, EveryEntryFailsQuietly) {
    const int32_t calType = GetParam();
    Block b = test::workedBlockRange2();
    const auto before = b.snapshot();

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

    TempPara para;
    std::memset(&para, 0xc3, sizeof para);
    TempPara stale;
    std::memcpy(&stale, &para, sizeof para);
    EXPECT_EQ(KALVIRO_GetTempPara(calType, b.info(), &para), 0);
    EXPECT_EQ(std::memcmp(&para, &stale, sizeof para), 0) << "para must stay as it was";

    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "only the frame split prints";
    EXPECT_EQ(b.snapshot(), before) << "no per-frame stage may run";
}

INSTANTIATE_TEST_SUITE_P(All, UnknownCalType, testing::ValuesIn(unknownCalTypes()),
                         [](const testing::TestParamInfo<int32_t>& i) {
                             const int32_t v = i.param;
                             return (v < 0 ? "Minus" + std::to_string(-static_cast<int64_t>(v))
                                           : std::to_string(v));
                         });

class ConvertingCalType : public testing::TestWithParam<Exports> {};

TEST_P(ConvertingCalType, ForwardsToItsOwnRow) {
    const Exports& e = GetParam();
    EXPECT_EQ(KALVIRO_IsAlgSurport(e.calType), 1);
    EXPECT_EQ(KALVIRO_Gray2Temp_Init_GET(e.calType), e.init);
    EXPECT_EQ(KALVIRO_Gray2Temp_Real_GET(e.calType), e.real);
    // The five without a GetITValue have a null slot; the others a function.
    const bool noIT = e.calType == 12 || e.calType == 22 || e.calType == 60 || e.calType == 61 ||
                      e.calType == 62;
    EXPECT_EQ(KALVIRO_GetIT_GET(e.calType) == nullptr, noIT);

    // The entry passes gray, block, emissivity and distance on unchanged:
    // the same answers as the CalType's own function.
    // One frame first, so that first-frame latches have settled for both.
    Block a = test::workedBlockRange2();
    Block b = test::workedBlockRange2();
    Block settle = test::workedBlockRange2();
    e.once(1234, settle.info(), 0.83f, 7.0f);
    const float viaEntry = KALVIRO_Gray2Temp_Once(e.calType, 1234, a.info(), 0.83f, 7.0f);
    const float direct = e.once(1234, b.info(), 0.83f, 7.0f);
    EXPECT_EQ(std::memcmp(&viaEntry, &direct, sizeof direct), 0);
    EXPECT_EQ(a.snapshot(), b.snapshot());
    EXPECT_EQ(KALVIRO_Gray2Temp_Real(e.calType, 999, a.info(), 0.83f, 7.0f), e.real(999, b.info(), 0.83f, 7.0f));
}

INSTANTIATE_TEST_SUITE_P(All, ConvertingCalType, testing::ValuesIn(kConverting),
                         [](const testing::TestParamInfo<Exports>& i) {
                             return std::to_string(i.param.calType);
                         });

TEST(CalTypeTable, AscendingAndHoldsExactlyTheConvertingCalTypes) {
    ASSERT_EQ(kalviro_table_size, static_cast<int32_t>(kConverting.size()));
    for (int32_t i = 0; i < kalviro_table_size; ++i) {
        const CalTypeEntry& row = kalviro_table[i];
        EXPECT_EQ(row.calType, kConverting[static_cast<size_t>(i)].calType);
        if (i > 0) {
            EXPECT_LT(kalviro_table[i - 1].calType, row.calType);
        }
        EXPECT_NE(row.init, nullptr);
        EXPECT_NE(row.real, nullptr);
        EXPECT_NE(row.once, nullptr);
        EXPECT_NE(row.getTempPara, nullptr);
    }
}

TEST(CalTypeTable, NoGetITForTheFiveWithoutOne) {
    for (int32_t calType : {12, 22, 60, 61, 62}) EXPECT_EQ(KALVIRO_GetIT_GET(calType), nullptr) << calType;
}

// Gray 0 stands for no pixel: nothing runs, the block stays as the camera
// sent it.
TEST(TempFromGray, ZeroReturnsAtOnceEvenForAKnownCalType) {
    for (int32_t calType : {21, 54}) {
        Block b = test::workedBlockRange2();
        b.with(field::atmA, 0).with(field::atmB, 0).with(field::warmShift, 7.5f).with(field::shutterDrift, 99);
        const auto before = b.snapshot();
        EXPECT_EQ(Temperature_GetTempFromGray(0, b.info(), nullptr, calType, 0.95f, 0.0f), 0.0f) << calType;
        EXPECT_EQ(b.snapshot(), before) << calType;
    }
}

// The 16-bit gray is widened with zeros: 65535 stays 65535 and never becomes
// -1. reserved is never read, so any pointer will do.
TEST(TempFromGray, TopGrayIsWidenedWithZeros) {
    Block a = test::workedBlockRange2();
    Block b = test::workedBlockRange2();
    Block c = test::workedBlockRange2();
    void* reserved = &a;
    const float viaGray = Temperature_GetTempFromGray(65535, a.info(), reserved, 21, 0.95f, 0.0f);
    const float wide = KALVIRO_Gray2Temp_Once(21, 65535, b.info(), 0.95f, 0.0f);
    const float minusOne = KALVIRO_Gray2Temp_Once(21, -1, c.info(), 0.95f, 0.0f);
    EXPECT_EQ(viaGray, wide);
    EXPECT_NE(viaGray, minusOne);
    EXPECT_GT(viaGray, 1000.0f);  // far up the extrapolated last row
}

// A null block is refused with the failure value instead of faulting, and so
// is the null GetIT slot of CalType 22.
TEST(Hardening, NullBlockAndNullSlot) {
    EXPECT_EQ(KALVIRO_Gray2Temp_Init(21, 1000, nullptr, 0.95f, 0.0f), 0.0f);
    EXPECT_EQ(KALVIRO_Gray2Temp_Real(21, 1000, nullptr, 0.95f, 0.0f), 0.0f);
    EXPECT_EQ(KALVIRO_Gray2Temp_Once(21, 1000, nullptr, 0.95f, 0.0f), 0.0f);
    EXPECT_EQ(Temperature_GetTempFromGray(1000, nullptr, nullptr, 21, 0.95f, 0.0f), 0.0f);
    EXPECT_EQ(KALVIRO_GetIT(21, nullptr), 0.0);
    EXPECT_EQ(Gray2Temp_Init_21(1000, nullptr, 0.95f, 0.0f), 0.0f);
    EXPECT_EQ(GetITValue_21(nullptr), 0.0);

    Block b = test::workedBlockRange2();
    EXPECT_EQ(KALVIRO_GetIT(22, b.info()), 0.0);
}

}  // namespace
}  // namespace kalviro
