// The segment table: rows searched in order, the first whose test holds
// wins. The per-frame stage of tempRange 2 tests closed-open, every other
// search open-closed, so a value on a bound lands in different rows.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "block_builder.hpp"
#include "core/lanes.hpp"
#include "core/segment_table.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;
using test::stateOf;

// Four rows, each answering its own tempBase: the slope is so steep that the
// interpolated part vanishes.
constexpr TempSegment kRows[] = {
    {-131070.0f, -300.0f, 10.0f, 0.0f, 1e30f},
    {-300.0f, 0.0f, 20.0f, 0.0f, 1e30f},
    {0.0f, 300.0f, 30.0f, 0.0f, 1e30f},
    {300.0f, 131070.0f, 40.0f, 0.0f, 1e30f},
};

struct BoundCase {
    const char* name;
    float v;
    float closedOpen;  // 0.0: no row
    float openClosed;
};

class RowTestOnBounds : public testing::TestWithParam<BoundCase> {};

TEST_P(RowTestOnBounds, LandsInTheRowOfItsTest) {
    const BoundCase& c = GetParam();
    EXPECT_EQ(segmentLookup(kRows, 4, c.v, RowTest::ClosedOpen), c.closedOpen);
    EXPECT_EQ(segmentLookup(kRows, 4, c.v, RowTest::OpenClosed), c.openClosed);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Rows, RowTestOnBounds, testing::Values(
    BoundCase{"BelowLowSentinel", -131071.0f, 0.0f, 0.0f},
    BoundCase{"OnLowSentinel", -131070.0f, 10.0f, 0.0f},
    BoundCase{"OnZeroPoint", 0.0f, 30.0f, 20.0f},
    BoundCase{"OnHighSentinel", 131070.0f, 0.0f, 40.0f},
    BoundCase{"AboveHighSentinel", 131071.0f, 0.0f, 0.0f}),
    [](const testing::TestParamInfo<BoundCase>& i) { return std::string(i.param.name); });
// clang-format on

const std::initializer_list<float> kExampleCurve = {-1300, -800, -300, 300,  900,  1700,
                                                    2500,  3700, 4900, 6100, 7300, 8900};

Block plainRange2(float s) { return test::plainBlock(2, kExampleCurve, s); }

// g[1] = -800, g[2] = -300, g[3] = 300: at v = 0 the per-pixel stage takes
// row 2, the per-frame stage row 3, both anchored on 25 degrees there.
TEST(Range2, ExampleCurveAtTheZeroPoint) {
    Block b = plainRange2(0.0f);
    Camera cam(21);
    EXPECT_EQ(cam.init(0, b.info(), 1.0f, 0.0f), 25.0f);
    EXPECT_EQ(cam.real(0, b.info(), 1.0f, 0.0f), 25.0f);
    const TempSegment* rows = stateOf(cam).tempdata;
    EXPECT_EQ(rows[2].grayHigh, 0.0f);
    EXPECT_EQ(rows[3].grayLow, 0.0f);
}

// No row: raw temperature 0.0, which the final scaling turns into -0.02 with
// the air at 25 degrees; a row at a sentinel lies far out on the scale.
struct SentinelCase {
    const char* name;
    int32_t v;
    bool frameFindsRow, pixelFindsRow;
};

class Range2Sentinels : public testing::TestWithParam<SentinelCase> {};

TEST_P(Range2Sentinels, NoRowIsZeroNotTheEndOfTheScale) {
    const SentinelCase& c = GetParam();
    Block b = plainRange2(0.0f);
    Camera cam(21);
    const float frame = cam.init(c.v, b.info(), 1.0f, 0.0f);
    const float pixel = cam.real(c.v, b.info(), 1.0f, 0.0f);
    EXPECT_TRUE(c.frameFindsRow ? std::fabs(frame) > 1000.0f : frame == -0.02f) << frame;
    EXPECT_TRUE(c.pixelFindsRow ? std::fabs(pixel) > 1000.0f : pixel == -0.02f) << pixel;
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Bounds, Range2Sentinels, testing::Values(
    SentinelCase{"BelowLow", -131071, false, false},
    SentinelCase{"OnLow", -131070, true, false},
    SentinelCase{"OnHigh", 131070, false, true},
    SentinelCase{"AboveHigh", 131071, false, false}),
    [](const testing::TestParamInfo<SentinelCase>& i) { return std::string(i.param.name); });
// clang-format on

// Far above the last curve point the last row goes on with its slope:
// (100000 - 7300) / 40 + 210.
TEST(Range2, ExtrapolatesOnTheLastRow) {
    Block b = plainRange2(0.0f);
    Camera cam(21);
    cam.init(0, b.info(), 1.0f, 0.0f);
    EXPECT_EQ(segmentLookup(stateOf(cam).tempdata, 12, 100000.0f, RowTest::OpenClosed), 2527.5f);
    EXPECT_EQ(segmentLookup(stateOf(cam).tempdata, 12, 100000.0f, RowTest::ClosedOpen), 2527.5f);
}

class Range2Shift : public testing::TestWithParam<float> {};

