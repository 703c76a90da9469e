#include <Oskal/Lib/Collections/UVector.h>
#include <Oskal/Lib/UString.h>

#include <gtest/gtest.h>

#include <vector>

using Oskal::Lib::UString;
using Oskal::Lib::Collections::UVector;

namespace {

UVector<int> Sequence(unsigned long n)
{
    UVector<int> v;
    v.SetCapacity(n);
    for (unsigned long i = 0; i < n; ++i)
        v.Add(static_cast<int>(i));
    return v;
}

std::vector<int> Items(const UVector<int>& v)
{
    return std::vector<int>(v.GetBuffer(), v.GetBuffer() + v.GetLength());
}

TEST(UVector, AddGrowsByTheGrowCount)
{
    EXPECT_EQ(3u, UVector<unsigned char>(3).GetLength());
    UVector<int> v;
    EXPECT_EQ(nullptr, v.GetBuffer());
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(static_cast<unsigned long>(i), v.Add(i));
        EXPECT_EQ(static_cast<unsigned long>(i + 1), v.GetCapacity());
    }
    v.SetGrowCount(4);
    v.Add(3);
    v.Add(4);
    EXPECT_EQ(7u, v.GetCapacity());
    // An element of the vector itself survives the reallocation it causes.
    UVector<UString> strings;
    strings.Add(UString(L"first"));
    strings.Add(strings[0]);
    EXPECT_STREQ(L"first", strings[1].GetBuffer());
}

// Only the first count elements behind the range move down; the rest keep their places. A range
// past the end only shortens the vector.
TEST(UVector, RemoveRangeMovesAtMostCountElements)
{
    const struct
    {
        unsigned long start, count;
        std::vector<int> expected;
    } cases[] = {{0, 2, {2, 3, 2, 3, 4, 5, 6, 7}},
                 {6, 2, {0, 1, 2, 3, 4, 5, 8, 9}},
                 {7, 100, {0, 1, 2, 3, 4, 5, 6}},
                 {10, 1, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}}};
    for (const auto& c : cases)
    {
        UVector<int> v = Sequence(10);
        EXPECT_EQ(0, v.RemoveRange(c.start, c.count));
        EXPECT_EQ(c.expected, Items(v)) << c.start << "+" << c.count;
    }
    UVector<int> v = Sequence(7);
    EXPECT_EQ(0, v.Remove(42));
    EXPECT_EQ(1, v.Remove(1));
    EXPECT_EQ((std::vector<int>{0, 2, 3, 4, 5, 6}), Items(v));
}

TEST(UVector, AssignmentCopiesTheWholeCapacity)
{
    UVector<int> v = Sequence(5);
    v.SetGrowCount(7);
    v.RemoveRange(3, 2);
    UVector<int> copy;
    copy = v;
    EXPECT_EQ(3u, copy.GetLength());
    EXPECT_EQ(5u, copy.GetCapacity());
    EXPECT_EQ(7u, copy.GetGrowCount());
    EXPECT_NE(v.GetBuffer(), copy.GetBuffer());
    EXPECT_EQ(4, copy.GetBuffer()[4]);
    // Equality ignores capacity and grow count.
    EXPECT_EQ(1, Sequence(3) == v);
    copy[0] = 42;
    EXPECT_EQ(1, copy != v);
}

} // namespace
