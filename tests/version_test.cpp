// The two version texts, to the character: callers compare them as they are.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "kalviro.h"

namespace {

TEST(Version, BuildStampEndsInALineBreak) {
    char text[64];
    std::memset(text, 'x', sizeof text);
    KALVIRO_GetVersion(text);
    EXPECT_STREQ(text, "Sep  1 2019 20:07:03\n");
    EXPECT_EQ(std::strlen(text), 21u);
    EXPECT_EQ(text[20], '\n');
    EXPECT_EQ(text[22], 'x') << "22 bytes are all it may write";
}

TEST(Version, MinuteText) {
    char text[32];
    std::memset(text, 'x', sizeof text);
    KALVIRO_GetVersionMinute(text);
    EXPECT_STREQ(text, "V_0.0.29");
    EXPECT_EQ(std::strlen(text), 8u);
    EXPECT_EQ(text[9], 'x') << "9 bytes are all it may write";
}

}  // namespace
