#include <Oskal/Lib/UDecimal.h>
#include <Oskal/Lib/UVersion.h>

#include <gtest/gtest.h>

#include <cstring>

using Oskal::Lib::UDecimal;
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

TEST(UDecimal, CarriesFourWordsUnchanged)
{
    static_assert(sizeof(UDecimal) == 16, "UDecimal is the bare record");
    const unsigned char zero[16] = {};
    UDecimal empty;
    EXPECT_EQ(0, std::memcmp(zero, &empty.GetBuffer(), 16));

    unsigned int words[4] = {0x11111111u, 0x22222222u, 0x80000000u, 0xFFFFFFFFu};
    UDecimal value(words);
    const UDecimal copy(value);
    EXPECT_EQ(0, std::memcmp(words, copy.GetBuffer().auWords, sizeof(words)));

    UDecimal assigned;
    assigned = copy;
    EXPECT_TRUE(assigned == value);
    assigned.GetBuffer().auWords[3] = 0;
    EXPECT_TRUE(assigned != value);
}

} // namespace
