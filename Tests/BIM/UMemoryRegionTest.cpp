#include "MemoryImageTestSupport.h"

#include <Oskal/Lib/BIM/UMemoryRegion.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using Oskal::Lib::BIM::UMemoryRegion;
using OskalTests::ExpectArgumentError;
using OskalTests::PastTheTop;

namespace {

const wchar_t* const NotAdjacent =
    L"Specified region is neither adjacent to the current region nor intersects it the current region.";

UMemoryRegion WithBytes(unsigned int uiAddress, unsigned int uiLength, unsigned char byValue)
{
    UMemoryRegion region(uiAddress, uiLength);
    std::memset(region.GetData(), byValue, uiLength);
    return region;
}

std::string Bytes(UMemoryRegion& region)
{
    return std::string(reinterpret_cast<const char*>(region.GetData()), region.GetLength());
}

TEST(UMemoryRegion, RangeTests)
{
    const UMemoryRegion region(0x100, 0x10);
    EXPECT_TRUE(region.Contains(0x100, 0x10));
    EXPECT_TRUE(region.Contains(0x108, 8));
    EXPECT_FALSE(region.Contains(0x108, 9));
    EXPECT_FALSE(region.Contains(0xFF, 2));
    EXPECT_TRUE(region.Precedes(0x110, 4));
    EXPECT_FALSE(region.Precedes(0x10F, 4));
    EXPECT_TRUE(region.Succeeds(0xF0, 0x10));
    EXPECT_FALSE(region.Succeeds(0xF0, 0x11));
    EXPECT_TRUE(region.Intersects(0xF0, 0x11));
    EXPECT_FALSE(region.Intersects(0xF0, 0x10));
    EXPECT_TRUE(region.Intersects(0x10F, 100));
    EXPECT_FALSE(region.Intersects(0x110, 100));
    EXPECT_TRUE(region.Intersects(UMemoryRegion(0x108, 0)));
    // The top of memory is usable; nothing wraps round to address 0.
    const UMemoryRegion top(0xFFFFFFF0, 0x10);
    EXPECT_TRUE(top.Contains(0xFFFFFFF8, 8));
    EXPECT_FALSE(top.Contains(0xFFFFFFF8, 9));
    EXPECT_FALSE(top.Precedes(0, 4));
    EXPECT_FALSE(top.Intersects(0, 0x20));
    EXPECT_FALSE(UMemoryRegion(0, 4).Intersects(0xFFFFFFF0, 0x20));
}

TEST(UMemoryRegion, RefusesRangesPastTheTop)
{
    ExpectArgumentError([] { UMemoryRegion(0xFFFFFFF0, 0x11); }, L"uiLength", PastTheTop);
    UMemoryRegion region(0xFFFFFFF0, 0x10);
    ExpectArgumentError([&] { region.SetLength(0x11); }, L"uiLength", PastTheTop);
    ExpectArgumentError([&] { region.SetAddress(0xFFFFFFF1); }, L"uiAddress", PastTheTop);
    EXPECT_EQ(0x10u, region.GetLength());
    EXPECT_EQ(0xFFFFFFF0u, region.GetAddress());
}

// The other region's bytes win where the two overlap; the result starts at the lower address.
TEST(UMemoryRegion, MergeAdjacentAndOverlapping)
{
    const struct
    {
        unsigned int address, length, otherAddress, otherLength;
        unsigned int expectedAddress;
        const char* expected;
    } cases[] = {{0x100, 2, 0x102, 2, 0x100, "AABB"},   {0x100, 2, 0xFE, 2, 0xFE, "BBAA"},
                 {0x100, 6, 0x102, 2, 0x100, "AABBAA"}, {0x100, 4, 0x102, 4, 0x100, "AABBBB"},
                 {0x100, 4, 0xFE, 4, 0xFE, "BBBBAA"},   {0x100, 2, 0xFF, 4, 0xFF, "BBBB"}};
    for (const auto& c : cases)
    {
        UMemoryRegion region = WithBytes(c.address, c.length, 'A');
        region.Merge(WithBytes(c.otherAddress, c.otherLength, 'B'));
        EXPECT_EQ(c.expectedAddress, region.GetAddress()) << c.expected;
        EXPECT_EQ(c.expected, Bytes(region));
    }
    // Without bytes on either side and with equal fill bytes, nothing is allocated.
    UMemoryRegion lazy(0x100, 2);
    lazy.Merge(UMemoryRegion(0x102, 2));
    lazy.Merge(UMemoryRegion(0xFE, 2));
    EXPECT_EQ(0xFEu, lazy.GetAddress());
    EXPECT_EQ(6u, lazy.GetLength());
    EXPECT_FALSE(lazy.HasData());
    // A different fill byte has to be written down.
    UMemoryRegion zeros(0x104, 2);
    zeros.SetFillByte(0);
    lazy.Merge(zeros);
    EXPECT_EQ(std::string("\xFF\xFF\xFF\xFF\xFF\xFF\0\0", 8), Bytes(lazy));
    // Onto existing bytes the other region's fill byte is written, not this one's, also where
    // the other region overlaps.
    UMemoryRegion filled = WithBytes(0x100, 2, 'A');
    UMemoryRegion letters(0x102, 1);
    letters.SetFillByte('Z');
    filled.Merge(letters);
    EXPECT_EQ("AAZ", Bytes(filled));
    UMemoryRegion reserved = WithBytes(0x100, 4, 'A');
    reserved.Merge(UMemoryRegion(0xFF, 2));
    EXPECT_EQ("\xFF\xFF\x41\x41\x41", Bytes(reserved));
    UMemoryRegion unchanged = WithBytes(0x100, 2, 'A');
    unchanged.Merge(UMemoryRegion(0x500, 0));
    unchanged.Merge(unchanged);
    EXPECT_EQ("AA", Bytes(unchanged));
}

TEST(UMemoryRegion, MergeFailures)
{
    UMemoryRegion region = WithBytes(0x100, 4, 'A');
    ExpectArgumentError([&] { region.Merge(UMemoryRegion(0x105, 1)); }, L"region", NotAdjacent);
    ExpectArgumentError([&] { region.Merge(UMemoryRegion(0xFE, 1)); }, L"region", NotAdjacent);
    EXPECT_EQ("AAAA", Bytes(region));
    // The whole address space is one byte more than a length can say.
    UMemoryRegion low(0, 0x80000000);
    ExpectArgumentError([&] { low.Merge(UMemoryRegion(0x80000000, 0x80000000)); }, L"region",
                        L"The merged region would be longer than 0xFFFFFFFF bytes.");
    EXPECT_EQ(0x80000000u, low.GetLength());
    low.Merge(UMemoryRegion(0x80000000, 0x7FFFFFFF));
    EXPECT_EQ(0xFFFFFFFFu, low.GetLength());
    EXPECT_FALSE(low.HasData());
}

} // namespace
