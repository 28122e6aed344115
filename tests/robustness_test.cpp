// Whatever the 512 bytes hold, every entry returns a value, writes only the
// fields it may write, and ends. Run under the sanitizers in CI, this is where
// undefined behaviour in the arithmetic would show.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <random>
#include <vector>

#include "block_builder.hpp"
#include "kalviro.h"
#include "kalviro.hpp"

namespace kalviro {
namespace {

std::vector<int32_t> allCalTypes() {
    std::vector<int32_t> out;
    for (const CalTypeInfo& c : kCalTypes) out.push_back(c.calType);
    return out;
}

// The words a per-frame call may write: shutterDrift, atmA, atmB, warmShift.
bool writable(uint32_t offset) {
    return offset == 0x0f4 || offset == 0x0fc || offset == 0x100 || offset == 0x128;
}

// Blocks no camera would send: noise, all ones (NaN floats, -1 ints), the
// int32 ends, infinities, and noise with a valid tempRange so the tables
// are built from garbage.
std::array<uint8_t, 512> hostileBlock(int kind, std::mt19937& rng) {
    std::array<uint8_t, 512> b{};
    switch (kind % 6) {
        case 0:
            for (auto& x : b) x = static_cast<uint8_t>(rng());
            break;
        case 1: b.fill(0xff); break;
        case 2:
            for (size_t i = 0; i < b.size(); i += 4) storeLe32(&b[i], 0x80000000u);
            break;
        case 3:
            for (size_t i = 0; i < b.size(); i += 4) storeLe32(&b[i], i % 8 ? 0x7f800000u : 0x7fffffffu);
            break;
        default:
            for (auto& x : b) x = static_cast<uint8_t>(rng());
            storeLe32(&b[0x0d0], static_cast<uint32_t>(2 + kind % 4));
            storeLe32(&b[0x0d4], static_cast<uint32_t>(1 + kind % 4));
            break;
    }
    return b;
}

class Robustness : public ::testing::TestWithParam<int32_t> {};

TEST_P(Robustness, HostileBlocksEndWithoutStrayWrites) {
    const int32_t calType = GetParam();
    std::mt19937 rng(static_cast<uint32_t>(calType));
    // A camera of its own: the first-frame latches of the C entries' statics
    // stay armed for the tests that replay from a fresh start.
    Camera cam(calType);
    const float emissivities[] = {0.95f, 0.05f, -1.0f, 2.0f, __builtin_nanf("")};
    for (int kind = 0; kind < 60; ++kind) {
        test::Block blk;
        const auto bytes = hostileBlock(kind, rng);
        std::memcpy(blk.raw(), bytes.data(), 512);
        const float e = emissivities[kind % 5];
        const int32_t gray = static_cast<int32_t>(rng());

        const auto before = blk.snapshot();
        cam.init(gray, blk.info(), e, 0.0f);
        const auto afterInit = blk.snapshot();
        for (uint32_t off = 0; off < 512; off += 4) {
            if (!writable(off)) {
                ASSERT_EQ(std::memcmp(&before[off], &afterInit[off], 4), 0) << "stray write at " << off;
            }
        }
        cam.real(gray, blk.info(), e, __builtin_nanf(""));
        cam.real(INT32_MIN, blk.info(), e, 1.0f);
        KALVIRO_GetIT(calType, blk.info());
        TempPara para;
        KALVIRO_GetTempPara(calType, blk.info(), &para);
        cam.temp2gray(blk.info(), static_cast<int32_t>(rng()), static_cast<int32_t>(rng()),
                      static_cast<int32_t>(rng()), static_cast<int32_t>(rng()), static_cast<int32_t>(rng()),
                      e);
        ASSERT_EQ(std::memcmp(afterInit.data(), blk.snapshot().data(), 512), 0) << "a reading call wrote";
    }
}

INSTANTIATE_TEST_SUITE_P(CalTypes, Robustness, ::testing::ValuesIn(allCalTypes()));

}  // namespace
}  // namespace kalviro
