// Temperatures that move by a hundredth when a power of the emissivity is
// off by one ulp: with glibc's pow on either of its paths (with and without
// FMA, GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2,-FMA), or with a pow of repeated
// multiplication as MinGW-w64 has. The reference vectors, made where the
// powers happened to be right, cannot tell. Each row takes a vector
// sequence's first block and per-frame arguments, then converts one gray
// value at another emissivity; `other` is what the named library gives.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "bits.hpp"
#include "kalviro.h"
#include "kalviro.hpp"

namespace {

struct NoticeRow {
    const char* file;
    int seq;  // the SEQ's index for its CalType
    int calType;
    uint32_t emissivity;
    int32_t gray;
    uint32_t want;
    uint32_t other;
    const char* otherFrom;
};

// clang-format off
const NoticeRow kRows[] = {
    {"ladder_a.txt", 0, 94, 0x3f2df4e7, 18050, 0x4113ae14 /* 9.23 */, 0x4113851f /* 9.22 */,
     "glibc (both paths), repeated multiplication"},
    {"ladder_b.txt", 0, 135, 0x3f637393, 2913, 0xc4aabd71 /* -1365.92 */, 0xc4aabd1f /* -1365.91 */,
     "glibc (both paths), repeated multiplication"},
    {"ladder_b.txt", 0, 77, 0x3f2c153f, 16, 0xc5be1614 /* -6082.76 */, 0xc5be1629 /* -6082.77 */,
     "glibc (both paths), repeated multiplication"},
    {"ladder_a.txt", 0, 94, 0x3f4d50c0, 12327, 0xbd4ccccd /* -0.05 */, 0xbd75c28f /* -0.06 */,
     "glibc with FMA"},
    {"ladder_a.txt", 0, 82, 0x3edca42b, 5178, 0x43baca3d /* 373.58 */, 0x43bac8f6 /* 373.57 */,
     "repeated multiplication"},
};
// clang-format on

using kalviro::test::asFloat;
using kalviro::test::bitsOf;
using kalviro::test::floatOfHex;
using kalviro::test::hexBytes;

// The sequence's first block and the gray value and distance of its first
// per-frame call.
struct Start {
    std::array<uint8_t, 512> block{};
    int32_t gray = 0;
    float distance = 0.0f;
    bool found = false;
};

Start startOf(const NoticeRow& row) {
    Start s;
    std::ifstream in(std::string(KALVIRO_VECTOR_DIR) + "/" + row.file);
    std::string line;
    bool inSeq = false;
    bool haveBlock = false;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string kind;
        words >> kind;
        if (kind == "SEQ") {
            int calType = -1, index = -1;
            words >> calType >> index;
            inSeq = calType == row.calType && index == row.seq;
        } else if (inSeq && kind == "FRAME" && !haveBlock) {
            std::string hex;
            words >> hex;
            if (hex.size() != 1024) break;
            const std::vector<uint8_t> bytes = hexBytes(hex);
            std::copy(bytes.begin(), bytes.end(), s.block.begin());
            haveBlock = true;
        } else if (inSeq && haveBlock && (kind == "INIT" || kind == "ONCE")) {
            std::string e, d;
            words >> s.gray >> e >> d;
            s.distance = floatOfHex(d);
            s.found = true;
            break;
        }
    }
    return s;
}

TEST(RoundingNotice, OneHundredthFromOneUlp) {
    for (const NoticeRow& row : kRows) {
        SCOPED_TRACE(std::string(row.file) + " CalType " + std::to_string(row.calType) + " gray " +
                     std::to_string(row.gray) + "; " + row.otherFrom + " gives " +
                     std::to_string(asFloat(row.other)));
        ASSERT_NE(row.want, row.other);
        Start s = startOf(row);
        ASSERT_TRUE(s.found);
        auto* block = reinterpret_cast<TempFrameInfo*>(s.block.data());
        const float e = asFloat(row.emissivity);

        kalviro::Camera cam(row.calType);
        ASSERT_TRUE(cam.valid());
        cam.init(s.gray, block, e, s.distance);
        EXPECT_EQ(bitsOf(cam.real(row.gray, block, e, s.distance)), row.want);

        // The whole-frame road reaches the same value.
        static KalviroFrameTable table;
        const uint16_t pixels[3] = {static_cast<uint16_t>(row.gray), 0, 20000};
        float out[3] = {};
        cam.realFrame(pixels, 3, block, e, s.distance, out, table);
        EXPECT_EQ(bitsOf(out[0]), row.want);
    }
}

}  // namespace
