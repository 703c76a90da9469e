#include <Oskal/Lib/UVersion.h>

#include <gtest/gtest.h>

#include <cstring>

using Oskal::Lib::UVersion;

namespace {

TEST(UVersion, PacksAndUnpacksThreeBytes)
{
    static_assert(sizeof(UVersion) == 4, "UVersion is stored as four bytes");
    UVersion v(0x01020304UL);
    EXPECT_EQ(2, v.GetGeneral());
    EXPECT_EQ(3, v.GetFeature());
    EXPECT_EQ(4, v.GetBugfix());
    EXPECT_EQ(0x00020304UL, v.GetPacked());
    // Stored bugfix first, with a zero reserved byte.
    const unsigned char expected[4] = {4, 3, 2, 0};
    EXPECT_EQ(0, std::memcmp(expected, &v, 4));
    UVersion parts(7, 8, 9);
    EXPECT_EQ(0x070809UL, parts.GetPacked());
    UVersion copy(parts);
    EXPECT_TRUE(copy == parts);
    EXPECT_EQ(0UL, UVersion().GetPacked());
}

TEST(UVersion, OrderingKeepsItsShortcut)
{
    EXPECT_TRUE(UVersion(1, 2, 3) == UVersion(1, 2, 3));
    EXPECT_FALSE(UVersion(1, 2, 3) == UVersion(1, 2, 4));
    EXPECT_TRUE(UVersion(1, 2, 3) < UVersion(1, 2, 4));
    EXPECT_TRUE(UVersion(1, 2, 3) < UVersion(1, 3, 0));
    EXPECT_FALSE(UVersion(1, 2, 3) < UVersion(1, 2, 3));
    EXPECT_TRUE(UVersion(1, 2, 4) > UVersion(1, 2, 3));
    // Each step only tests "smaller" (or "greater") and falls through otherwise.
    EXPECT_TRUE(UVersion(2, 0, 0) < UVersion(1, 5, 0));
    EXPECT_TRUE(UVersion(1, 5, 0) < UVersion(2, 0, 0));
    EXPECT_TRUE(UVersion(1, 5, 0) > UVersion(2, 0, 0));
    EXPECT_TRUE(UVersion(2, 0, 0) > UVersion(1, 5, 0));
    EXPECT_TRUE(UVersion(2, 0, 1) > UVersion(1, 0, 0));
    EXPECT_FALSE(UVersion(2, 1, 0) < UVersion(1, 0, 0));
}

} // namespace
