#include "MemoryImageTestSupport.h"

#include <gtest/gtest.h>

#include <string>

using Oskal::Lib::BIM::UMemoryImage;
using Oskal::Lib::BIM::UMemoryRegion;
using namespace OskalTests;

namespace {

TEST(UMemoryImage, ReservedRangesStayLazy)
{
    UMemoryImage image;
    EXPECT_EQ(0u, image.GetStartAddress());
    EXPECT_EQ(nullptr, image.GetMemoryRegion(0));

    image.Reserve(0x1000, 0x10);
    image.Reserve(0x1010, 0x10);
    EXPECT_EQ("1000-1020", Layout(image));
    EXPECT_FALSE(image.GetMemoryRegion(0)->HasData());
    EXPECT_EQ(nullptr, image.GetMemoryRegion(1));

    // Reading gives the region its bytes, all fill.
    EXPECT_EQ(std::string(4, '\xFF'), Get(image, 0x1008, 4));
    EXPECT_TRUE(image.GetMemoryRegion(0)->HasData());
}

TEST(UMemoryImage, UntouchedRangesAreAppendedUnsorted)
{
    UMemoryImage image;
    Set(image, 0x2000, "BBBB");
    Set(image, 0x1000, "AAAA");
    EXPECT_EQ("2000-2004 1000-1004", Layout(image));
    EXPECT_EQ(0x2000u, image.GetStartAddress());

    // A merge sorts the whole list.
    Set(image, 0x3000, "CC");
    Set(image, 0x1004, "aa");
    EXPECT_EQ("1000-1006 2000-2004 3000-3002", Layout(image));
    EXPECT_EQ("AAAAaa", Get(image, 0x1000, 6));
    EXPECT_EQ("BBBB", Get(image, 0x2000, 4));
}

TEST(UMemoryImage, ReserveOverDataSetsItBackToFill)
{
    UMemoryImage image;
    Set(image, 0x1000, "AAAA");
    image.Reserve(0x1002, 4);
    EXPECT_EQ("1000-1006", Layout(image));
    EXPECT_EQ("AA\xFF\xFF\xFF\xFF", Get(image, 0x1000, 6));

    // Writing then puts the real bytes in.
    Set(image, 0x1003, "xy");
    EXPECT_EQ("AA\xFFxy\xFF", Get(image, 0x1000, 6));
}

TEST(UMemoryImage, MergeRegionsJoinsChains)
{
    UMemoryImage image;
    Set(image, 0x00, std::string(0x10, 'A'));
    Set(image, 0x20, std::string(0x10, 'B'));
    image.Reserve(0x10, 0x10);
    EXPECT_EQ("0-30", Layout(image));
    EXPECT_EQ(std::string(0x10, 'A') + std::string(0x10, '\xFF') + std::string(0x10, 'B'), Get(image, 0, 0x30));

    // One reserved range bridging many regions leaves a single region.
    UMemoryImage many;
    for (unsigned int a = 0x100; a < 0x200; a += 0x20)
        Set(many, a, "0123");
    many.Reserve(0xF0, 0x200);
    EXPECT_EQ("f0-2f0", Layout(many));
}

TEST(UMemoryImage, ReserveOnlyClearsTheFirstRegionFound)
{
    // The reserved range is merged into the first touching region in list order; regions
    // joined afterwards win where they overlap, so their bytes survive.
    UMemoryImage sorted;
    Set(sorted, 0x00, std::string(0x10, 'A'));
    Set(sorted, 0x20, std::string(0x10, 'B'));
    sorted.Reserve(0x08, 0x20);
    EXPECT_EQ("0-30", Layout(sorted));
    EXPECT_EQ(std::string(8, 'A') + std::string(0x18, '\xFF') + std::string(0x10, 'B'), Get(sorted, 0, 0x30));

    UMemoryImage unsorted;
    Set(unsorted, 0x20, std::string(0x10, 'B'));
    Set(unsorted, 0x00, std::string(0x10, 'A'));
    unsorted.Reserve(0x08, 0x20);
    EXPECT_EQ("0-30", Layout(unsorted));
    EXPECT_EQ(std::string(8, 'A') + std::string(0x20, '\xFF') + std::string(8, 'B'), Get(unsorted, 0, 0x30));
}

TEST(UMemoryImage, GetBufferNeedsOneRegionForTheWholeRange)
{
    UMemoryImage image;
    image.Reserve(0x100, 8);
    Set(image, 0x200, "AB");
    unsigned char* buffer = image.GetBuffer(0x104, 4);
    ASSERT_NE(nullptr, buffer);
    buffer[0] = 'x';
    EXPECT_EQ("x", Get(image, 0x104, 1));
    EXPECT_EQ(nullptr, image.GetBuffer(0x104, 5));
    EXPECT_EQ(nullptr, image.GetBuffer(0xFF, 2));
    EXPECT_EQ(nullptr, image.GetBuffer(0x300, 1));
    // Bytes of its own buffers can be written elsewhere in the image.
    image.SetData(0x1FE, image.GetBuffer(0x200, 2), 2);
    EXPECT_EQ("ABAB", Get(image, 0x1FE, 4));
}

TEST(UMemoryImage, CopiesAreDeep)
{
    UMemoryImage image;
    Set(image, 0x10, "AAAA");
    Set(image, 0x00, "BB");
    UMemoryImage copy(image);
    UMemoryImage assigned;
    Set(assigned, 0x99, "Z");
    assigned = image;
    Set(image, 0x10, "CC");
    EXPECT_EQ("10-14 0-2", Layout(copy));
    EXPECT_EQ("AAAA", Get(copy, 0x10, 4));
    EXPECT_EQ("10-14 0-2", Layout(assigned));
    EXPECT_EQ("AAAA", Get(assigned, 0x10, 4));
}

TEST(UMemoryImage, TopOfTheAddressSpace)
{
    UMemoryImage image;
    Set(image, 0xFFFFFFF0, std::string(0x10, 'R'));
    Set(image, 0, "LO");
    EXPECT_EQ("RRRR", Get(image, 0xFFFFFFFC, 4));
    EXPECT_NE(nullptr, image.GetBuffer(0xFFFFFFF8, 8));
    EXPECT_EQ(2u, image.GetMemoryRegion(1)->GetLength()) << "address 0 must not join the top of memory";

    ExpectArgumentError([&] { image.Reserve(0xFFFFFFF0, 0x11); }, L"uiLength", PastTheTop);
    ExpectArgumentError([&] { image.Reserve(2, 0xFFFFFFFF); }, L"uiLength", PastTheTop);
    ExpectArgumentError([&] { image.GetBuffer(0xFFFFFFFF, 2); }, L"uiLength", PastTheTop);
    unsigned char bytes[4] = {};
    ExpectArgumentError([&] { image.GetData(0xFFFFFFFE, bytes, 4); }, L"uiLength", PastTheTop);
    ExpectArgumentError([&] { image.SetData(0xFFFFFFFE, bytes, 4); }, L"uiLength", PastTheTop);
    ExpectArgumentError([&] { image.GetData(0, nullptr, 1); }, L"pbyBuffer", L"Value cannot be null.");
    ExpectArgumentError([&] { image.SetData(0, nullptr, 1); }, L"pbyData", L"Value cannot be null.");
    EXPECT_EQ("fffffff0-100000000 0-2", Layout(image));

    // Two halves would make a region of 2^32 bytes; the lengths are only reserved, never allocated.
    UMemoryImage halves;
    halves.Reserve(0, 0x80000000);
    ExpectArgumentError([&] { halves.Reserve(0x80000000, 0x80000000); }, L"region",
                        L"The merged region would be longer than 0xFFFFFFFF bytes.");
    halves.Reserve(0x80000000, 0x7FFFFFFF);
    EXPECT_EQ(0xFFFFFFFFu, halves.GetMemoryRegion(0)->GetLength());
    EXPECT_FALSE(halves.GetMemoryRegion(0)->HasData());
}

TEST(UMemoryImage, RandomWritesMatchAFlatModel)
{
    // Writes only: every byte reads as the last value written to it, or 0xFF; the regions cover
    // exactly the bytes written and never touch one another.
    unsigned int seed = 12345;
    auto next = [&](unsigned int uiRange) {
        seed = seed * 1103515245u + 12345u;
        return (seed >> 8) % uiRange;
    };
    for (int round = 0; round < 20; ++round)
    {
        UMemoryImage image;
        std::string model(0x200, '\xFF');
        std::string covered(0x200, 0);
        for (int step = 0; step < 40; ++step)
        {
            const unsigned int address = 0x100 + next(0x180);
            const unsigned int length = 1 + next(0x30);
            std::string bytes;
            for (unsigned int i = 0; i < length; ++i)
                bytes += static_cast<char>('a' + next(26));
            Set(image, address, bytes);
            model.replace(address - 0x100, length, bytes);
            covered.replace(address - 0x100, length, std::string(length, 1));

            const unsigned int from = next(0x200 - 0x20);
            ASSERT_EQ(model.substr(from, 0x20), Get(image, 0x100 + from, 0x20)) << round << "/" << step;
        }
        ASSERT_EQ(model, Get(image, 0x100, 0x200));

        std::string fromRegions(0x200, 0);
        for (unsigned long i = 0; image.GetMemoryRegion(i) != nullptr; ++i)
        {
            const UMemoryRegion* a = image.GetMemoryRegion(i);
            fromRegions.replace(a->GetAddress() - 0x100, a->GetLength(), std::string(a->GetLength(), 1));
            for (unsigned long j = i + 1; image.GetMemoryRegion(j) != nullptr; ++j)
            {
                const UMemoryRegion* b = image.GetMemoryRegion(j);
                EXPECT_FALSE(a->Intersects(*b) || a->Precedes(*b) || b->Precedes(*a)) << Layout(image);
            }
        }
        EXPECT_EQ(covered, fromRegions) << Layout(image);
    }
}

} // namespace
