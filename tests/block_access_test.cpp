// Block fields are little-endian words at any address: the block of a frame
// whose size is not a multiple of 4 starts at an odd byte.
#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "block_builder.hpp"
#include "core/block.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

class BlockAt : public testing::TestWithParam<int> {
protected:
    uint8_t* block() { return buffer_.data() + GetParam(); }
    std::array<uint8_t, 520> buffer_{};
};

TEST_P(BlockAt, ReadsLittleEndianWords) {
    uint8_t* b = block();
    const uint8_t distance[4] = {0x10, 0x27, 0x00, 0x00};
    std::memcpy(b + 0x0f0, distance, 4);
    EXPECT_EQ(get(b, field::distance), 10000);

    const uint8_t minusOne[4] = {0xff, 0xff, 0xff, 0xff};
    std::memcpy(b + 0x0dc, minusOne, 4);
    EXPECT_EQ(get(b, field::tempCH1), -1);
    EXPECT_EQ(degrees(b, field::tempCH1), -0.01f);

    const uint8_t onePointFive[4] = {0x00, 0x00, 0xc0, 0x3f};
    std::memcpy(b + 0x128, onePointFive, 4);
    EXPECT_EQ(get(b, field::warmShift), 1.5f);
}

TEST_P(BlockAt, WritesOnlyItsFourBytes) {
    uint8_t* b = block();
    std::memset(buffer_.data(), 0xee, buffer_.size());
    set(b, field::tempCH1, 0x12345678);
    EXPECT_EQ(b[0x0db], 0xee);
    EXPECT_EQ(b[0x0dc], 0x78);
    EXPECT_EQ(b[0x0dd], 0x56);
    EXPECT_EQ(b[0x0de], 0x34);
    EXPECT_EQ(b[0x0df], 0x12);
    EXPECT_EQ(b[0x0e0], 0xee);

    set(b, field::warmShift, -2.0f);  // 0xc0000000
    EXPECT_EQ(b[0x128], 0x00);
    EXPECT_EQ(b[0x129], 0x00);
    EXPECT_EQ(b[0x12a], 0x00);
    EXPECT_EQ(b[0x12b], 0xc0);
    EXPECT_EQ(b[0x12c], 0xee);
}

// A whole conversion gives the same answers and the same write-backs at
// every alignment.
TEST_P(BlockAt, ConversionDoesNotDependOnTheAddress) {
    const test::Block worked = test::workedBlockRange2();
    const auto bytes = worked.snapshot();
    uint8_t* b = block();
    std::memcpy(b, bytes.data(), 512);
    auto* info = reinterpret_cast<TempFrameInfo*>(b);

    Camera cam(21);
    EXPECT_EQ(cam.init(1000, info, 0.95f, 0.0f), 53.92f);
    EXPECT_EQ(cam.real(1000, info, 0.95f, 0.0f), 53.88f);

    test::Block reference = test::workedBlockRange2();
    Camera other(21);
    other.init(1000, reference.info(), 0.95f, 0.0f);
    EXPECT_EQ(std::memcmp(b, reference.raw(), 512), 0);
}

INSTANTIATE_TEST_SUITE_P(Offsets, BlockAt, testing::Values(0, 1, 2, 3));

}  // namespace
}  // namespace kalviro
