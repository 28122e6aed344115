// The window compensation tables at the limits of their rows, with a window
// of 90 percent and, for the table on the air static, const_CH1 22.5. Each
// value is worked from the row's formula by hand; the neighbouring row gives
// another value at the same point.
#include <gtest/gtest.h>

#include "ladder/pixel.hpp"

namespace kalviro::ladder {
namespace {

struct WindowCase {
    float V;  // hundredths
    float T;  // baseTemp
    int32_t result;
};

constexpr float kW = 0.9f;

class WindowTableCH : public ::testing::TestWithParam<WindowCase> {};

TEST_P(WindowTableCH, RowAtItsLimit) {
    EXPECT_EQ(windowTableCH(GetParam().V, GetParam().T, kW, 22.5f), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Rows, WindowTableCH,
                         ::testing::Values(WindowCase{2499.5f, 25.0f, 2640},   // M * u25 + V / W, less c25
                                           WindowCase{2500.0f, 25.0f, 2752},   // V / W + M * u20
                                           WindowCase{3000.0f, 35.0f, 3275},   // 7000 (M * u20) / V + V / W
                                           WindowCase{3000.0f, 34.99f, 3308},  // V / W + M * u20
                                           WindowCase{1999.0f, -0.5f, 2221},   // V / W alone
                                           WindowCase{2000.0f, -0.5f, 2035},   // V / W + M * u20, less c25
                                           WindowCase{7000.0f, -0.5f, 7752},   // the 7000 row
                                           WindowCase{49.0f, 31.0f, -190},     // below h = 50: c15
                                           WindowCase{50.0f, 31.0f, -81},      // c25
                                           WindowCase{-1.0f, 19.99f, -246},    // V / W - M * u20, less c15
                                           WindowCase{-1.0f, 20.0f, -296}));   // V / W + M * u20, less c15

class WindowTableSelf : public ::testing::TestWithParam<WindowCase> {};

TEST_P(WindowTableSelf, RowAtItsLimit) {
    EXPECT_EQ(windowTableSelf(GetParam().V, GetParam().T, kW), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Rows, WindowTableSelf,
                         ::testing::Values(WindowCase{1800.0f, 45.0f, 1392},     // R2 at T = 45 exactly
                                           WindowCase{1800.0f, 44.5f, 1949},     // R3
                                           WindowCase{1800.0f, 45.5f, 1254},     // R1
                                           WindowCase{1499.0f, 20.0f, 1690},     // R4
                                           WindowCase{1500.0f, 20.0f, 1636},     // R2
                                           WindowCase{5000.0f, 25.0f, 5460},     // R7 up to T = 25
                                           WindowCase{5000.0f, 25.5f, 5495},     // R6
                                           WindowCase{9000.0f, 30.0f, 10097},    // R5
                                           WindowCase{15000.0f, 46.0f, 16406},   // R8 at V = 15000 exactly
                                           WindowCase{15001.0f, 46.0f, 16413},   // R9, W leaned by T - 45
                                           WindowCase{15001.0f, -1.0f, 16908},   // R10, W leaned by T
                                           WindowCase{15001.0f, 0.0f, 16867}));  // R8

// A window of exactly 1 skips both tables.
TEST(WindowTables, FullTransmissionIsTheValueItself) {
    EXPECT_EQ(windowTableCH(2499.5f, 25.0f, 1.0f, 22.5f), 2499);
    EXPECT_EQ(windowTableSelf(15001.7f, 46.0f, 1.0f), 15001);
}

}  // namespace
}  // namespace kalviro::ladder
