// TempPara: five block words, the sixth from 0x134 (short form) or 0x138
// (long form), and in the long form the 81 opaque bytes from 0x188. Words go
// across bit for bit, whatever they hold.
#include <gtest/gtest.h>

#include <cstring>

#include "block_builder.hpp"
#include "kalviro.h"

namespace kalviro {
namespace {

using test::Block;

// Every byte of the block distinct from its neighbours, so a word taken
// from the wrong offset or in the wrong byte order shows.
Block patterned() {
    Block b;
    for (int i = 0; i < 512; ++i) b.raw()[i] = static_cast<uint8_t>(i * 7 + 3);
    // A NaN pattern and the extremes: words are copied, never converted.
    b.with(field::lensType, static_cast<int32_t>(0x7f800001u));
    b.with(field::humidity, INT32_MIN);
    b.with(field::distance, -1);
    return b;
}

void expectBytes(const TempPara& para, uint32_t at, const uint8_t* block, uint32_t from, uint32_t n) {
    const auto* p = reinterpret_cast<const uint8_t*>(&para);
    for (uint32_t i = 0; i < n; ++i) EXPECT_EQ(p[at + i], block[from + i]) << "byte " << at + i;
}

void expectFill(const TempPara& para, uint32_t from, uint32_t to, uint8_t fill) {
    const auto* p = reinterpret_cast<const uint8_t*>(&para);
    for (uint32_t i = from; i < to; ++i) EXPECT_EQ(p[i], fill) << "byte " << i;
}

void expectWords(const TempPara& para, const uint8_t* block, uint32_t sixth) {
    expectBytes(para, 0x00, block, 0x0d4, 4);  // lensType
    expectBytes(para, 0x04, block, 0x110, 4);  // paraA
    expectBytes(para, 0x08, block, 0x114, 4);  // paraB
    expectBytes(para, 0x0c, block, 0x0f0, 4);  // distance
    expectBytes(para, 0x10, block, 0x104, 4);  // humidity
    expectBytes(para, 0x14, block, sixth, 4);  // envTemp
}

struct ParaCase {
    int32_t calType;
    bool longForm;
};

class GetTempPara : public testing::TestWithParam<ParaCase> {};

TEST_P(GetTempPara, ZeroedThenFilled) {
    const ParaCase& c = GetParam();
    Block b = patterned();
    const auto before = b.snapshot();
    TempPara para;
    std::memset(&para, 0xab, sizeof para);

    EXPECT_EQ(KALVIRO_GetTempPara(c.calType, b.info(), &para), 1);
    expectWords(para, b.raw(), c.longForm ? 0x138 : 0x134);
    if (c.longForm) {
        expectBytes(para, 0x18, b.raw(), 0x188, 81);
        expectFill(para, 0x69, sizeof para, 0);
    } else {
        expectFill(para, 0x18, sizeof para, 0);
    }
    EXPECT_EQ(b.snapshot(), before) << "the block is only read";
}

INSTANTIATE_TEST_SUITE_P(Forms, GetTempPara,
                         testing::Values(ParaCase{21, false}, ParaCase{20, false}, ParaCase{58, false},
                                         ParaCase{100, false}, ParaCase{54, true}, ParaCase{50, true},
                                         ParaCase{120, true}),
                         [](const testing::TestParamInfo<ParaCase>& i) {
                             return std::to_string(i.param.calType);
                         });

// TempPara_get itself only copies: it clears nothing, so the tail after the
// blob keeps what the caller left there.
TEST(TempParaGet, LongFormDirectly) {
    Block b = patterned();
    TempPara para;
    std::memset(&para, 0xab, sizeof para);
    TempPara_get_121(b.info(), &para);
    expectWords(para, b.raw(), 0x138);
    expectBytes(para, 0x18, b.raw(), 0x188, 81);
    expectFill(para, 0x69, sizeof para, 0xab);
}

TEST(TempParaGet, ShortFormTakesTheSixthWordFrom0x134) {
    Block b = patterned();
    TempPara para{};
    GetTempPara_73(b.info(), &para);
    expectWords(para, b.raw(), 0x134);
}

}  // namespace
}  // namespace kalviro
