#include <Oskal/Lib/UDecimal.h>

#include <gtest/gtest.h>

#include <cstring>

using Oskal::Lib::UDecimal;

namespace {

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
