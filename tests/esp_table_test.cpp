// Esp_Table: the factor in thousandths by emissivity percent, index
// 100 - percent, the percent truncated from emissivity * 100 in float.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "core/emissivity.hpp"
#include "kalviro.h"

namespace kalviro {
namespace {

TEST(EspTable, EndsAndOrder) {
    EXPECT_EQ(Esp_Table[0], 1000);
    EXPECT_EQ(Esp_Table[9], 1006);
    EXPECT_EQ(Esp_Table[10], 1012);
    EXPECT_EQ(Esp_Table[98], 5150);
    EXPECT_EQ(Esp_Table[99], 5180);
    // The less a surface radiates, the larger its factor.
    for (int i = 1; i < 100; ++i) EXPECT_LE(Esp_Table[i - 1], Esp_Table[i]) << "index " << i;
}

struct EspCase {
    const char* name;
    float emissivity;
    int32_t factor;
};

class EspIndex : public testing::TestWithParam<EspCase> {};

TEST_P(EspIndex, PercentTruncatedInFloat) { EXPECT_EQ(espFactor(GetParam().emissivity), GetParam().factor); }

// clang-format off
INSTANTIATE_TEST_SUITE_P(Rule, EspIndex, testing::Values(
    EspCase{"Zero", 0.0f, 5180},
    EspCase{"Negative", -0.2f, 5180},
    EspCase{"OnePercent", 0.01f, 5180},     // 0.01f * 100.0f rounds up to 1.0
    EspCase{"Unity", 1.0f, 1000},
    EspCase{"JustAbove", 1.005f, 1000},     // 100.5 truncates to 100: index 0
    EspCase{"WellAbove", 1.5f, 1000},       // above 100: index 0
    EspCase{"P92", 0.92f, 1000},
    EspCase{"P91", 0.91f, 1006},
    EspCase{"P90", 0.90f, 1012},            // 0.9f * 100.0f rounds up to 90.0
    EspCase{"P02", 0.02f, 5150},
    // No integer part: the conversion yields INT32_MIN, the low end.
    EspCase{"NaN", std::numeric_limits<float>::quiet_NaN(), 5180},
    EspCase{"Infinite", std::numeric_limits<float>::infinity(), 5180}),
    [](const testing::TestParamInfo<EspCase>& i) { return std::string(i.param.name); });
// clang-format on

}  // namespace
}  // namespace kalviro
