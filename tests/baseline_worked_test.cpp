// The worked blocks of the baseline: both results and what the block receives.
#include <gtest/gtest.h>

#include "block_builder.hpp"
#include "kalviro.hpp"

namespace kalviro {
namespace {

using test::Block;

TEST(BaselineWorked, Range2) {
    Block b = test::workedBlockRange2();
    Camera cam(21);
    EXPECT_EQ(cam.init(1000, b.info(), 0.95f, 0.0f), 53.92f);
    EXPECT_EQ(b.read(field::shutterDrift), 2);
    EXPECT_EQ(b.read(field::warmShift), 0.0f);  // range 2 publishes 0.0, not s = 8
    EXPECT_EQ(cam.real(1000, b.info(), 0.95f, 0.0f), 53.88f);
}

TEST(BaselineWorked, Range3AtTwoDistances) {
    Block b = test::workedBlockRange3();
    Camera cam(21);
    EXPECT_EQ(cam.init(3000, b.info(), 0.95f, 0.0f), 383.75f);
    EXPECT_EQ(cam.real(3000, b.info(), 0.95f, 0.0f), 388.79f);

    b.with(field::distance, 600);
    EXPECT_EQ(cam.init(3000, b.info(), 0.95f, 0.0f), 380.42f);
    EXPECT_EQ(cam.real(3000, b.info(), 0.95f, 0.0f), 382.02f);
}

TEST(BaselineWorked, Range4LongRun) {
    Block b = test::workedBlockRange4();
    Camera cam(21);
    EXPECT_EQ(cam.init(3000, b.info(), 0.95f, 0.0f), 761.27f);
    EXPECT_EQ(cam.real(3000, b.info(), 0.95f, 0.0f), 761.14f);
}

}  // namespace
}  // namespace kalviro