// The shift sits in grayBase only: the bounds stay where the curve put them,
// and v = 0 stays on row 3 with 25 + s / (g[3] / 10), however far it goes.
TEST_P(Range2Shift, MovesTheTemperatureNotTheRow) {
    const float s = GetParam();
    Block plain = plainRange2(0.0f), shifted = plainRange2(s);
    Camera reference(21), cam(21);
    reference.init(0, plain.info(), 1.0f, 0.0f);
    cam.init(0, shifted.info(), 1.0f, 0.0f);
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(stateOf(cam).tempdata[i].grayLow, stateOf(reference).tempdata[i].grayLow) << "row " << i;
        EXPECT_EQ(stateOf(cam).tempdata[i].grayHigh, stateOf(reference).tempdata[i].grayHigh) << "row " << i;
    }
    EXPECT_EQ(segmentLookup(stateOf(cam).tempdata, 12, 0.0f, RowTest::ClosedOpen),
              s / (300.0f / 10.0f) + 25.0f);
}

INSTANTIATE_TEST_SUITE_P(Shifts, Range2Shift, testing::Values(7.5f, -15.0f, 600.0f));

// Rows 7 to 11 of a tempRange 2 frame outlive a tempRange 3 frame, and have
// no effect: the search of tempRange 3 ends at row 6.
TEST(Range3, RowsSevenToElevenStayStaleAndHarmless) {
    Block first = plainRange2(0.0f);
    Block second = test::plainBlock(3, {-500, 0, 500, 1500, 2700, 4000, 6800, 9900}, 100.0f);
    Camera both(21), onlyRange3(21);
    both.init(0, first.info(), 1.0f, 0.0f);
    TempSegment old[12];
    std::memcpy(old, stateOf(both).tempdata, sizeof old);
    both.init(0, second.info(), 1.0f, 0.0f);
    onlyRange3.init(0, second.info(), 1.0f, 0.0f);

    EXPECT_EQ(std::memcmp(stateOf(both).tempdata + 7, old + 7, 5 * sizeof(TempSegment)), 0);
    EXPECT_EQ(std::memcmp(stateOf(both).tempdata, stateOf(onlyRange3).tempdata, 7 * sizeof(TempSegment)), 0);
    for (int32_t gray : {-131070, 0, 500, 9900, 131070, 131071}) {
        EXPECT_EQ(both.real(gray, second.info(), 1.0f, 0.0f),
                  onlyRange3.real(gray, second.info(), 1.0f, 0.0f))
            << gray;
    }
}

// Rows in order are searched as the first whose grayHigh v does not exceed,
// between the bounds of a vector's lanes or, by index on sixteen lanes, by
// halving: the same row as the search in order, on every bound, next to it,
// beyond both sentinels and for NaN, with and without a row to fall back on,
// and with lanes that fall in different rows.
struct FourLanes {};
struct SixteenLanes {};
using Lanes4 = Vector<4, FourLanes>;
using Lanes16 = Vector<16, SixteenLanes>;

TEST(RowsInOrder, FindTheRowOfTheSearchInOrder) {
    Block b = plainRange2(0.0f);
    Camera cam(21);
    cam.init(0, b.info(), 1.0f, 0.0f);
    for (const TempSegment* rows : {kRows, stateOf(cam).tempdata}) {
        const int n = rows == kRows ? 4 : 12;
        ASSERT_TRUE(rowsInOrder(rows, n));
        std::vector<float> probes = {std::nanf(""), -INFINITY, INFINITY};
        for (int i = 0; i < n; ++i) {
            for (float bound : {rows[i].grayLow, rows[i].grayHigh}) {
                probes.insert(probes.end(),
                              {std::nextafter(bound, -INFINITY), bound, std::nextafter(bound, INFINITY)});
            }
        }
        const RowColumns columns = rowColumns(rows, n);
        for (const TempSegment* fallback : {static_cast<const TempSegment*>(nullptr), &rows[1]}) {
            for (size_t j = 0; j < probes.size(); ++j) {
                const float v = probes[j];
                const float plain = segmentLookupOpenClosed<Scalar>(rows, n, false, nullptr, v, fallback);
                const float one = segmentLookupOpenClosed<Scalar>(rows, n, true, nullptr, v, fallback);
                const Lanes4::F four{v, probes[(j + 5) % probes.size()], probes[(j + 11) % probes.size()], v};
                const float bounded =
                    segmentLookupOpenClosed<Lanes4>(rows, n, true, nullptr, four, fallback)[3];
                const float halved =
                    segmentLookupOpenClosed<Lanes16>(rows, n, true, &columns, Lanes16::splat(v), fallback)[7];
                EXPECT_EQ(std::memcmp(&one, &plain, sizeof plain), 0) << v;
                EXPECT_EQ(std::memcmp(&bounded, &plain, sizeof plain), 0) << v;
                EXPECT_EQ(std::memcmp(&halved, &plain, sizeof plain), 0) << v;
                if (fallback == nullptr) {
                    EXPECT_EQ(plain, segmentLookup(rows, n, v, RowTest::OpenClosed)) << v;
                }
            }
        }
    }
    const TempSegment backwards[] = {kRows[0], kRows[2], kRows[1], kRows[3]};
    EXPECT_FALSE(rowsInOrder(backwards, 4));
}

}  // namespace
}  // namespace kalviro
