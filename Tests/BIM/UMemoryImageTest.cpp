#include "MemoryImageTestSupport.h"

#include <gtest/gtest.h>

#include <string>

using Oskal::Lib::BIM::UMemoryImage;
using Oskal::Lib::BIM::UMemoryRegion;
using namespace OskalTests;

namespace {

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

} // namespace
